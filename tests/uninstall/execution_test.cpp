// The uninstall run over double-byte names and over a service that really runs.

#include "kit/double_byte.h"
#include "services/test_service.h"

namespace {

class UninstallExecution : public kit::LibraryTest {
protected:
    void Run(DWORD operation, const std::string& content)
    {
        EXPECT_EQ(0U, TARVO_OpenRollBackLog(Scratch().Make("uninstall.log", content).c_str()));
        EXPECT_EQ(0U, TARVO_PerformUnInstall(operation));
    }
};

TEST_F(UninstallExecution, LengthsCountCharacters)
{
    const kit::DoubleByteCodePage japanese;
    const kit::TraceLog trace(Scratch().Path("trace.log"));
    const std::string four = "\x83\x5C\x83\x5C\x83\x5C\x83\x5C";
    Run(TARVO_UNINSTALL_FILES, "[Files]\r\n" + four + "=1\r\nmissing=1\r\n");
    std::vector<std::string> said = trace.Messages();
    std::erase_if(said, [](const std::string& line) { return !line.starts_with("File or directory ["); });
    EXPECT_EQ((std::vector<std::string>{"File or directory [missing] does not exist...",
                                        "File or directory [" + four + "] does not exist..."}),
              said);
}

TEST_F(UninstallExecution, RunningServiceIsStoppedAndRemoved)
{
    TestService service("TarvoStep");
    service.Install("plain");
    service.Start();
    Run(TARVO_UNINSTALL_SERVICES, "[Services]\r\nTarvoStep=1\r\n");
    EXPECT_EQ("start 1 ", service.Recorded());
    EXPECT_TRUE(service.IsGone());
}

} // namespace
