#pragma once

#include <string>

namespace kit {

/**
 * What this program does when it is started as a child of a test, "program --child name argument":
 *
 *     const kit::ChildRole service("service", [](const std::string& argument) { ... });
 */
class ChildRole {
public:
    ChildRole(const std::string& name, void (*body)(const std::string& argument));
};

} // namespace kit
