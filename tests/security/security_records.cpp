// Grants to one principal, on one object or a tree, and the numbered policies, against their records.

#include <aclapi.h>
#include <lm.h>

#include <algorithm>
#include <set>

#include "kit/acl_notation.h"
#include "kit/kit.h"

namespace {

using SecurityRecords = kit::BehaviorTest;
using kit::Stage;
using Names = std::vector<std::string>;

constexpr DWORD kAll = KEY_ALL_ACCESS; // so that the test can delete its keys

std::string Object(const std::string& sub)
{
    return "MACHINE\\" + Stage::Key(sub);
}

/** Makes the stage's key, or one below it, with a list of its own. */
void MakeListedKey(const char* list, const std::string& sub = {})
{
    kit::MakeKey(Stage::Key(sub));
    acl::Write(Object(sub), list);
}

/** Tells the list; everybody may then delete the key. */
void TellList(Stage& stage, const std::string& sub = {})
{
    stage.Tell("list" + (sub.empty() ? sub : " of " + sub), acl::Read(Object(sub), SE_REGISTRY_KEY));
    acl::Write(Object(sub), "allow S-1-1-0:f003f");
}

/** Stands in for the lists of all objects, since Wine folds those of files into Unix modes. */
class StoodInLists {
public:
    /** @param bytes  What every object has, until its list is set if those are kept; "" for none. */
    explicit StoodInLists(std::vector<BYTE> bytes = {}, bool keeps = false) : bytes_(std::move(bytes))
    {
        get_.Answer([this](const char*, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL* dacl, PACL*,
                           PSECURITY_DESCRIPTOR* descriptor) {
            *descriptor = LocalAlloc(LPTR, bytes_.size() + 1);
            memcpy(*descriptor, bytes_.data(), bytes_.size());
            *dacl = bytes_.empty() ? nullptr : static_cast<PACL>(*descriptor);
            return DWORD{ERROR_SUCCESS};
        });
        set_.Answer([this, keeps](char* name, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID, PSID, PACL dacl, PACL) {
            names.emplace_back(name);
            lists.push_back(acl::Describe(dacl));
            if (keeps)
                bytes_.assign(reinterpret_cast<BYTE*>(dacl), reinterpret_cast<BYTE*>(dacl) + dacl->AclSize);
            return DWORD{ERROR_SUCCESS};
        });
    }

    std::string Kept() const
    {
        return bytes_.empty() ? "none" : acl::Describe(reinterpret_cast<const ACL*>(&bytes_[0]));
    }

    Names names; // of the objects whose lists were set
    Names lists; // as they were set

private:
    std::vector<BYTE> bytes_;
    kit::ImportHook<decltype(&GetNamedSecurityInfoA)> get_{"GetNamedSecurityInfoA", &GetNamedSecurityInfoA};
    kit::ImportHook<decltype(&SetNamedSecurityInfoA)> set_{"SetNamedSecurityInfoA", &SetNamedSecurityInfoA};
};

/** The network's answers, for a domain and for this machine. */
class Domain {
public:
    Domain()
    {
        controller_.Answer([](const wchar_t*, const wchar_t*, BYTE** buffer) {
            NetApiBufferAllocate(32, reinterpret_cast<void**>(buffer));
            wcscpy(reinterpret_cast<wchar_t*>(*buffer), L"\\\\PDC");
            return NET_API_STATUS{NERR_Success};
        });
        modals_.Answer([this](const wchar_t*, DWORD, BYTE** buffer) {
            NetApiBufferAllocate(sizeof(USER_MODALS_INFO_2), reinterpret_cast<void**>(buffer));
            *reinterpret_cast<USER_MODALS_INFO_2*>(*buffer) = {nullptr, sid_.data()};
            return NET_API_STATUS{NERR_Success};
        });
    }

private:
    std::vector<BYTE> sid_ = acl::Sid("S-1-5-21-7-8-9");
    kit::ImportHook<decltype(&NetGetDCName)> controller_{"NetGetDCName", &NetGetDCName};
    kit::ImportHook<decltype(&NetUserModalsGet)> modals_{"NetUserModalsGet", &NetUserModalsGet};
};

TEST_F(SecurityRecords, Grants)
{
    Open("security/grants");
    Case("new entries stand between denials and allowances, own ones go", [](Stage& stage) {
        MakeListedKey("deny X | deny S-1-5-32-544 | allow Y | allow S-1-5-32-544:2 | inherited allow Z");
        stage.Call(&TARVO_SetObjectSecurityRid, SE_REGISTRY_KEY, Stage::Locator(), 544, nullptr, kAll, FALSE, FALSE);
        TellList(stage);
    });
    Case("an account's grant replaces the list", [](Stage& stage) {
        MakeListedKey("deny X | allow Y");
        stage.Call(&TARVO_SetObjectSecurity, SE_REGISTRY_KEY, Stage::Locator(), "Everyone", 0x2001F, 5, FALSE);
        TellList(stage);
    });
    Case("the account that runs the setup is asked for once", [](Stage& stage) {
        const StoodInLists lists({}, true);
        stage.Call(&TARVO_SetObjectSecurity, SE_FILE_OBJECT, "C:\\file", nullptr, GENERIC_READ, FALSE, FALSE);
        stage.Call(&TARVO_SetObjectSecurity, SE_FILE_OBJECT, "C:\\file", nullptr, GENERIC_WRITE, TRUE, FALSE);
        stage.Tell("list", lists.Kept());
    });
    Case("an account of the domain comes from its controller", [](Stage& stage) {
        const Domain answers;
        const StoodInLists lists;
        stage.Call(&TARVO_SetObjectSecurityRid, SE_FILE_OBJECT, "C:\\file", 512, "DOM", GENERIC_ALL, TRUE, FALSE);
    });

    const Ways once = {.failures = false, .allocations = false};
    Case("an account of this machine comes from the machine", once, [](Stage& stage) {
        const Domain answers;
        stage.Call(&TARVO_SetObjectSecurityRid, SE_REGISTRY_KEY, "no key", 500, nullptr, 1, FALSE, FALSE);
    });
    Case("relative identifiers have their ranges, main keys their prefixes", once, [](Stage& stage) {
        const Domain answers;
        StoodInLists lists;
        lists.lists.emplace_back("");
        lists.names.emplace_back("");
        const auto tell = [&](DWORD rid, const char* domain, const char* key) {
            const DWORD code = TARVO_SetRegistrySecurityRid(key, rid, domain, 1, FALSE, FALSE);
            stage.Tell(std::to_string(rid) + (domain ? " in a domain" : " on " + lists.names.back()),
                       code ? std::to_string(code) : lists.lists.back());
        };
        for (const DWORD rid : {0UL, 1UL, 18UL, 32UL, 33UL, 499UL, 500UL, 543UL, 544UL, 999UL, 1000UL, ~0UL})
            tell(rid, nullptr, rid ? "hkey_current_user\\a\\b" : "HKEY_CLASSES_ROOT\\a");
        for (const DWORD rid : {0UL, 18UL, 499UL, 544UL, 1000UL})
            tell(rid, "", "HKEY_USERS\\a");
        tell(0, nullptr, "HKEY_USERS\\a");
    });
    Case("an account that needs no buffers is none", once, [](Stage& stage) {
        const kit::ImportHook lookUp("LookupAccountNameA", &LookupAccountNameA, 0, TRUE);
        stage.Call(&TARVO_SetObjectSecurity, SE_FILE_OBJECT, "C:\\file", "odd", 1, FALSE, FALSE);
    });
    Case("refusals touch nothing", once, [](Stage& stage) {
        const std::string missing = Stage::Folder("missing");
        const auto refuse = [&](const std::string& key, BOOL recursive) {
            stage.Call(&TARVO_SetObjectSecurityRid, SE_REGISTRY_KEY, key, 0, nullptr, 1, FALSE, recursive);
        };
        stage.Call(&TARVO_SetObjectSecurity, SE_SERVICE, "x", nullptr, 1, 2, 3);
        stage.Call(&TARVO_SetObjectSecurity, 0, nullptr, "x", 0xFFFFFFFF, FALSE, FALSE);
        stage.Call(&TARVO_SetObjectSecurity, SE_FILE_OBJECT, nullptr, nullptr, 1, FALSE, FALSE);
        stage.Call(&TARVO_SetObjectSecurity, SE_FILE_OBJECT, missing, "TarvoNobody", 1, FALSE, FALSE);
        stage.Call(&TARVO_SetObjectSecurityRid, SE_SERVICE, "x", 0x220, "d", 1, 2, 3);
        stage.Call(&TARVO_SetObjectSecurityRid, SE_REGISTRY_KEY, nullptr, 0, nullptr, 1, FALSE, FALSE);
        stage.Call(&TARVO_SetObjectSecurityRid, SE_FILE_OBJECT, missing, 0, nullptr, 1, FALSE, FALSE);
        refuse("HKLM\\Software", FALSE);
        refuse("HKEY_USERS\\", TRUE);
        refuse(Stage::Locator("missing"), TRUE);
        refuse("HKEY_USERS\\" + std::string(2042, 'x'), FALSE);
    });
    Case("the forms of one type", once, [](Stage& stage) {
        stage.Call(&TARVO_SetFileSecurity, nullptr, "account", 2, 3, 4);
        stage.Call(&TARVO_SetFileSecurityRid, nullptr, 1, "domain", 2, 3, 4);
        stage.Call(&TARVO_SetRegistrySecurity, "no key", nullptr, 2, 3, 4);
        stage.Call(&TARVO_SetRegistrySecurityRid, "no key", 1, "domain", 2, 3, 4);
    });
}

TEST_F(SecurityRecords, Walks)
{
    Open("security/walks");
    Case("each key of a tree, before those below it", {.allocations = false}, [](Stage& stage) {
        for (const char* name : {"", "A", "A\\1", "B"})
            MakeListedKey("allow S-1-1-0:f003f", name);
        stage.Call(&TARVO_SetObjectSecurityRid, SE_REGISTRY_KEY, Stage::Locator(), 544, nullptr, kAll, TRUE, TRUE);
        for (const char* name : {"", "A", "A\\1", "B"})
            TellList(stage, name);
    });
    Case("each file of a tree, behind its folder", [](Stage& stage) {
        const StoodInLists lists;
        const std::string tree = Stage::Folder("tree");
        CreateDirectoryA(tree.c_str(), nullptr);
        CreateDirectoryA((tree + "\\a").c_str(), nullptr);
        SetFileAttributesA(Stage::File("tree\\a\\hidden").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
        Stage::File("tree\\b");
        stage.Call(&TARVO_SetObjectSecurityRid, SE_FILE_OBJECT, tree + "/", 0, nullptr, GENERIC_ALL, TRUE, TRUE);
        stage.Tell("set", lists.names);
    });
}

TEST_F(SecurityRecords, Policies)
{
    Open("security/policies");
    Case("a row without a SID is left out; rows are added one by one", [](Stage& stage) {
        const StoodInLists lists(acl::Make("deny X | allow Y"), true);
        stage.Call(&TARVO_DefineSecurityPolicy, 16);
        stage.Call(&TARVO_ApplyFileSecurityPolicy, "C:\\file", FALSE);
        stage.Tell("list", lists.Kept());
    });

    const Ways once = {.failures = false, .allocations = false};
    for (const DWORD policy : {1UL, 2UL}) {
        Case("rows of policy " + std::to_string(policy), once, [=](Stage& stage) {
            stage.Call(&TARVO_DefineSecurityPolicy, policy);
            const StoodInLists lists(acl::Make("deny X"));
            TARVO_ApplyRegistrySecurityPolicy("HKEY_USERS\\a", FALSE);
            for (const std::string& list : lists.lists)
                stage.Tell("set", list);
        });
    }
    Case("a policy is selected until another one is", once, [](Stage& stage) {
        stage.Call(&TARVO_GetSecurityPolicy);
        for (const DWORD number : {16UL, 16UL, 0UL, 16UL})
            stage.Call(&TARVO_DefineSecurityPolicy, number);
        stage.Call(&TARVO_GetSecurityPolicy);
        stage.Call(&TARVO_DefineSecurityPolicy, 3);
        const StoodInLists lists(acl::Make("deny X"), true);
        stage.Call(&TARVO_ApplyFileSecurityPolicy, "C:\\file", FALSE);
        stage.Tell("list", lists.Kept());
    });
    Case("without a policy nothing is touched", once, [](Stage& stage) {
        stage.Call(&TARVO_ApplyFileSecurityPolicy, "C:\\file", TRUE);
        stage.Call(&TARVO_ApplyRegistrySecurityPolicy, "no key", 5);
        stage.Call(&TARVO_ApplyFileSecurityPolicy, nullptr, FALSE);
        stage.Call(&TARVO_ApplyRegistrySecurityPolicy, "", FALSE);
    });
    Case("the first row that fails ends", once, [](Stage& stage) {
        TARVO_DefineSecurityPolicy(16);
        stage.Call(&TARVO_ApplyFileSecurityPolicy, Stage::Folder("missing"), TRUE);
        stage.Call(&TARVO_ApplyRegistrySecurityPolicy, "HKEY_LOCAL_MACHINE", FALSE);
    });
}

using Walk = kit::LibraryTest;

/** @return what a walk from a folder reaches, without the folder's path, sorted as the system need not. */
Names Reached(const std::string& folder)
{
    StoodInLists lists;
    EXPECT_EQ(0U, TARVO_SetFileSecurityRid(folder.c_str(), 0, nullptr, GENERIC_ALL, FALSE, TRUE));
    for (std::string& name : lists.names)
        name.erase(0, folder.size());
    std::sort(lists.names.begin(), lists.names.end());
    return lists.names;
}

/** A file system that shows its entries otherwise than they are: names, attributes, what a path leads to. */
class ShownFileSystem {
public:
    ShownFileSystem(const std::function<std::string(std::string)>& lead,
                    const std::function<void(WIN32_FIND_DATAA&)>& show)
    {
        attributes_.Answer([=](const char* path) { return GetFileAttributesA(lead(path).c_str()); });
        create_.Answer([=](const char* path, auto... rest) { return CreateFileA(lead(path).c_str(), rest...); });
        first_.Answer([=](const char* pattern, WIN32_FIND_DATAA* data) {
            const HANDLE search = FindFirstFileA(lead(pattern).c_str(), data);
            show(*data);
            return search;
        });
        next_.Answer([=](HANDLE search, WIN32_FIND_DATAA* data) {
            const BOOL found = FindNextFileA(search, data);
            show(*data);
            return found;
        });
    }

private:
    kit::ImportHook<decltype(&GetFileAttributesA)> attributes_{"GetFileAttributesA", &GetFileAttributesA};
    kit::ImportHook<decltype(&CreateFileA)> create_{"CreateFileA", &CreateFileA};
    kit::ImportHook<decltype(&FindFirstFileA)> first_{"FindFirstFileA", &FindFirstFileA};
    kit::ImportHook<decltype(&FindNextFileA)> next_{"FindNextFileA", &FindNextFileA};
};

TEST_F(Walk, LongPathsAreWalked)
{
    const std::string start = Scratch().Path();
    Names expected = {""};
    std::string folder = start;
    for (char letter = 'a'; letter < 'm'; ++letter) {
        ASSERT_TRUE(CreateDirectoryA((folder += std::string("\\") + letter).c_str(), nullptr));
        expected.push_back(expected.back() + "\\" + std::string(60, letter));
    }
    const ShownFileSystem system(
        [&](std::string path) {
            path.erase(std::unique(path.begin() + static_cast<ptrdiff_t>(start.size()), path.end()), path.end());
            return path;
        },
        [](WIN32_FIND_DATAA& data) {
            if (data.cFileName[0] != '.')
                *std::fill_n(data.cFileName, 60, data.cFileName[0]) = '\0';
        });
    EXPECT_EQ(expected, Reached(Scratch().Path()));
}

TEST_F(Walk, LinksBackAreCalledBackForButNotEntered)
{
    const std::pair<std::string, std::string> links[] = {{Scratch().Path("a\\b\\loop"), Scratch().Path("a\\b")},
                                                         {Scratch().Path("a\\b\\up"), Scratch().Path()},
                                                         {Scratch().Path("a\\side"), Scratch().Path("a\\b")},
                                                         {Scratch().Path("a\\twin"), Scratch().Path("a\\b")}};
    for (const char* name : {"a", "a\\b", "a\\b\\loop", "a\\b\\up", "a\\side", "a\\twin"})
        ASSERT_TRUE(CreateDirectoryA(Scratch().Path(name).c_str(), nullptr));
    Scratch().Make("a\\b\\file");
    const ShownFileSystem system(
        [&](std::string path) {
            for (int depth = 0; depth < 4; ++depth) { // a link may lie behind another one
                for (const auto& [link, target] : links) {
                    if (path == link || path.starts_with(link + "\\"))
                        path.replace(0, link.size(), target);
                }
            }
            return path;
        },
        [](WIN32_FIND_DATAA& data) {
            if (std::set<std::string>{"loop", "up", "side", "twin"}.contains(data.cFileName))
                data.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        });
    EXPECT_EQ(Names({"", "\\a", "\\a\\b", "\\a\\b\\file", "\\a\\b\\loop", "\\a\\b\\up", "\\a\\side", "\\a\\side\\file",
                     "\\a\\side\\loop", "\\a\\side\\up", "\\a\\twin"}),
              Reached(Scratch().Path()))
        << "a link beside the walk is entered, one of two";
    // A file system that keeps no numbers of files tells 0 for each: links are entered then.
    RemoveDirectoryA(links[0].first.c_str());
    RemoveDirectoryA(links[1].first.c_str());
    kit::ImportHook identify("GetFileInformationByHandle", &GetFileInformationByHandle);
    identify.Answer([](HANDLE, BY_HANDLE_FILE_INFORMATION* file) { return *file = {}, TRUE; });
    EXPECT_EQ(
        Names({"", "\\a", "\\a\\b", "\\a\\b\\file", "\\a\\side", "\\a\\side\\file", "\\a\\twin", "\\a\\twin\\file"}),
        Reached(Scratch().Path()));
}

/** @return the keys that a walk reaches, without the path of the first. */
Names ReachedKeys(const std::string& path, const std::function<void(const std::string&)>& meanwhile)
{
    Names names;
    kit::ImportHook get("GetNamedSecurityInfoA", &GetNamedSecurityInfoA);
    get.Answer([&](const char* name, auto... rest) {
        meanwhile(names.emplace_back(std::string(name).substr(sizeof "MACHINE" + path.size())));
        return get.Original()(name, rest...);
    });
    EXPECT_EQ(0U, TARVO_SetRegistrySecurityRid(("HKEY_LOCAL_MACHINE\\" + path).c_str(), 544, nullptr, KEY_ALL_ACCESS,
                                               TRUE, TRUE));
    return names;
}

TEST_F(Walk, LinksAmongKeysAreNotEntered)
{
    kit::MakeKey(Key().Path("A"));
    const std::string path = "\\Registry\\Machine\\Software\\Wow6432Node" + Key().Path().substr(8);
    const std::wstring target(path.begin(), path.end());
    HKEY link = nullptr;
    RegCreateKeyExA(HKEY_LOCAL_MACHINE, Key().Path("A\\up").c_str(), 0, nullptr,
                    REG_OPTION_CREATE_LINK | REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &link, nullptr);
    EXPECT_EQ(0, RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(target.data()),
                                static_cast<DWORD>(target.size() * sizeof(wchar_t))));
    EXPECT_EQ(Names({"", "\\A", "\\A\\up"}), ReachedKeys(Key().Path(), [](auto) {}));
    const FARPROC remove = GetProcAddress(GetModuleHandleA("ntdll"), "NtDeleteKey"); // the link, not its target
    EXPECT_EQ(0, reinterpret_cast<LONG(WINAPI*)(HKEY)>(reinterpret_cast<void*>(remove))(link));
    RegCloseKey(link);
}

TEST_F(Walk, VanishingKeysArePassedOver)
{
    for (const char* name : {"A", "B", "C"})
        kit::MakeKey(Key().Path(name));
    const Names names = ReachedKeys(Key().Path(), [this](const std::string& name) {
        if (name == "\\A")
            kit::RemoveKeyTree(Key().Path("B"), kit::View::kOwn);
    });
    EXPECT_EQ(Names({"", "\\A", "\\B", "\\C"}), names);
    EXPECT_FALSE(kit::KeyExists(Key().Path("B")));
}

} // namespace
