#include "kit/platform_calls.h"

#include <lm.h>
#include <shlobj.h>
#include <winternl.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <set>
#include <vector>

#include "kit/acl_notation.h"

namespace kit {
namespace {

constexpr PlatformCall kCalls[] = {
    // advapi32
    {"AddAce", ". num hex ace num", "bool"},
    {"AdjustTokenPrivileges", "h num privileges . . .", "bool"},
    {"AllocateAndInitializeSid", "authority num num num . . . . . . >h:sid", "bool"},
    {"ChangeServiceConfig2A", "h num description", "bool"},
    {"ChangeServiceConfigA", "h hex num hex text text ptr list text text text", "bool"},
    {"CloseServiceHandle", "-h", "bool"},
    {"ControlService", "h num .", "bool"},
    {"CopySid", ". . sid", "bool"},
    {"CreateServiceA", "h text text hex hex num num text text ptr list text text", "h:service"},
    {"DeleteAce", ". num", "bool"},
    {"DeleteService", "h", "bool"},
    {"FreeSid", "-h", "num!"},
    {"GetAce", ". num .", "bool"},
    {"GetAclInformation", ". . num num", "bool"},
    {"GetFileSecurityA", "text hex ptr num .", "bool"},
    {"GetNamedSecurityInfoA", "text num hex ptr ptr ptr ptr >h:descriptor", "code"},
    {"GetTokenInformation", "h num ptr . .", "bool"},
    {"InitializeAcl", ". num num", "bool"},
    {"InitializeSid", ". authority num", "bool"},
    {"InitiateSystemShutdownA", "text text num num num", "bool"},
    {"IsValidSid", "sid", "bool"},
    {"LookupAccountNameA", "text text ptr . ptr . .", "bool"},
    {"LookupPrivilegeValueA", "text text .", "bool"},
    {"OpenProcessToken", "h hex >h:token", "bool"},
    {"OpenSCManagerA", "text text hex", "h:manager"},
    {"OpenServiceA", "h text hex", "h:service"},
    {"QueryServiceConfigA", "h ptr . .", "bool"},
    {"QueryServiceStatus", "h >state", "bool"},
    {"RegCloseKey", "-h", "code!"},
    {"RegCreateKeyA", "h text >h:key", "code"},
    {"RegCreateKeyExA", "h text . text num hex ptr >h:key >num", "code"},
    {"RegDeleteKeyA", "h text", "code"},
    {"RegDeleteKeyExA", "h text hex num", "code"},
    {"RegDeleteValueA", "h text", "code"},
    {"RegEnumKeyExA", "h num >text . . . . .", "code"},
    {"RegOpenKeyExA", "h text num hex >h:key", "code"},
    {"RegQueryInfoKeyA", "h . . . >num >num . >num . . . .", "code"},
    {"RegQueryValueExA", "h text . >num ptr >num", "code"},
    {"RegQueryValueExW", "h wide . >num ptr >num", "code"},
    {"RegSetValueExA", "h text . num bytes num", "code"},
    {"RegSetValueExW", "h wide . num wides num", "code"},
    {"SetNamedSecurityInfoA", "text num hex ptr ptr acl ptr", "code"},
    {"StartServiceA", "h num ptr", "bool"},
    // kernel32
    {"CloseHandle", "-h", "bool!"},
    {"CopyFileA", "text text num", "bool"},
    {"CreateDirectoryA", "text ptr", "bool"},
    {"CreateFileA", "text hex num ptr num hex .", "h:file"},
    {"DeleteFileA", "text", "bool"},
    {"FindClose", "-h", "bool!"},
    {"FindFirstFileA", "text >found", "h:search"},
    {"FindNextFileA", "h >found", "bool"},
    {"FreeLibrary", "-h", "bool!"},
    {"FlushFileBuffers", "h", "bool"},
    {"GetCurrentDirectoryA", "num >text", "num"},
    {"GetFileAttributesA", "text", "attributes"},
    {"GetFileInformationByHandle", "h .", "bool"},
    {"GetFileSizeEx", "h >num", "bool"},
    {"GetFileTime", "h . . .", "bool"},
    {"NtQueryInformationFile", "h . . num num", "code"},
    {"GetFullPathNameA", "text num >text .", "num"},
    {"GetModuleFileNameA", "h >text num", "num"},
    {"GetModuleHandleA", "text", "found"},
    {"GetPrivateProfileStringA", "text text text >text num text", "num"},
    {"GetProcAddress", "h text", "found"},
    {"GetSystemDirectoryA", ">text num", "num"},
    {"GetVersionExA", "version", "bool"},
    {"GetWindowsDirectoryA", ">text num", "num"},
    {"GlobalMemoryStatus", ".", "num!"},
    {"IsWow64Process", "h >num", "bool"},
    {"LoadLibraryA", "text", "h:module"},
    {"LoadLibraryExA", "text h hex", "h:module"},
    {"LocalFree", "-h", "num!"},
    {"MoveFileA", "text text", "bool"},
    {"MoveFileExA", "text text num", "bool"},
    {"ReadFile", "h . num . .", "bool"},
    {"RemoveDirectoryA", "text", "bool"},
    {"SetCurrentDirectoryA", "text", "bool"},
    {"SetFileAttributesA", "text hex", "bool"},
    {"SetFilePointer", "h num . num", "num!"},
    {"SetFileTime", "h . . .", "bool"},
    {"Sleep", "num", "num!"},
    {"WriteFile", "h bytes num . .", "bool"},
    {"WritePrivateProfileStringA", "text text text text", "bool"},
    // netapi32
    {"NetApiBufferFree", "-h", "code!"},
    {"NetGetDCName", "wide wide >h:buffer", "code"},
    {"NetLocalGroupAdd", "wide num group .", "code"},
    {"NetLocalGroupAddMembers", "wide wide num member num", "code"},
    {"NetLocalGroupDel", "wide wide", "code"},
    {"NetServerGetInfo", "wide num >h:buffer", "code"},
    {"NetShareAdd", "wide num share .", "code"},
    {"NetUserAdd", "wide num user .", "code"},
    {"NetUserDel", "wide wide", "code"},
    {"NetUserModalsGet", "wide num >h:buffer", "code"},
    // ntdll
    {"NtQueryValueKey", "h unicode num ptr . >num", "code"},
    // ole32, shell32
    {"CoCreateInstance", ". ptr num iid >com", "hresult"},
    {"CoInitialize", "ptr", "hresult"},
    {"CoUninitialize", "", "num!"},
    {"SHBrowseForFolderA", "browse", "h:items"},
    {"SHGetFolderPathA", "h num h num >text", "hresult"},
    {"SHGetMalloc", ">malloc", "hresult"},
    {"SHGetPathFromIDListA", "h >text", "bool"},
    {"SHGetSpecialFolderLocation", "h num >h:items", "hresult"},
    {"ShellExecuteA", "h text text text text num", "shell"},
    {"IShellLinkA::QueryInterface", "h iid >com", "hresult", 0},
    {"IShellLinkA::Release", "-h", "num!", 2},
    {"IShellLinkA::SetDescription", "h text", "hresult", 7},
    {"IShellLinkA::SetWorkingDirectory", "h text", "hresult", 9},
    {"IShellLinkA::SetArguments", "h text", "hresult", 11},
    {"IShellLinkA::SetShowCmd", "h num", "hresult", 15},
    {"IShellLinkA::SetPath", "h text", "hresult", 20},
    {"IPersistFile::Release", "-h", "num!", 2},
    {"IPersistFile::Save", "h wide num", "hresult", 6},
    {"IMalloc::Release", "-h", "num!", 2},
    {"IMalloc::Free", "h -h", "num!", 5},
    // user32, version
    {"CreateDialogParamA", "h num h ptr num", "h:window"},
    {"DestroyWindow", "-h", "bool"},
    {"GetDlgItem", "h num", "found"},
    {"SendMessageA", "h hex num param", "num!"},
    {"SetWindowTextA", "h text", "bool"},
    {"ShowWindow", "h num", "num!"},
    {"UpdateWindow", "h", "bool!"},
    {"GetFileVersionInfoA", "text . num .", "bool"},
    {"GetFileVersionInfoSizeA", "text .", "num"},
    {"VerQueryValueA", ". text . .", "bool"},
    // netui2
    {"OpenUserBrowser", "request", "h:browser"},
    {"EnumUserBrowserSelection", "h . >num", "bool"},
    {"CloseUserBrowser", "-h", "bool!"},
};

template <class T> const T* At(DWORD argument)
{
    return reinterpret_cast<const T*>(argument);
}

std::string Number(DWORD value, const char* format)
{
    char text[32];
    snprintf(text, sizeof text, format, value);
    return text;
}

std::string Signed(DWORD value)
{
    return Number(value, "%ld");
}

std::string Hex(DWORD value)
{
    return Number(value, "0x%lX");
}

std::string Narrow(std::wstring_view text)
{
    std::string narrow;
    for (const wchar_t unit : text)
        narrow += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : "\\u" + Number(unit, "%04lX");
    return narrow;
}

std::string Text(const char* text)
{
    return text ? Quoted(text) : "null";
}

std::string Wide(const wchar_t* text)
{
    return text ? "\"" + Narrow(text) + "\"" : "null";
}

std::string Fields(const std::vector<std::string>& fields)
{
    std::string joined;
    for (const std::string& field : fields)
        joined += (joined.empty() ? "{" : " ") + field;
    return joined + "}";
}

std::string WideUnits(const HandleNames&, const DWORD* argument)
{
    std::string text;
    for (const wchar_t unit : std::wstring_view(At<wchar_t>(argument[0]), argument[1] / sizeof(wchar_t)))
        text += unit ? Narrow({&unit, 1}) : "\\0";
    return "\"" + text + "\"";
}

std::string Bytes(const HandleNames&, const DWORD* argument)
{
    return argument[0] ? Quoted({At<char>(argument[0]), argument[1]}) : "null";
}

std::string List(const char* list)
{
    const char* end = list;
    while (end && *end)
        end += strlen(end) + 1;
    return list ? Quoted({list, end}) : "null";
}

std::string Share(const SHARE_INFO_2* info)
{
    return Fields({Wide(info->shi2_netname), Number(info->shi2_type, "type %lu"), Wide(info->shi2_remark),
                   Number(info->shi2_permissions, "permissions 0x%lX"), Number(info->shi2_max_uses, "uses %ld"),
                   Signed(info->shi2_current_uses), Wide(info->shi2_path), Wide(info->shi2_passwd)});
}

std::string User(const USER_INFO_1* info)
{
    return Fields({Wide(info->usri1_name), Wide(info->usri1_password), Number(info->usri1_password_age, "age %lu"),
                   Number(info->usri1_priv, "privilege %lu"), Wide(info->usri1_home_dir), Wide(info->usri1_comment),
                   Number(info->usri1_flags, "flags 0x%lX"), Wide(info->usri1_script_path)});
}

std::string Privileges(const TOKEN_PRIVILEGES* list)
{
    const LUID_AND_ATTRIBUTES& first = list->Privileges[0];
    return Number(list->PrivilegeCount, "{%lu, ") + Number(first.Luid.LowPart, "%lu, ") +
           Number(first.Attributes, "%lu}");
}

std::string Browse(const HandleNames& names, const DWORD* argument)
{
    const auto* info = At<BROWSEINFOA>(*argument);
    return Fields({names.Show(reinterpret_cast<DWORD>(info->hwndOwner)),
                   names.Show(reinterpret_cast<DWORD>(info->pidlRoot)), Text(info->lpszTitle), Hex(info->ulFlags),
                   Number(static_cast<DWORD>(info->iImage), "image %ld")});
}

/** The record that the user browser is handed: nine numbers. */
std::string Request(const HandleNames& names, const DWORD* argument)
{
    const DWORD* given = At<DWORD>(*argument);
    std::vector<std::string> fields;
    for (int field = 0; field < 9; ++field) {
        const bool isText = field == 4 || field == 5;
        fields.push_back(field == 3 ? names.Show(given[field])
                         : isText   ? Wide(At<wchar_t>(given[field]))
                                    : Hex(given[field]));
    }
    return Fields(fields);
}

std::string Interface(const IID* iid)
{
    return IsEqualIID(*iid, IID_IShellLinkA)    ? "IShellLinkA"
           : IsEqualIID(*iid, IID_IPersistFile) ? "IPersistFile"
                                                : "?";
}

/** Makes from what shows a value, or what a pointer leads to, what shows an argument. */
template <class T> std::string Apply(std::string (*show)(T), const DWORD* argument)
{
    return show((T)*argument);
}

template <auto kShow> std::string Of(const HandleNames&, const DWORD* argument)
{
    return Apply(+kShow, argument);
}

std::string Handle(const HandleNames& names, const DWORD* argument)
{
    return names.Show(*argument);
}

std::string HandleAt(const HandleNames& names, const DWORD* argument)
{
    return names.Show(*At<DWORD>(*argument));
}

constexpr struct Kind {
    const char* word;
    std::string (*show)(const HandleNames& names, const DWORD* argument);
} kKinds[] = {
    {"text", Of<Text>},
    {"wide", Of<Wide>},
    {"unicode", Of<[](const UNICODE_STRING* text) { return Wide(text->Buffer); }>},
    {"num", Of<Signed>},
    {"hex", Of<Hex>},
    {"ptr", Of<[](const void* pointer) { return std::string(pointer ? "given" : "null"); }>},
    {"param", Of<[](DWORD given) { return IS_INTRESOURCE(given) ? Signed(given) : Text(At<char>(given)); }>},
    {"h", Handle},
    {"-h", Handle},
    {"bytes", Bytes},
    {"wides", WideUnits},
    {"list", Of<List>},
    {"acl", Of<[](const ACL* list) { return "{" + acl::Describe(list) + "}"; }>},
    {"ace", Of<[](const void* entry) { return "{" + acl::DescribeEntry(entry) + "}"; }>},
    {"sid", Of<acl::DescribeSid>},
    {"authority", Of<[](const SID_IDENTIFIER_AUTHORITY* given) { return Number(given->Value[5], "{%lu}"); }>},
    {"privileges", Of<Privileges>},
    {"description", Of<[](const SERVICE_DESCRIPTIONA* info) { return info ? Text(info->lpDescription) : "null"; }>},
    {"version", Of<[](const DWORD* size) { return Signed(*size); }>},
    {"group", Of<[](const LOCALGROUP_INFO_1* i) {
         return Fields({Wide(i->lgrpi1_name), Wide(i->lgrpi1_comment)});
     }>},
    {"member", Of<[](const LOCALGROUP_MEMBERS_INFO_3* info) { return Wide(info->lgrmi3_domainandname); }>},
    {"share", Of<Share>},
    {"user", Of<User>},
    {"browse", Browse},
    {"request", Request},
    {"iid", Of<Interface>},
    {">text", Of<Text>},
    {">num", Of<[](const DWORD* number) { return Signed(*number); }>},
    {">state", Of<[](const SERVICE_STATUS* status) { return Number(status->dwCurrentState, "state %lu"); }>},
    {">found", Of<[](const WIN32_FIND_DATAA* found) { return Text(found->cFileName); }>},
    {">com", HandleAt},
    {">malloc", HandleAt},
};

} // namespace

std::span<const PlatformCall> PlatformCalls()
{
    return kCalls;
}

void HandleNames::Add(DWORD handle, const std::string& kind, bool owned)
{
    if (handle && !Knows(handle))
        names_[handle] = {kind + std::to_string(++counts_[kind]), owned};
}

std::string HandleNames::Show(DWORD handle) const
{
    static const std::map<DWORD, const char*> kWellKnown = {
        {0, "null"},          {~0U, "process"},     {0x80000000, "HKCR"},
        {0x80000001, "HKCU"}, {0x80000002, "HKLM"}, {0x80000003, "HKU"},
    };
    const auto wellKnown = kWellKnown.find(handle);
    if (wellKnown != kWellKnown.end())
        return wellKnown->second;
    const auto found = names_.find(handle);
    return found == names_.end() ? "?" : found->second.text;
}

std::string HandleNames::Open() const
{
    std::set<std::string> open;
    for (const auto& [handle, name] : names_)
        open.insert(name.owned ? " " + name.text : "");
    return std::accumulate(open.begin(), open.end(), std::string());
}

std::string ShowArgument(const HandleNames& names, const std::string& word, const DWORD* argument)
{
    if (word.starts_with(">") && !*argument)
        return "null";
    if (word.starts_with(">h:"))
        return HandleAt(names, argument);
    const auto kind = std::ranges::find(kKinds, word, &Kind::word);
    return kind == std::end(kKinds) ? "no kind " + word : kind->show(names, argument);
}

std::string Quoted(std::string_view text)
{
    std::string quoted;
    for (const char byte : text) {
        const bool isPlain = byte >= 0x20 && byte < 0x7F;
        quoted += isPlain ? std::string(1, byte) : byte ? Number(static_cast<BYTE>(byte), "\\x%02lX") : "\\0";
    }
    return "\"" + quoted + "\"";
}

} // namespace kit
