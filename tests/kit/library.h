#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace kit {

/**
 * The real TARVO.DLL, loaded while this lives: the names of tarvo.h call into
 * it. Without one loaded, a call of an export ends the test run.
 */
class Library {
public:
    /** Loads TARVO.DLL from the program's folder or one above it. Throws if it, or an export, is missing. */
    Library();
    ~Library();
    Library(Library&&) = delete;

    HMODULE Module() const { return module_; }

    /** @return whether the DLL really left the process. */
    bool Unload();
    /** @return the path of the DLL under test. */
    static std::string Path();
    /** @return the names that the .def file lists, in order. */
    static std::vector<std::string> ListedExports();
    /** @return the name under which a function of tarvo.h is exported. */
    static std::string NameOf(const void* function);

private:
    HMODULE module_;
};

} // namespace kit
