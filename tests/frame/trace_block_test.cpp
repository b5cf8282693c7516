// What no export brings about: deep blocks and long titles.

#include <gtest/gtest.h>

#include "frame/trace.h"
#include "kit/scratch.h"

namespace {

using namespace tarvo;

/** The trace, as the library's entry opens and closes it. Once a process: closing ends all tracing. */
class TraceInside : public testing::Test {
protected:
    static void SetUpTestSuite() { OpenTraceRoot(); }

    void SetUp() override
    {
        OpenTraceOutput(scratch_.Path(name_).c_str(), "wb");
        SetTraceOptions(kAllSeverities, 255, false, false);
    }
    void TearDown() override { OpenTraceOutput("", "r"); }

    std::string Log() const { return kit::ReadFile(scratch_.Path(name_)); }

    static void TraceInBlocks(int count, const char* text)
    {
        if (count == 0)
            return TracePrint(kInfo, 0, "%s", text);
        const TraceBlock block("b", "\n", kInfo, 1); // below the threshold that counts, see below
        TraceInBlocks(count - 1, text);
    }

private:
    kit::ScratchFolder scratch_;
    std::string name_ = "log";
};

TEST_F(TraceInside, LongestLineIsWrittenWhole)
{
    SetTraceOptions(kAllSeverities, 0, true, true);
    TraceInBlocks(400, std::string(3000, 'm').c_str());
    EXPECT_TRUE(Log().ends_with("\t" + std::string(1023, ' ') + std::string(1023, 'm')));
}

TEST_F(TraceInside, StreamKeeps255Characters)
{
    const std::string text(300, 't');
    {
        TraceStream stream("F");
        stream.Add(-5L).Add(4000000000UL).Add(static_cast<const char*>(nullptr)).Add(text.c_str()).Add(1L).Open();
    }
    const std::string title = ("F(-5,4000000000,," + text).substr(0, 255);
    EXPECT_EQ("1\t{ " + title + "1\t} " + title, Log());
}

} // namespace
