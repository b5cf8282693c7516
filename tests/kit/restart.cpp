#include "kit/restart.h"

#include <windows.h>

#include <stdexcept>
#include <string>

#include "kit/scratch.h"

namespace kit {

bool CarryOutPending()
{
    // Wine's start program; the 32-bit one would see another System32.
    std::string program = "C:\\windows\\Sysnative\\wineboot.exe";
    if (!FileExists(program))
        program.replace(11, 9, "system32");
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION start = {};
    if (!FileExists(program))
        return false;
    if (!CreateProcessA(nullptr, program.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &start))
        throw std::runtime_error("the start of the machine cannot be run");
    WaitForSingleObject(start.hProcess, INFINITE); // the watchdog knows better
    CloseHandle(start.hThread);
    CloseHandle(start.hProcess);
    return true;
}

} // namespace kit
