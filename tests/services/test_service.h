#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kit/kit.h"

/**
 * A service of the system's own manager, seen and handled by plain Win32; this
 * program runs as the service. Modes:
 *   plain        runs at once and stops when asked
 *   slow         is start pending for a second and a half first
 *   refuses      runs and accepts no stop
 *   ignores      runs, accepts the stop and goes on
 * It is killed and deleted, whoever installed it, when this goes away.
 */
class TestService {
public:
    explicit TestService(std::string name) : name_(std::move(name)) { Remove(); }
    ~TestService() { Remove(); }
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;

    const char* Name() const { return name_.c_str(); }

    /** @param mode  "" for a program that is not there. */
    void Install(const std::string& mode, DWORD type = SERVICE_WIN32_OWN_PROCESS);

    /** Starts it and waits until it runs. */
    void Start();

    bool Exists() const;

    /** Waits: the manager keeps a removed service until it has stopped. @return whether it is gone */
    bool IsGone() const { return Reaches(0); }

    /** @return the state, or 0 without such a service. */
    DWORD State() const;

    /** Waits some seconds for a state. @return whether it came. */
    bool Reaches(DWORD state) const;

    /** @return what the service has been asked to do: a word or number for each start and control. */
    std::string Recorded() const;

private:
    void Remove();

    std::string name_;
    kit::ScratchFolder folder_;
};

/**
 * Stands in for services as the DLL sees them: any can be opened and takes every
 * order; each question tells the next of the states, in the end the last again and
 * again, and moves the clock on. No sleep takes time.
 */
class PlayedService {
public:
    explicit PlayedService(std::vector<DWORD> states = {SERVICE_RUNNING}, DWORD clock = 0, DWORD step = 1000)
    {
        open_.Answer([](auto...) { return OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT); }); // can be closed
        query_.Answer([=, this](SC_HANDLE, SERVICE_STATUS* status) {
            constexpr DWORD kType = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
            *status = {kType, states[std::min(asked_++, states.size() - 1)], 0, 55, 0, 0, 0};
            return TRUE;
        });
        ticks_.Answer([=, this] { return clock + step * static_cast<DWORD>(asked_ ? asked_ - 1 : 0); });
    }

private:
    size_t asked_ = 0;
    kit::ImportHook<decltype(&OpenServiceA)> open_{"OpenServiceA", &OpenServiceA};
    kit::ImportHook<decltype(&QueryServiceStatus)> query_{"QueryServiceStatus", &QueryServiceStatus};
    kit::ImportHook<decltype(&StartServiceA)> start_{"StartServiceA", &StartServiceA, 0, TRUE};
    kit::ImportHook<decltype(&ControlService)> control_{"ControlService", &ControlService, 0, TRUE};
    kit::ImportHook<decltype(&DeleteService)> delete_{"DeleteService", &DeleteService, 0, TRUE};
    kit::ImportHook<decltype(&GetTickCount)> ticks_{"GetTickCount", &GetTickCount};
    kit::ImportHook<decltype(&Sleep)> sleep_{"Sleep", &Sleep, 0, 0};
};
