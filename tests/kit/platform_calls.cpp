#include "kit/platform_calls.h"

#include <lm.h>
#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "kit/acl_notation.h"

namespace kit {
namespace {

constexpr PlatformCall kCalls[] = {
    // advapi32
    {"AddAce", ". num hex ace num", "bool"},
    {"AdjustTokenPrivileges", "h num privileges . . .", "bool"},
    {"AllocateAndInitializeSid", "authority num num num . . . . . . >h:sid", "bool"},
    {"ChangeServiceConfig2A", "h num description", "bool"},
    {"ChangeServiceConfigA", "h hex num hex text text ptr list text secret text", "bool"},
    {"CloseServiceHandle", "-h", "bool"},
    {"ControlService", "h num .", "bool"},
    {"CopySid", ". . sid", "bool"},
    {"CreateServiceA", "h text text hex hex num num text text ptr list text secret", "h:service"},
    {"DeleteAce", ". num", "bool"},
    {"DeleteService", "h", "bool"},
    {"FreeSid", "-h", "num!"},
    {"GetAce", ". num .", "bool"},
    {"GetAclInformation", ". . num num", "bool"},
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
    {"FlushFileBuffers", "h", "bool"},
    {"FreeLibrary", "-h", "bool!"},
    {"GetCurrentDirectoryA", "num >text", "num"},
    {"GetFileAttributesA", "text", "attributes"},
    {"GetFileInformationByHandle", "h .", "bool"},
    {"GetFileSizeEx", "h >num", "bool"},
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
    {"LocalFree", "-h", "num!"},
    {"MoveFileA", "text text", "bool"},
    {"MoveFileExA", "text text num", "bool"},
    {"ReadFile", "h . num . .", "bool"},
    {"RemoveDirectoryA", "text", "bool"},
    {"SetCurrentDirectoryA", "text", "bool"},
    {"SetFileAttributesA", "text hex", "bool"},
    {"SetFilePointer", "h num . num", "num!"},
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
    {"UpdateWindow", "h", "bool"},
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
    char text[16];
    snprintf(text, sizeof text, format, value);
    return text;
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

std::string WideUnits(const DWORD* argument)
{
    const auto* units = At<wchar_t>(argument[0]);
    std::string text;
    for (const wchar_t unit : std::wstring_view(units, argument[1] / sizeof *units))
        text += unit ? Narrow({&unit, 1}) : "\\0";
    return "\"" + text + "\"";
}

std::string Bytes(const DWORD* argument)
{
    return argument[0] ? Quoted({At<char>(argument[0]), argument[1]}) : "null";
}

std::string List(DWORD argument)
{
    if (!argument)
        return "null";
    const char* end = At<char>(argument);
    while (*end)
        end += strlen(end) + 1;
    return Quoted({At<char>(argument), end});
}

std::string Group(DWORD argument)
{
    const auto* info = At<LOCALGROUP_INFO_1>(argument);
    return "{" + Wide(info->lgrpi1_name) + " " + Wide(info->lgrpi1_comment) + "}";
}

std::string Share(DWORD argument)
{
    const auto* info = At<SHARE_INFO_2>(argument);
    return "{" + Wide(info->shi2_netname) + " type " + Number(info->shi2_type, "%lu") + " " + Wide(info->shi2_remark) +
           " permissions " + Number(info->shi2_permissions, "0x%lX") + " uses " + Number(info->shi2_max_uses, "%ld") +
           " " + Number(info->shi2_current_uses, "%lu") + " " + Wide(info->shi2_path) + " " + Wide(info->shi2_passwd) +
           "}";
}

std::string User(DWORD argument)
{
    const auto* info = At<USER_INFO_1>(argument);
    return "{" + Wide(info->usri1_name) + " " + Wide(info->usri1_password) + " age " +
           Number(info->usri1_password_age, "%lu") + " privilege " + Number(info->usri1_priv, "%lu") + " " +
           Wide(info->usri1_home_dir) + " " + Wide(info->usri1_comment) + " flags " +
           Number(info->usri1_flags, "0x%lX") + " " + Wide(info->usri1_script_path) + "}";
}

std::string Privileges(DWORD argument)
{
    const auto* privileges = At<TOKEN_PRIVILEGES>(argument);
    return "{" + Number(privileges->PrivilegeCount, "%lu") + ", " +
           Number(privileges->Privileges[0].Luid.LowPart, "%lu") + ", " +
           Number(privileges->Privileges[0].Attributes, "%lu") + "}";
}

std::string Authority(DWORD argument)
{
    return "{" + Number(At<SID_IDENTIFIER_AUTHORITY>(argument)->Value[5], "%lu") + "}";
}

std::string Browse(const HandleNames& names, DWORD argument)
{
    const auto* info = At<BROWSEINFOA>(argument);
    return "{" + names.Show(reinterpret_cast<DWORD>(info->hwndOwner)) + " " +
           names.Show(reinterpret_cast<DWORD>(info->pidlRoot)) + " " + Text(info->lpszTitle) + " " +
           Number(info->ulFlags, "0x%lX") + " image " + Number(static_cast<DWORD>(info->iImage), "%ld") + "}";
}

/** The record that the user browser is handed: nine numbers. */
std::string Request(const HandleNames& names, DWORD argument)
{
    const DWORD* fields = At<DWORD>(argument);
    std::string text = "{";
    for (int field = 0; field < 9; ++field) {
        text += field ? " " : "";
        if (field == 3)
            text += names.Show(fields[field]);
        else if (field == 4 || field == 5)
            text += Wide(At<wchar_t>(fields[field]));
        else
            text += Number(fields[field], "0x%lX");
    }
    return text + "}";
}

std::string Interface(DWORD argument)
{
    const auto* iid = At<IID>(argument);
    return IsEqualIID(*iid, IID_IShellLinkA)    ? "IShellLinkA"
           : IsEqualIID(*iid, IID_IPersistFile) ? "IPersistFile"
                                                : "?";
}

constexpr struct Kind {
    const char* word;
    std::string (*show)(const HandleNames& names, const DWORD* argument);
} kKinds[] = {
    {"text", [](const HandleNames&, const DWORD* argument) { return Text(At<char>(*argument)); }},
    {"wide", [](const HandleNames&, const DWORD* argument) { return Wide(At<wchar_t>(*argument)); }},
    {"num", [](const HandleNames&, const DWORD* argument) { return Number(*argument, "%ld"); }},
    {"hex", [](const HandleNames&, const DWORD* argument) { return Number(*argument, "0x%lX"); }},
    {"ptr", [](const HandleNames&, const DWORD* argument) { return std::string(*argument ? "given" : "null"); }},
    {"param",
     [](const HandleNames&, const DWORD* argument) {
         return IS_INTRESOURCE(*argument) ? Number(*argument, "%ld") : Text(At<char>(*argument));
     }},
    {"secret", [](const HandleNames&, const DWORD* argument) { return Text(At<char>(*argument)); }},
    {"h", [](const HandleNames& names, const DWORD* argument) { return names.Show(*argument); }},
    {"-h", [](const HandleNames& names, const DWORD* argument) { return names.Show(*argument); }},
    {"bytes", [](const HandleNames&, const DWORD* argument) { return Bytes(argument); }},
    {"wides", [](const HandleNames&, const DWORD* argument) { return WideUnits(argument); }},
    {"list", [](const HandleNames&, const DWORD* argument) { return List(*argument); }},
    {"acl", [](const HandleNames&, const DWORD* argument) { return "{" + acl::Describe(At<ACL>(*argument)) + "}"; }},
    {"ace",
     [](const HandleNames&, const DWORD* argument) { return "{" + acl::DescribeEntry(At<void>(*argument)) + "}"; }},
    {"sid", [](const HandleNames&, const DWORD* argument) { return acl::DescribeSid(At<void>(*argument)); }},
    {"authority", [](const HandleNames&, const DWORD* argument) { return Authority(*argument); }},
    {"privileges", [](const HandleNames&, const DWORD* argument) { return Privileges(*argument); }},
    {"description",
     [](const HandleNames&, const DWORD* argument) {
         return *argument ? Text(At<SERVICE_DESCRIPTIONA>(*argument)->lpDescription) : "null";
     }},
    {"version", [](const HandleNames&, const DWORD* argument) { return Number(*At<DWORD>(*argument), "%lu"); }},
    {"group", [](const HandleNames&, const DWORD* argument) { return Group(*argument); }},
    {"member",
     [](const HandleNames&, const DWORD* argument) {
         return Wide(At<LOCALGROUP_MEMBERS_INFO_3>(*argument)->lgrmi3_domainandname);
     }},
    {"share", [](const HandleNames&, const DWORD* argument) { return Share(*argument); }},
    {"user", [](const HandleNames&, const DWORD* argument) { return User(*argument); }},
    {"browse", [](const HandleNames& names, const DWORD* argument) { return Browse(names, *argument); }},
    {"request", [](const HandleNames& names, const DWORD* argument) { return Request(names, *argument); }},
    {"iid", [](const HandleNames&, const DWORD* argument) { return Interface(*argument); }},
    {">text", [](const HandleNames&, const DWORD* argument) { return Text(At<char>(*argument)); }},
    {">num", [](const HandleNames&, const DWORD* argument) { return Number(*At<DWORD>(*argument), "%ld"); }},
    {">state",
     [](const HandleNames&, const DWORD* argument) {
         return Number(At<SERVICE_STATUS>(*argument)->dwCurrentState, "state %lu");
     }},
    {">found",
     [](const HandleNames&, const DWORD* argument) { return Text(At<WIN32_FIND_DATAA>(*argument)->cFileName); }},
    {">com", [](const HandleNames& names, const DWORD* argument) { return names.Show(*At<DWORD>(*argument)); }},
    {">malloc", [](const HandleNames& names, const DWORD* argument) { return names.Show(*At<DWORD>(*argument)); }},
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
    std::string joined;
    for (const std::string& name : open)
        joined += name;
    return joined;
}

std::string ShowArgument(const HandleNames& names, const std::string& word, const DWORD* argument)
{
    if (word.starts_with(">") && !*argument)
        return "null";
    if (word.starts_with(">h:"))
        return names.Show(*At<DWORD>(*argument));
    const auto kind =
        std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& row) { return row.word == word; });
    return kind == std::end(kKinds) ? "no kind " + word : kind->show(names, argument);
}

std::string Quoted(std::string_view text)
{
    std::string quoted;
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        if (!code)
            quoted += "\\0";
        else if (code < 0x20 || code >= 0x7F)
            quoted += Number(code, "\\x%02lX");
        else
            quoted += byte;
    }
    return "\"" + quoted + "\"";
}

} // namespace kit
