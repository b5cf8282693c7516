// TARVO.cfg beside the host program: columns, lines and output.

#include "frame/start_fixture.h"

#include <random>
#include <regex>

namespace {

/** What one configuration makes of the calls of Traced(). */
struct ConfigCase {
    const char* fact;
    std::string config;
    const char* header; // column labels at the top of the log
    const char* line;   // expression for the first line of the call
    size_t lines;       // how many lines the calls give
};

constexpr char kPlain[] = R"(1\t\{ TARVO_GetTarvoDllInstance)";
constexpr size_t kAll = 4 + 3 + 3; // of the three calls
constexpr char kNone[] = "";

const ConfigCase kConfigs[] = {
    {"an empty file leaves the severity column", "", "ts ", kPlain, kAll},
    {"tid", "tid", "ts tid ", R"(1\t[0-9A-F]+\t\{ TARVO_GetTarvoDllInstance)", kAll},
    {"tc", "tc\n", "ts tc ", R"(1\t[0-9A-F]{8}\t\{ TARVO_GetTarvoDllInstance)", kAll},
    {"dt", "dt\r\n", "ts dt ", R"(1\t[ \d]\d/\d\d/\d\d \d\d:\d\d:\d\d\t\{ TARVO_GetTarvoDllInstance)", kAll},
    {"columns keep their own order", "tc\ndt\ntid\n", "ts tid dt tc ", R"(1\t[0-9A-F]+\t[^\t]+\t[0-9A-F]{8}\t\{ .*)",
     kAll},
    {"notrace leaves the header", "notrace\n", "ts ", kNone, 0},
    {"the first key of the table decides, not of the line", "tl = 0 dt notrace\n", "ts ", kNone, 0},
    {"tid wins over tl", "tl = 0 tid\n", "ts tid ", R"(1\t[0-9A-F]+\t\{ .*)", kAll},
    {"tf to a name with dt is the key dt", "tf = dt.log\n", "ts dt ", R"(1\t[^\t]+\t\{ .*)", kAll},
    {"tfr is no tf", "tfr = 5000\n", "ts ", kPlain, kAll},
    {"key inside a word", "Mostly = 0\n", "ts ", kPlain, kAll - 1},
    {"comment", "#notrace\n", "ts ", kPlain, kAll},
    {"comment signs count in the first place alone", " #notrace\n", "ts ", kNone, 0},
    {"tl hides lines of more detail", "tl = 0\n", "ts ", kPlain, kAll - 1},
    {"tl keeps lines of its detail", "tl = 1\n", "ts ", kPlain, kAll},
    {"tl without blanks", "tl=0", "ts ", kPlain, kAll - 1},
    {"tl below 0 hides all", "tl = -1\n", "ts ", kNone, 0},
    {"number up to what is no part of it", "tl =   0x1\n", "ts ", kPlain, kAll - 1},
    {"no =", "tl 0\n", "ts ", kPlain, kAll},
    {"nothing behind =", "tl =   \n", "ts ", kPlain, kAll},
    {"ts selects errors", "ts = 1\n", "ts ", R"(3\t   Function TARVO_SetLanguage error: .*)", 1},
    {"nid takes the indentation away", "ts = 1\nnid\n", "ts ", R"(3\tFunction TARVO_SetLanguage error: .*)", 1},
    {"ts selects warnings", "ts = 2\n", "ts ", R"(2\t   TARVO_GetLastErrorMessage: invalid argument)", 1},
    {"ts selects nothing", "ts = 8\n", "ts ", kNone, 0},
    {"the last line of a key counts", "tl = 0\ntl = 1\n", "ts ", kPlain, kAll},
    {"a line of 5000 bytes", std::string(5000, 'x') + "\ntl = 0\n", "ts ", kPlain, kAll - 1},
    {"lines end with the file", "x\ntl = 0", "ts ", kPlain, kAll - 1},
};

class TraceConfig : public StartTest {
protected:
    /** @return the lines of the log behind those that it begins with. */
    std::vector<std::string> Traced()
    {
        const size_t before = Log().size();
        TARVO_GetTarvoDllInstance();
        TARVO_SetLanguage();
        TARVO_GetLastErrorMessage(nullptr, 0); // a block with a warning; its opening and closing lines
        auto log = Log();
        log.erase(log.begin(), log.begin() + static_cast<ptrdiff_t>(before));
        return log;
    }
};

TEST_F(TraceConfig, SelectsColumnsAndLines)
{
    for (const ConfigCase& row : kConfigs) {
        SCOPED_TRACE(row.fact);
        DeleteFileA(LogPath().c_str());
        WriteConfig(row.config);
        TARVO_StartDebugLogging();
        EXPECT_EQ(row.header, Log().at(0));
        const auto traced = Traced();
        EXPECT_EQ(row.lines, traced.size());
        if (!traced.empty() && row.line) {
            EXPECT_TRUE(std::regex_match(traced[0], std::regex(row.line))) << traced[0];
        }
        TearDown();
        SetUp();
    }
}

TEST_F(TraceConfig, HeaderStandsOnceBeforeTheBanner)
{
    WriteConfig("tid");
    TARVO_StartDebugLogging();
    const std::string log = kit::ReadFile(LogPath());
    EXPECT_TRUE(std::regex_search(log, std::regex("^ts tid \r\n0\t[0-9A-F]+\t\r\n\\*{30}\r\n0\t"))) << log;
    EXPECT_EQ(std::string::npos, log.find("ts tid", 1));
}

TEST_F(TraceConfig, SwitchesTheOutput)
{
    const struct {
        const char* fact;
        std::string config;
        const char* start; // of the file then
    } cases[] = {
        {"bare name is beside the program, and emptied", "tf = my.log\n", "ts \r\n0\t"},
        {"blanks around the name do not matter in front", "tf =    my.log\n", "ts \r\n0\t"},
        {"mode", "tf = my.log, a+\n", "old\nts \r\n0\t"},
        {"mode without a blank", "tf = my.log,a", "old\nts \r\n0\t"},
        {"a comma without a mode", "tf = my.log,\n", "ts \r\n0\t"},
        {"binary mode keeps line feeds", "tf = my.log, wb\n", "ts \n0\t\n***"},
        {"a mode there is none", "tf = my.log, q\n", "old\n"},
        {"a mode of 400 characters", "tf = my.log, w" + std::string(400, '+') + "\n", "ts \r\n0\t"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.fact);
        const std::string log = Scratch().Make("my.log", "old\n");
        WriteConfig(row.config);
        TARVO_StartDebugLogging();
        EXPECT_TRUE(kit::ReadFile(log).starts_with(row.start));
        TearDown();
        SetUp();
    }
}

TEST_F(TraceConfig, IsReadAgainAfterTheInterval)
{
    kit::ImportHook ticks("GetTickCount", &GetTickCount);
    DWORD now = 0xFFFFFF00; // runs over within the interval
    ticks.Answer([&] { return now; });
    WriteConfig("tfr = 2\n");
    TARVO_StartDebugLogging();
    const kit::FileLock others(Scratch().Path("TARVO.cfg"), FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    const HANDLE config =
        CreateFileA(Scratch().Path("TARVO.cfg").c_str(), GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, TRUNCATE_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, config) << "the open configuration file cannot be rewritten";
    DWORD written = 0;
    WriteFile(config, "tl = 0\n", 7, &written, nullptr);
    CloseHandle(config);
    now += 1999;
    EXPECT_EQ(kAll, Traced().size());
    now += 1;
    EXPECT_EQ(kAll - 1, Traced().size());
}

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
        WriteConfig(config);
        TARVO_StartDebugLogging();
        EXPECT_EQ(1U, TARVO_SetLanguage());
        TearDown();
        SetUp();
    }
}

} // namespace
