// What no export brings about: deep blocks and long titles.

#include <gtest/gtest.h>

#include "frame/trace.h"
#include "kit/scratch.h"

namespace {

using namespace tarvo;

void TraceInBlocks(int count, const char* text)
{
    if (count == 0)
        return TracePrint(kInfo, 0, "%s", text);
    const TraceBlock block("b", "\n", kInfo, 1); // not of the least detail: it indents alone
    TraceInBlocks(count - 1, text);
}

TEST(TraceInside, LongestLineIsWrittenWholeAndStreamsKeep255Characters)
{
    const kit::ScratchFolder scratch;
    OpenTraceRoot(); // as the library's entry does
    OpenTraceOutput(scratch.Path("log").c_str(), "wb");
    SetTraceOptions(kAllSeverities, 0, true, true);
    TraceInBlocks(400, std::string(3000, 'm').c_str());
    const std::string line = kit::ReadFile(scratch.Path("log"));
    EXPECT_TRUE(line.ends_with("\t" + std::string(1023, ' ') + std::string(1023, 'm')));
    SetTraceOptions(kAllSeverities, 255, false, false);
    const std::string text(300, 't');
    {
        TraceStream stream("F");
        stream.Add(-5L).Add(4000000000UL).Add(static_cast<const char*>(nullptr)).Add(text.c_str()).Add(1L).Open();
    }
    const std::string title = ("F(-5,4000000000,," + text).substr(0, 255);
    EXPECT_EQ("1\t{ " + title + "1\t} " + title, kit::ReadFile(scratch.Path("log")).substr(line.size()));
    OpenTraceOutput("", "r");
}

} // namespace
