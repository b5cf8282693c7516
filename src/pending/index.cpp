#include "pending/index.h"

#include <cstring>

namespace tarvo {

void PendingChains::Clear()
{
    if (slots_)
        memset(chains_, 0, sizeof chains_);
    slots_ = 0;
}

void PendingChains::Add(uint32_t hash)
{
    Chain& chain = chains_[Bucket(hash)];
    const auto place = static_cast<int16_t>(slots_ + 1);
    hashes_[slots_] = hash;
    next_[slots_] = 0;
    previous_[slots_] = chain.last;
    if (chain.last)
        next_[chain.last - 1] = place;
    else
        chain.first = place;
    chain.last = place;
    ++chain.length;
    ++slots_;
}

} // namespace tarvo
