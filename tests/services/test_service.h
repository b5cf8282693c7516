#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kit/kit.h"

/**
 * A service of the system's own manager, seen and handled by plain Win32. It is
 * stopped and deleted, whoever installed it, when this goes away.
 */
class TestService {
public:
    explicit TestService(std::string name) : name_(std::move(name)) { Remove(); }
    ~TestService() { Remove(); }
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;

    const char* Name() const { return name_.c_str(); }

    /** @param runs  This program is the service: start pending for a second and a half, it stops when asked. */
    void Install(DWORD type = SERVICE_WIN32_OWN_PROCESS, bool runs = false);

    bool Exists() const { return !Reaches(0, 0); }

    /** Waits some seconds for a state, or until there is no such service (0). @return whether it came. */
    bool Reaches(DWORD state, int attempts = 500) const;

    /** @return what the service has been asked to do: a word or number for each start and control. */
    std::string Recorded() const { return kit::ReadFile(folder_.Path("record")); }

private:
    void Remove();

    std::string name_;
    kit::ScratchFolder folder_;
};

/**
 * Stands in for services as the DLL sees them: any can be opened, but a "TarvoMissing",
 * and takes every order; each question tells the next of the states, in the end the
 * last again and again, and moves the clock on. No sleep takes time.
 */
class PlayedService {
public:
    explicit PlayedService(std::vector<DWORD> states = {SERVICE_RUNNING}, DWORD clock = 0, DWORD step = 1000)
    {
        open_.Answer([this](auto, const char* name, auto) {
            SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
            opened_ = name;
            return opened_ == "TarvoMissing" ? nullptr : OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT);
        });
        delete_.Answer([this](auto) { return removed_.push_back(opened_), TRUE; });
        query_.Answer([=, this](SC_HANDLE, SERVICE_STATUS* status) {
            constexpr DWORD kType = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
            *status = {kType, states[std::min(asked_++, states.size() - 1)], 0, 55, 0, 0, 0};
            return TRUE;
        });
        ticks_.Answer([=, this] { return clock + step * static_cast<DWORD>(asked_ ? asked_ - 1 : 0); });
    }

    const std::vector<std::string>& Removed() const { return removed_; }

private:
    size_t asked_ = 0;
    std::string opened_;
    std::vector<std::string> removed_;
    kit::ImportHook<decltype(&OpenServiceA)> open_{"OpenServiceA", &OpenServiceA};
    kit::ImportHook<decltype(&QueryServiceStatus)> query_{"QueryServiceStatus", &QueryServiceStatus};
    kit::ImportHook<decltype(&StartServiceA)> start_{"StartServiceA", &StartServiceA, 0, TRUE};
    kit::ImportHook<decltype(&ControlService)> control_{"ControlService", &ControlService, 0, TRUE};
    kit::ImportHook<decltype(&DeleteService)> delete_{"DeleteService", &DeleteService};
    kit::ImportHook<decltype(&GetTickCount)> ticks_{"GetTickCount", &GetTickCount};
    kit::ImportHook<decltype(&Sleep)> sleep_{"Sleep", &Sleep, 0, 0};
};
