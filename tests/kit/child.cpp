#include "kit/child.h"

#include <map>
#include <stdexcept>

namespace kit {
namespace {

constexpr char kSwitch[] = "--child";

std::map<std::string, ChildRole::Body>& Roles()
{
    static std::map<std::string, ChildRole::Body> roles;
    return roles;
}

std::string EventName(DWORD process)
{
    return "tarvo-child-" + std::to_string(process);
}

} // namespace

ChildRole::ChildRole(const char* name, Body body)
{
    Roles()[name] = body;
}

void ChildIsReady()
{
    const HANDLE ready = OpenEventA(EVENT_MODIFY_STATE, FALSE, EventName(GetCurrentProcessId()).c_str());
    SetEvent(ready);
    CloseHandle(ready);
}

ChildProcess::ChildProcess(const char* role, const std::string& argument)
{
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string line = "\"" + std::string(program) + "\" " + kSwitch + " " + role + " \"" + argument + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made = {};
    // Suspended until the event is there that it opens by its own number.
    if (!CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                        &made))
        throw std::runtime_error("starting a child failed with " + std::to_string(GetLastError()));
    process_ = made.hProcess;
    const HANDLE ready = CreateEventA(nullptr, TRUE, FALSE, EventName(made.dwProcessId).c_str());
    ResumeThread(made.hThread);
    CloseHandle(made.hThread);
    const HANDLE either[] = {ready, process_};
    WaitForMultipleObjects(2, either, FALSE, 30000);
    CloseHandle(ready);
}

ChildProcess::~ChildProcess()
{
    Kill();
    CloseHandle(process_);
}

void ChildProcess::Kill()
{
    TerminateProcess(process_, 99);
    WaitForSingleObject(process_, 10000);
}

DWORD ChildProcess::Wait()
{
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process_, 30000);
    GetExitCodeProcess(process_, &code);
    return code;
}

bool RunAsChild(int argc, char** argv)
{
    if (argc != 4 || std::string(argv[1]) != kSwitch)
        return false;
    const auto role = Roles().find(argv[2]);
    if (role != Roles().end())
        role->second(argv[3]);
    return true;
}

} // namespace kit
