// Installing, changing, reading and removing services; the system's service manager tells what came of it.

#include <cstring>

#include "services/test_service.h"

namespace {

constexpr DWORD kOwn = SERVICE_WIN32_OWN_PROCESS;
constexpr DWORD kDemand = SERVICE_DEMAND_START;
constexpr char kPassword[] = "S3cret-W0rd";

class ServiceInstallation : public kit::LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        log_.emplace(Scratch().Path("trace.log"));
        record_ = Record();
    }

    const kit::TraceLog& Log() const { return *log_; }
    std::string Recorded() const { return kit::FileExists(record_) ? kit::ReadFile(record_) : ""; }

    static DWORD Install(const TestService& service, const char* path, DWORD type = kOwn, BOOL change = FALSE)
    {
        return TARVO_InstallService(nullptr, service.Name(), "Shown name", type, kDemand, path, nullptr, nullptr,
                                    nullptr, change);
    }

private:
    std::optional<kit::TraceLog> log_;
    std::string record_;
};

TEST_F(ServiceInstallation, NewServiceIsDescribedEnabledAndRecorded)
{
    TestService service("TarvoInstallation");
    EXPECT_EQ(0U, Install(service, "\"C:\\x.exe\" -s"));
    EXPECT_EQ("type 16 start 3 error 0 path [\"C:\\x.exe\" -s] account [LocalSystem] display [Shown name]",
              ConfigOf(service.Name()));
    EXPECT_EQ("Shown name", DescriptionOf(service.Name()));
    EXPECT_EQ("[Services]\r\nTarvoInstallation=1\r\n", Recorded());
    EXPECT_TRUE(Log().HasEach(
        {"Called with: [<Local Machine>] [TarvoInstallation] [Shown name] [16] [3]",
         "Called with: binpath=[\"C:\\x.exe\" -s], account=[null] [null], change=[0]",
         "Called with: [<Local Machine>] [TarvoInstallation] [<Current HWProfile>] [<Current ControlSet>]"}));
}

TEST_F(ServiceInstallation, ExistingServiceIsChangedOnlyIfAsked)
{
    TestService service("TarvoInstallation");
    service.Install("plain");
    const std::string before = ConfigOf(service.Name());
    EXPECT_TRUE(kit::Gives(ERROR_FILE_EXISTS, Install(service, "C:\\new.exe")));
    EXPECT_EQ(before, ConfigOf(service.Name()));
    EXPECT_EQ("", Recorded());
    EXPECT_EQ(0U, Install(service, "C:\\new.exe", kOwn, TRUE));
    EXPECT_EQ("type 16 start 3 error 1 path [\"C:\\new.exe\"] account [LocalSystem] display [Shown name]",
              ConfigOf(service.Name()));
    EXPECT_EQ("Shown name", DescriptionOf(service.Name()));
    EXPECT_EQ("[Services]\r\nTarvoInstallation=1\r\n", Recorded());
    // The line has no end of its own: the next one follows in it.
    EXPECT_EQ(1U, Log().Count("bChangeExisting = 0, nothing to do.3\t"));
}

TEST_F(ServiceInstallation, PathOfAProgramIsQuotedAsAWhole)
{
    const struct {
        DWORD type;
        const char* given;
        const char* expected;
    } cases[] = {
        {SERVICE_WIN32_OWN_PROCESS, "C:\\a b\\x.exe -arg", "\"C:\\a b\\x.exe -arg\""},
        {SERVICE_WIN32_SHARE_PROCESS, "C:\\x.exe", "\"C:\\x.exe\""},
        {SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS, "C:\\x.exe", "\"C:\\x.exe\""},
        {SERVICE_WIN32_OWN_PROCESS, "\"C:\\a b\\x.exe\" -arg", "\"C:\\a b\\x.exe\" -arg"},
        {SERVICE_KERNEL_DRIVER, "C:\\a b\\x.sys", "C:\\a b\\x.sys"},
        {SERVICE_FILE_SYSTEM_DRIVER, "C:\\a b\\x.sys", "C:\\a b\\x.sys"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.given);
        const std::string expected = "path [" + std::string(row.expected) + "]";
        TestService service("TarvoInstallation");
        EXPECT_EQ(0U, Install(service, row.given, row.type));
        EXPECT_NE(std::string::npos, ConfigOf(service.Name()).find(expected)) << "installed";
        EXPECT_EQ(0U, TARVO_ChangeServiceConfig(nullptr, service.Name(), kDemand, row.type, row.given, nullptr, nullptr,
                                                nullptr));
        EXPECT_NE(std::string::npos, ConfigOf(service.Name()).find(expected)) << "changed";
    }
}

TEST_F(ServiceInstallation, ChangeKeepsWhatIsNotGiven)
{
    TestService service("TarvoInstallation");
    EXPECT_EQ(0U, Install(service, "C:\\x.exe"));
    const std::string before = ConfigOf(service.Name());
    EXPECT_EQ(0U, TARVO_ChangeServiceConfig(nullptr, service.Name(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, nullptr,
                                            nullptr, nullptr, nullptr));
    EXPECT_EQ(before, ConfigOf(service.Name()));
    EXPECT_EQ("Shown name", DescriptionOf(service.Name()));
    EXPECT_EQ(0U, TARVO_ChangeServiceConfig(nullptr, service.Name(), SERVICE_DISABLED, SERVICE_NO_CHANGE, "C:\\y.exe",
                                            nullptr, nullptr, "Other"));
    EXPECT_EQ("type 16 start 4 error 0 path [\"C:\\y.exe\"] account [LocalSystem] display [Other]",
              ConfigOf(service.Name()));
    EXPECT_EQ("Other", DescriptionOf(service.Name()));
}

TEST_F(ServiceInstallation, AccountPasswordAndDependenciesReachTheSystemAndNoPasswordTheLog)
{
    TestService service("TarvoInstallation");
    std::string created;
    std::string changed;
    kit::ImportHook create("CreateServiceA", &CreateServiceA);
    create.Answer([&](SC_HANDLE manager, const char* name, const char* display, DWORD access, DWORD type, DWORD start,
                      DWORD error, const char* path, const char* group, DWORD* tag, const char* dependencies,
                      const char* account, const char* password) {
        created =
            std::string(account) + " " + password + " " + std::string(dependencies, 6) + (group || tag ? "?" : "");
        return create.Original()(manager, name, display, access, type, start, error, path, group, tag, nullptr, nullptr,
                                 nullptr);
    });
    kit::ImportHook change("ChangeServiceConfigA", &ChangeServiceConfigA);
    change.Answer([&](SC_HANDLE, DWORD, DWORD, DWORD error, const char*, const char* group, DWORD* tag,
                      const char* dependencies, const char* account, const char* password, const char*) {
        changed = std::string(account) + " " + password +
                  (error != SERVICE_NO_CHANGE || group || tag || dependencies ? "?" : "");
        return TRUE;
    });
    for (const BOOL second : {FALSE, TRUE})
        EXPECT_EQ(0U, TARVO_InstallService("here", service.Name(), "d", kOwn, kDemand, "C:\\x", "Aa\0Bb\0", ".\\me",
                                           kPassword, second));
    EXPECT_EQ(".\\me S3cret-W0rd " + std::string("Aa\0Bb\0", 6), created);
    EXPECT_EQ(".\\me S3cret-W0rd", changed);
    EXPECT_EQ(2U, Log().Count("account=[.\\me] [password], change="));
    EXPECT_EQ(1U, Log().Count("account=[.\\me], passw=[******], displayname=[d]"));
    EXPECT_EQ(0U, Log().Count("<Local Machine>"));
    change.FailAll(ERROR_INVALID_SERVICE_ACCOUNT, FALSE);
    EXPECT_EQ(DWORD{ERROR_INVALID_SERVICE_ACCOUNT}, TARVO_InstallService(nullptr, service.Name(), "d", kOwn, kDemand,
                                                                         "C:\\x", nullptr, ".\\me", kPassword, TRUE));
    EXPECT_EQ(std::string::npos, kit::ReadFile(Log().Path()).find(kPassword));
}

TEST_F(ServiceInstallation, ConfigurationIsCutToTheBuffersOfTheCaller)
{
    constexpr size_t kSizes[] = {260, 1024, 1024};
    const std::string longText(1500, 'x');
    TestService service("TarvoInstallation");
    service.Install("plain", kOwn | SERVICE_INTERACTIVE_PROCESS);
    kit::ImportHook query("QueryServiceConfigA", &QueryServiceConfigA);
    query.Answer([&](SC_HANDLE handle, QUERY_SERVICE_CONFIGA* config, DWORD size, DWORD* needed) {
        const BOOL done = query.Original()(handle, config, size, needed);
        if (done)
            config->lpBinaryPathName = config->lpServiceStartName = config->lpDisplayName =
                const_cast<char*>(longText.c_str());
        return done;
    });
    std::string texts[] = {std::string(261, '#'), std::string(1025, '#'), std::string(1025, '#')};
    DWORD start = 9;
    DWORD interactive = 9;
    EXPECT_EQ(0U, TARVO_GetServiceConfig(nullptr, service.Name(), &start, &interactive, texts[0].data(),
                                         texts[1].data(), texts[2].data()));
    EXPECT_EQ(kDemand, start);
    EXPECT_EQ(1U, interactive);
    for (size_t index = 0; index < 3; ++index)
        EXPECT_EQ(std::string(kSizes[index] - 1, 'x') + '\0' + '#', texts[index]) << index;
}

TEST_F(ServiceInstallation, ServiceIsFoundAndRemoved)
{
    TestService service("TarvoInstallation");
    DWORD installed = 9;
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, TARVO_IsServiceInstalled(nullptr, service.Name(), nullptr));
    EXPECT_EQ(0U, TARVO_IsServiceInstalled(nullptr, service.Name(), &installed));
    EXPECT_EQ(0U, installed);
    EXPECT_EQ(DWORD{ERROR_SERVICE_DOES_NOT_EXIST}, TARVO_RemoveService(nullptr, service.Name()));
    service.Install("plain");
    service.Start();
    EXPECT_EQ(0U, TARVO_IsServiceInstalled(nullptr, service.Name(), &installed));
    EXPECT_EQ(1U, installed);
    EXPECT_EQ(0U, TARVO_RemoveService(nullptr, service.Name()));
    EXPECT_TRUE(service.IsGone());
    EXPECT_EQ("start 1 ", service.Recorded());
}

} // namespace
