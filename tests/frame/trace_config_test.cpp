// TARVO.cfg beside the host program: any bytes may stand there.

#include <cstring>
#include <random>

#include "kit/kit.h"

namespace {

/** The classic start with the Windows directory and the host program's folder moved into the scratch folder. */
class TraceConfig : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        windows_.emplace("GetWindowsDirectoryA", &GetWindowsDirectoryA);
        windows_->Answer([this](char* path, UINT) { return Answer("", path); });
        program_.emplace("GetModuleFileNameA", &GetModuleFileNameA);
        program_->Answer([this](HMODULE, char* path, DWORD) { return DWORD{Answer("\\setup.exe", path)}; });
    }

private:
    UINT Answer(const std::string& name, char* path)
    {
        return static_cast<UINT>(strlen(strcpy(path, (Scratch().Path() + name).c_str())));
    }

    std::optional<kit::ImportHook<decltype(&GetWindowsDirectoryA)>> windows_;
    std::optional<kit::ImportHook<decltype(&GetModuleFileNameA)>> program_;
};

TEST_F(TraceConfig, RandomBytesDoNoHarm)
{
    std::mt19937 random(4711);
    const char* const words[] = {"tl", "ts", "tf", "tfr", "=", "\n", ",", "dt", "tid", "tc", "%s%n", "nid"};
    for (int round = 0; round < 30; ++round) {
        std::string config;
        while (config.size() < 6000) {
            if (random() % 2)
                config += words[random() % std::size(words)];
            else
                config += static_cast<char>(random() % 256);
        }
        Scratch().Make("TARVO.cfg", config);
        TARVO_StartDebugLogging();
        EXPECT_EQ(1U, TARVO_SetLanguage());
        TearDown();
        SetUp();
    }
}

} // namespace
