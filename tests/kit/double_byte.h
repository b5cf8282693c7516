#pragma once

#include <windows.h>

#include <cstring>

#include "kit/import_hook.h"

namespace kit {

/**
 * Lets a freshly loaded DLL take the system's code page for 932, whose
 * double-byte characters may end in a backslash (83 5C), a bar (83 7C) or a
 * bracket (83 5D). Make it before the first call: the DLL asks once. The system
 * itself goes on with the code page that it has.
 */
class DoubleByteCodePage {
public:
    DoubleByteCodePage() : hook_("GetCPInfo", &GetCPInfo)
    {
        hook_.Answer([](UINT, CPINFO* info) {
            *info = CPINFO();
            info->MaxCharSize = 2;
            memcpy(info->LeadByte, "\x81\x9F\xE0\xFC", 4);
            return TRUE;
        });
    }

private:
    ImportHook<decltype(&GetCPInfo)> hook_;
};

} // namespace kit
