#include "kit/acl_notation.h"

#include <gtest/gtest.h>

#include <aclapi.h>
#include <sddl.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace acl {
namespace {

constexpr struct Kind {
    const char* word;
    BYTE type;
} kKinds[] = {
    {"allow ", ACCESS_ALLOWED_ACE_TYPE},
    {"deny ", ACCESS_DENIED_ACE_TYPE},
    {"audit ", SYSTEM_AUDIT_ACE_TYPE},
    {"object-allow ", ACCESS_ALLOWED_OBJECT_ACE_TYPE},
};

constexpr struct Flag {
    const char* word;
    BYTE bits;
} kFlags[] = {
    {"inherited ", INHERITED_ACE},
    {"inherit-only ", OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE | INHERIT_ONLY_ACE},
};

const std::string kLetters = "S-1-5-21-1-2-3-"; // what the SIDs named by a letter begin with
constexpr std::string_view kCurrent = "<current>";

std::vector<BYTE> ReadCurrentSid()
{
    HANDLE token = nullptr;
    alignas(TOKEN_USER) BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE] = {};
    DWORD size = 0;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token);
    GetTokenInformation(token, TokenUser, user, sizeof user, &size);
    CloseHandle(token);
    const auto* sid = static_cast<const BYTE*>(reinterpret_cast<const TOKEN_USER*>(user)->User.Sid);
    return {sid, sid + GetLengthSid(const_cast<BYTE*>(sid))};
}

std::vector<BYTE>& CurrentSid()
{
    static std::vector<BYTE> sid = ReadCurrentSid();
    return sid;
}

/** Takes a word off the front, if it stands there. */
bool Take(std::string_view& text, std::string_view word)
{
    if (!text.starts_with(word))
        return false;
    text.remove_prefix(word.size());
    return true;
}

size_t SidOffset(BYTE type)
{
    // An object entry has its own flags there, here none, so that no object types follow them.
    return type == ACCESS_ALLOWED_OBJECT_ACE_TYPE ? offsetof(ACCESS_ALLOWED_OBJECT_ACE, ObjectType)
                                                  : offsetof(ACCESS_ALLOWED_ACE, SidStart);
}

void Append(std::vector<BYTE>& list, std::string_view entry)
{
    ACCESS_ALLOWED_ACE ace = {};
    for (const Flag& flag : kFlags) {
        if (Take(entry, flag.word))
            ace.Header.AceFlags |= flag.bits;
    }
    for (const Kind& kind : kKinds) {
        if (Take(entry, kind.word))
            ace.Header.AceType = kind.type;
    }
    const size_t colon = entry.find(':');
    ace.Mask = colon == entry.npos ? 1 : std::stoul(std::string(entry.substr(colon + 1)), nullptr, 16);
    const std::vector<BYTE> sid = Sid(entry.substr(0, colon));
    const size_t offset = SidOffset(ace.Header.AceType);
    ace.Header.AceSize = static_cast<WORD>(offset + sid.size());
    const size_t begin = list.size();
    list.resize(begin + ace.Header.AceSize);
    memcpy(&list[begin], &ace, offsetof(ACCESS_ALLOWED_ACE, SidStart));
    memcpy(&list[begin + offset], sid.data(), sid.size());
}

} // namespace

std::vector<BYTE> Sid(std::string_view name)
{
    if (name == kCurrent)
        return CurrentSid();
    const std::string text =
        name.size() == 1 ? kLetters + std::to_string(static_cast<int>(name[0])) : std::string(name);
    PSID sid = nullptr;
    if (!ConvertStringSidToSidA(text.c_str(), &sid))
        throw std::invalid_argument("no SID: " + text);
    std::vector<BYTE> bytes(GetLengthSid(sid));
    memcpy(bytes.data(), sid, bytes.size());
    LocalFree(sid);
    return bytes;
}

std::vector<BYTE> Make(std::string_view text)
{
    std::vector<BYTE> list(sizeof(ACL));
    WORD count = 0;
    const BYTE revision = text.find("object-") == text.npos ? ACL_REVISION : ACL_REVISION_DS;
    for (; !text.empty(); ++count) {
        const size_t bar = text.find(" | ");
        Append(list, text.substr(0, bar));
        text.remove_prefix(bar == text.npos ? text.size() : bar + 3);
    }
    const ACL head = {revision, 0, static_cast<WORD>(list.size()), count, 0};
    memcpy(list.data(), &head, sizeof head);
    return list;
}

std::string DescribeSid(const void* given)
{
    PSID const sid = const_cast<void*>(given);
    if (EqualSid(sid, CurrentSid().data()))
        return std::string(kCurrent);
    char* text = nullptr;
    if (!ConvertSidToStringSidA(sid, &text))
        return "?";
    const std::string result = text;
    LocalFree(text);
    const int letter = result.starts_with(kLetters) ? atoi(result.c_str() + kLetters.size()) : 0;
    return letter >= 'A' && letter <= 'Z' ? std::string(1, static_cast<char>(letter)) : result;
}

std::string DescribeEntry(const void* entry)
{
    const auto* ace = static_cast<const ACCESS_ALLOWED_ACE*>(entry);
    std::string text;
    BYTE left = ace->Header.AceFlags;
    for (const Flag& flag : kFlags) {
        if ((left & flag.bits) == flag.bits) {
            text += flag.word;
            left = static_cast<BYTE>(left & ~flag.bits);
        }
    }
    if (left)
        text += "flags " + std::to_string(left) + " ";
    for (const Kind& kind : kKinds)
        text += kind.type == ace->Header.AceType ? kind.word : "";
    text += DescribeSid(static_cast<const BYTE*>(entry) + SidOffset(ace->Header.AceType));
    char mask[16];
    snprintf(mask, sizeof mask, ":%lx", ace->Mask);
    return ace->Mask == 1 ? text : text + mask;
}

std::string Describe(const ACL* acl)
{
    if (!acl)
        return "none";
    std::string text;
    for (DWORD index = 0; index < acl->AceCount; ++index) {
        void* ace = nullptr;
        if (!GetAce(const_cast<ACL*>(acl), index, &ace))
            return text + " | ?";
        text += (index ? " | " : "") + DescribeEntry(ace);
    }
    return text;
}

std::string Read(const std::string& name, DWORD type)
{
    PACL acl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD code = GetNamedSecurityInfoA(name.c_str(), static_cast<SE_OBJECT_TYPE>(type), DACL_SECURITY_INFORMATION,
                                             nullptr, nullptr, &acl, nullptr, &descriptor);
    if (code)
        return std::to_string(code);
    std::string text = Describe(acl);
    LocalFree(descriptor);
    return text;
}

void Write(const std::string& name, std::string_view text)
{
    std::vector<BYTE> list = Make(text);
    ASSERT_EQ(0U, SetNamedSecurityInfoA(const_cast<char*>(name.c_str()), SE_REGISTRY_KEY,
                                        DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                                        nullptr, reinterpret_cast<ACL*>(list.data()), nullptr));
}

} // namespace acl
