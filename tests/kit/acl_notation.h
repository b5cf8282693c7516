#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

/**
 * Access lists as one line: "deny X | allow Y | inherited allow Z:20". A principal of one letter has a SID of its own,
 * <current> is the account that runs this program, any other stands as S-1-...; the mask in hexadecimal, 1 if none is
 * given. Entries are allow, deny, audit and object-allow; in front stand "inherited" and "inherit-only" (for files and
 * containers below).
 */
namespace acl {

std::vector<BYTE> Sid(std::string_view name);
std::vector<BYTE> Make(std::string_view text);

std::string DescribeSid(const void* sid);
std::string DescribeEntry(const void* ace);

/** @return "none" for no list; "" for an empty one. */
std::string Describe(const ACL* acl);

/** An object's list as the system hands it out; its code if it does not. Wine forgets that a list is protected. */
std::string Read(const std::string& name, DWORD type);

/** Gives a registry object a protected list. */
void Write(const std::string& name, std::string_view text);

} // namespace acl
