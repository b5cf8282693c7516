#include "frame/system_text.h"

namespace tarvo {

UniqueLocal<char> SystemText(DWORD code, TextForm form)
{
    const DWORD width = form == TextForm::kOneLine ? FORMAT_MESSAGE_MAX_WIDTH_MASK : 0;
    UniqueLocal<char> text;
    // With ALLOCATE_BUFFER the call takes the address of the pointer in the buffer's place.
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM | width,
                   nullptr, code, 0, reinterpret_cast<char*>(text.Put()), 0, nullptr);
    return text;
}

} // namespace tarvo
