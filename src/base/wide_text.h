#pragma once

#include <cstddef>

#include "base/memory.h"

namespace tarvo {

/** Owner of a wide text made from text in the system's ANSI code page. */
class WideText : public HeapArray<wchar_t> {
public:
    /** Holds the wide form of text; NULL gives none. @return false, holding none, without memory or a conversion. */
    [[nodiscard]] bool FromAnsi(const char* text);

    /** Overwrites the text with zeros. */
    void Wipe();
};

/** A call's ANSI arguments as the wide ones that a network function takes; what is NULL stays NULL. */
template <size_t Count> class WideArguments {
public:
    explicit WideArguments(const char* const (&texts)[Count])
    {
        for (size_t index = 0; index < Count && converted_; ++index)
            converted_ = texts_[index].FromAnsi(texts[index]);
    }

    ~WideArguments()
    {
        for (WideText& text : texts_)
            text.Wipe(); // one may be a password
    }
    WideArguments(const WideArguments&) = delete;
    WideArguments& operator=(const WideArguments&) = delete;

    /** Tells whether all of them could be converted. */
    bool Converted() const { return converted_; }

    wchar_t* operator[](size_t index) const { return texts_[index].Get(); }

private:
    WideText texts_[Count];
    bool converted_ = true;
};

} // namespace tarvo
