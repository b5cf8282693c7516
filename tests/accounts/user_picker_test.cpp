// The user picker. The system's user browser is stood in for: it answers as the test has told it.

#include "kit/kit.h"

namespace {

constexpr char kUnavailable[] = "Unable to show UserBrowse dialog";
constexpr char kLoaded[] = "lz32.dll"; // in the browser's place; nothing in this process uses it
const auto kOwner = reinterpret_cast<HWND>(0x77);

struct Browser {
    BOOL opens = TRUE;
    BOOL cancels = FALSE;
    BOOL enumerates = TRUE;
    const wchar_t* domain = L"DOMAIN";
    const wchar_t* account = L"account";
    DWORD request[9] = {}; // as it came
    std::wstring title;    // the request's texts are gone after the call
    DWORD bufferSize = 0;
    int open = 0; // times not closed
};

Browser browser;

HANDLE WINAPI OpenBrowser(DWORD* request)
{
    memcpy(browser.request, request, sizeof browser.request);
    browser.title = request[4] ? reinterpret_cast<const wchar_t*>(request[4]) : L"none";
    if (!browser.opens)
        return nullptr;
    request[1] = static_cast<DWORD>(browser.cancels);
    ++browser.open;
    return &browser;
}

BOOL WINAPI EnumerateSelection(HANDLE handle, BYTE* buffer, DWORD* size)
{
    browser.bufferSize = *size;
    if (handle != &browser || !browser.enumerates)
        return FALSE;
    memset(buffer, 0x5A, 40);
    memcpy(buffer + 16, &browser.domain, sizeof browser.domain);
    memcpy(buffer + 24, &browser.account, sizeof browser.account);
    return TRUE;
}

BOOL WINAPI CloseBrowser(HANDLE handle)
{
    --browser.open;
    return handle == &browser;
}

class UserPicker : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        browser = {};
        load_.emplace("LoadLibraryA", &LoadLibraryA);
        load_->Answer([](const char* name) {
            EXPECT_STREQ("netui2.dll", name);
            return LoadLibraryA(kLoaded);
        });
        find_.emplace("GetProcAddress", &GetProcAddress);
        find_->Answer([](HMODULE, const char* name) {
            const std::map<std::string, void*> functions = {
                {"OpenUserBrowser", reinterpret_cast<void*>(&OpenBrowser)},
                {"EnumUserBrowserSelection", reinterpret_cast<void*>(&EnumerateSelection)},
                {"CloseUserBrowser", reinterpret_cast<void*>(&CloseBrowser)}};
            return reinterpret_cast<FARPROC>(functions.at(name));
        });
    }

    void TearDown() override
    {
        EXPECT_EQ(0, browser.open) << "a browser was not closed";
        EXPECT_FALSE(GetModuleHandleA(kLoaded)) << "the library was not freed";
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

    std::optional<kit::ImportHook<decltype(&LoadLibraryA)>> load_;
    std::optional<kit::ImportHook<decltype(&GetProcAddress)>> find_;
};

TEST_F(UserPicker, AsksWithARecordOf36Bytes)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    char user[20];
    char domain[20];
    EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, sizeof user, domain, sizeof domain));
    EXPECT_STREQ("account", user);
    EXPECT_STREQ("DOMAIN", domain);
    const DWORD* const request = browser.request;
    EXPECT_TRUE(request[0] == 36 && request[1] == 0 && request[2] == 0 && request[3] == 0x77);
    EXPECT_TRUE(request[4] && browser.title.empty());
    EXPECT_TRUE(request[5] == 0 && request[6] == 0x100A && request[7] == 0 && request[8] == 0);
    EXPECT_EQ(2047U, browser.bufferSize);
    EXPECT_TRUE(log.HasEach({"], Domain=[null], flags=[0x100A]", "Received user=[DOMAIN\\account]",
                             "Returning [1] (Canceled=[0])", "Returning user=[DOMAIN\\account]"}));
}

TEST_F(UserPicker, NamesAreCutToTheBuffers)
{
    for (const DWORD size : {8, 7, 2, 1}) {
        char user[] = "~~~~~~~~~~~~~~~";
        char domain[] = "untouched";
        EXPECT_EQ(0U, TARVO_DlgSelectUser(kOwner, user, size, domain, 0));
        EXPECT_EQ(std::string("account", size - 1), user);
        EXPECT_EQ('~', user[size]);
        EXPECT_STREQ("untouched", domain);
    }
    browser.account = nullptr;
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
    browser.account = L"\x30BD\x30BD\x30BD";
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
    browser.enumerates = FALSE;
    check("pfnEnumUserBrowserSelection failed.");
    browser.opens = FALSE;
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
    const kit::ImportHook load("LoadLibraryA", &LoadLibraryA, ERROR_MOD_NOT_FOUND, nullptr);
    check("netui2.dll failed to load.");
}

TEST_F(UserPicker, CancellingTouchesNoBuffer)
{
    const kit::TraceLog log(Scratch().Path("trace.log"));
    browser.cancels = TRUE;
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
    EXPECT_EQ(0U, browser.request[0]);
    WithEachAllocationFailing([&] {
        char domain[10];
        const DWORD code = TARVO_DlgSelectUser(kOwner, buffer, sizeof buffer, domain, sizeof domain);
        EXPECT_EQ(Heap().FailureHappened() ? 2U : 0U, code);
    });
}

} // namespace
