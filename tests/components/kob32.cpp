// Stands in for the management console: leaves a file beside itself that tells it was started.

#include <windows.h>

#include <string>

int main()
{
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    CloseHandle(
        CreateFileA((std::string(program) + ".started").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}
