// What no export brings about: deep blocks, long titles, odd severities.

#include <gtest/gtest.h>

#include "frame/error_handler.h"
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

    /** Opens a block in the other and traces in the innermost. */
    static void TraceInBlocks(int count)
    {
        if (count == 0)
            return TracePrint(kInfo, 0, "here\n");
        const TraceBlock block("b", "\n", kInfo, 1); // below the threshold that counts, see below
        TraceInBlocks(count - 1);
    }

private:
    kit::ScratchFolder scratch_;
    std::string name_ = "log";
};

TEST_F(TraceInside, LongestLineIsWrittenWhole)
{
    SetTraceOptions(kAllSeverities, 0, true, true);
    const std::string message(3000, 'm');
    struct Deep {
        static void Trace(int count, const char* text)
        {
            if (count == 0)
                return TracePrint(kInfo, 0, "%s", text);
            const TraceBlock block("b", "\n", kInfo, 1);
            Trace(count - 1, text);
        }
    };
    Deep::Trace(400, message.c_str());
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

TEST(ErrorHandler, HoldsCodeAndTextOfTheLastError)
{
    GetLastErrorHandler handler;
    EXPECT_STREQ("", handler.Message());
    SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, handler.SetError(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, handler.Code());
    EXPECT_TRUE(std::string(handler.Message()).ends_with("\r\n")) << handler.Message();
    SetLastError(0xFFFFFFFF);
    EXPECT_EQ(7U, handler.SetError(7));
    EXPECT_STREQ("", handler.Message());
    EXPECT_EQ(7U, handler.Code());
    handler.Reset();
    EXPECT_EQ(0U, handler.Code());
}

} // namespace
