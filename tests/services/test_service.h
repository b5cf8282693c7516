#pragma once

#include <windows.h>

#include <string>

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

    void Install(const std::string& mode, DWORD type = SERVICE_WIN32_OWN_PROCESS);

    /** Starts it and waits until it is in that state. */
    void Start(DWORD state = SERVICE_RUNNING);

    bool Exists() const;

    /** Waits: the manager keeps a removed service until it has stopped. @return whether it is gone */
    bool IsGone() const;

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

/** The DLL's clock: a sleep moves it on and takes no time. */
class FakeClock {
public:
    explicit FakeClock(DWORD start) : now_(start), ticks_("GetTickCount", &GetTickCount), sleeps_("Sleep", &Sleep)
    {
        ticks_.Answer([this] { return now_; });
        sleeps_.Answer([this](DWORD milliseconds) {
            now_ += milliseconds;
            pauses_ += milliseconds == 1000 ? "s" : std::to_string(milliseconds) + " ";
        });
    }

    /** @return the pauses in a row: "s" for a second, milliseconds for others. */
    const std::string& Pauses() const { return pauses_; }

private:
    DWORD now_;
    std::string pauses_;
    kit::ImportHook<decltype(&GetTickCount)> ticks_;
    kit::ImportHook<decltype(&Sleep)> sleeps_;
};

/** A service as the system tells it, one line: "type 16 start 3 error 0 path [..] account [..] display [..]". */
std::string ConfigOf(const char* service);
std::string DescriptionOf(const char* service);

/** @return the system's text for a code with its line end, as the objects of the service exports report it. */
std::string SystemTextWithLineEnd(DWORD code);
