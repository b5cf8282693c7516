// The user picker, with a user browser that plays what the test tells it.

#include "accounts/netui2.h"
#include "kit/kit.h"

namespace {

constexpr char kUnavailable[] = "Unable to show UserBrowse dialog";
const auto kOwner = reinterpret_cast<HWND>(0x77);

class UserPicker : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        standIn_ = LoadLibraryA((kit::ProgramFolder() + "\\netui2.dll").c_str());
        const auto find = reinterpret_cast<UserBrowserPlay*(WINAPI*)()>(
            reinterpret_cast<void*>(GetProcAddress(standIn_, "StandInPlay")));
        play_ = find();
        *play_ = {TRUE, FALSE, TRUE, L"DOMAIN", L"account", {}, {}, 0, 0};
    }

    void TearDown() override
    {
        EXPECT_EQ(0, play_->open) << "a browser was not closed";
        FreeLibrary(standIn_);
        EXPECT_FALSE(GetModuleHandleA("netui2.dll")) << "the library was not freed";
        LibraryTest::TearDown();
    }

    void ExpectFailure(DWORD code, const char* text)
    {
        char user[10] = "user";
        char domain[10] = "domain";
        EXPECT_EQ(code, TARVO_DlgSelectUser(kOwner, user, sizeof user, domain, sizeof domain));
        EXPECT_EQ(text, kit::LastMessage());
        EXPECT_STREQ("user", user);
        EXPECT_STREQ("domain", domain);
    }

    HMODULE standIn_ = nullptr;
    UserBrowserPlay* play_ = nullptr;
};

TEST_F(UserPicker, AsksWithARecordOf36Bytes)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    char user[20];
    char domain[20];
    EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, sizeof user, domain, sizeof domain));
    EXPECT_STREQ("account", user);
    EXPECT_STREQ("DOMAIN", domain);
    const DWORD* const request = play_->request;
    EXPECT_TRUE(request[0] == 36 && request[1] == 0 && request[2] == 0 && request[3] == 0x77);
    EXPECT_TRUE(request[4] && !*play_->title);
    EXPECT_TRUE(request[5] == 0 && request[6] == 0x100A && request[7] == 0 && request[8] == 0);
    EXPECT_EQ(2047U, play_->bufferSize);
    for (const char* line : {"], Domain=[null], flags=[0x100A]", "Received user=[DOMAIN\\account]",
                             "Returning [1] (Canceled=[0])", "Returning user=[DOMAIN\\account]"})
        EXPECT_TRUE(log.Contains(line)) << line;
}

TEST_F(UserPicker, NamesAreCutToTheBuffers)
{
    struct SizeCase {
        DWORD size;
        const char* user;
    };
    const SizeCase cases[] = {{8, "account"}, {7, "accoun"}, {2, "a"}, {1, ""}};
    for (const SizeCase& row : cases) {
        char user[16];
        memset(user, '~', sizeof user);
        char domain[] = "untouched";
        EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, row.size, domain, 0));
        EXPECT_STREQ(row.user, user);
        EXPECT_EQ('~', user[row.size]);
        EXPECT_STREQ("untouched", domain);
    }
    play_->account = nullptr;
    char user[10];
    char domain[10];
    EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, sizeof user, domain, sizeof domain));
    EXPECT_STREQ("", user);
}

TEST_F(UserPicker, CharactersAreNotCutInHalf)
{
    // As the system would convert into a code page in which each of these letters takes two bytes.
    kit::ImportHook convert("WideCharToMultiByte", &WideCharToMultiByte);
    convert.Answer([&](UINT, DWORD flags, const wchar_t* text, int length, char* bytes, int size, const char*, BOOL*) {
        return convert.Original()(932, flags, text, length, bytes, size, nullptr, nullptr);
    });
    play_->account = L"\x30BD\x30BD\x30BD";
    char user[6];
    char domain[10];
    EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, sizeof user, domain, sizeof domain));
    EXPECT_STREQ("\x83\x5C\x83\x5C", user);
}

TEST_F(UserPicker, EachFailureIsToldByItsLine)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    const auto check = [&](const char* line) {
        ExpectFailure(2, kUnavailable);
        EXPECT_TRUE(log.Contains(line)) << line;
    };
    play_->enumerates = FALSE;
    check("pfnEnumUserBrowserSelection failed.");
    play_->opens = FALSE;
    check("OpenUserBrowser failed.");
    {
        kit::ImportHook find("GetProcAddress", &GetProcAddress);
        for (const char* missing : {"OpenUserBrowser", "EnumUserBrowserSelection", "CloseUserBrowser"}) {
            find.Answer([&](HMODULE module, const char* name) {
                return strcmp(name, missing) == 0 ? nullptr : find.Original()(module, name);
            });
            check("At least one of the functions failed to load.");
        }
    }
    kit::ImportHook load("LoadLibraryA", &LoadLibraryA);
    load.FailAll(ERROR_MOD_NOT_FOUND, nullptr);
    check("netui2.dll failed to load.");
}

TEST_F(UserPicker, CancellingTouchesNoBuffer)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    play_->cancels = TRUE;
    ExpectFailure(1, "UserBrowse dialog cancelled by the user");
    EXPECT_TRUE(log.Contains("User clicked cancel."));
    EXPECT_EQ(2U, log.Count("Returning [1] (Canceled=[1])"));
}

TEST_F(UserPicker, BuffersAreNeededAndMemoryToo)
{
    char buffer[10];
    EXPECT_EQ(87U, TARVO_DlgSelectUser(kOwner, nullptr, 10, buffer, sizeof buffer));
    EXPECT_EQ(87U, TARVO_DlgSelectUser(kOwner, buffer, sizeof buffer, nullptr, 10));
    EXPECT_EQ(2U, TARVO_DlgSelectUser(kOwner, buffer, 0x80000001, buffer, sizeof buffer)) << "as wide text: 2 bytes";
    EXPECT_EQ(0U, play_->request[0]);
    WithEachAllocationFailing([&] {
        char domain[10];
        const DWORD code = TARVO_DlgSelectUser(kOwner, buffer, sizeof buffer, domain, sizeof domain);
        EXPECT_EQ(Heap().FailureHappened() ? 2U : 0U, code);
    });
}

} // namespace
