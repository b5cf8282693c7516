#pragma once

#include <aclapi.h>

#include <string>
#include <vector>

#include "kit/import_hook.h"
#include "kit/acl_notation.h"

/** Sees every access list that the DLL writes, "name = list", and hands it on or, if told to, keeps it. */
class RecordedSets {
public:
    explicit RecordedSets(bool handOn = true) : hook_("SetNamedSecurityInfoA", &SetNamedSecurityInfoA)
    {
        hook_.Answer([this, handOn](char* name, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner, PSID group,
                                    PACL dacl, PACL sacl) {
            EXPECT_EQ(PROTECTED_DACL_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, what);
            EXPECT_TRUE(!owner && !group && !sacl);
            names.emplace_back(name);
            lists.push_back(acl::Describe(dacl));
            if (name == failing)
                return DWORD{ERROR_ACCESS_DENIED};
            return handOn ? hook_.Original()(name, type, what, owner, group, dacl, sacl) : DWORD{ERROR_SUCCESS};
        });
    }

    /** @return the names, without what they all begin with. */
    std::vector<std::string> NamesBelow(const std::string& start) const
    {
        std::vector<std::string> below;
        for (const std::string& name : names)
            below.push_back(name.starts_with(start) ? name.substr(start.size()) : "elsewhere: " + name);
        return below;
    }

    std::vector<std::string> names;
    std::vector<std::string> lists;
    std::string failing; // an object whose list cannot be written

private:
    kit::ImportHook<decltype(&SetNamedSecurityInfoA)> hook_;
};
