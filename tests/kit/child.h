#pragma once

#include <windows.h>

#include <string>

namespace kit {

/**
 * What this program does when it is started as a child of a test. Defined at
 * namespace scope:
 *
 *     const kit::ChildRole holder("hold-a-file", [](const std::string& argument) { ...; kit::ChildIsReady(); ... });
 */
class ChildRole {
public:
    using Body = void (*)(const std::string& argument);
    ChildRole(const char* name, Body body);
};

/** Called in the child: lets the ChildProcess that started it go on. */
void ChildIsReady();

/** The same program in a role. Killed, if it still runs, when this goes away. */
class ChildProcess {
public:
    /** Returns once the child is ready, or has ended. */
    ChildProcess(const char* role, const std::string& argument);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /** Ends it in the midst of things, without any unloading. */
    void Kill();

    /** @return its exit code once it has ended by itself. */
    DWORD Wait();

private:
    HANDLE process_ = nullptr;
};

/** @return whether the program was started as a child; its role is then done. */
bool RunAsChild(int argc, char** argv);

} // namespace kit
