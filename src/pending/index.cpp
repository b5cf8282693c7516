#include "pending/index.h"

#include <cstring>

namespace tarvo {

void PendingChains::Clear()
{
    memset(chains_, 0, sizeof chains_);
}

void PendingChains::Add(int slot, uint32_t hash)
{
    Chain& chain = chains_[Bucket(hash)];
    const auto place = static_cast<int16_t>(slot + 1);
    next_[slot] = 0;
    previous_[slot] = chain.last;
    if (chain.last)
        next_[chain.last - 1] = place;
    else
        chain.first = place;
    chain.last = place;
    ++chain.length;
}

} // namespace tarvo
