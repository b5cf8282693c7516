#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvo {

/**
 * Chains the slots of the pending table whose text, one of an entry's two, has
 * the same hash. The table stays the authority for order: a chain runs in slot
 * order, and only tells where to look.
 */
class PendingChains {
public:
    static constexpr int kMaxSlots = 5120;
    static constexpr int kNone = -1;

    void Clear();

    /** Adds the next slot. */
    void Add(uint32_t hash);

    /** @return how many slots the chains hold: those from the first on. */
    int Slots() const { return slots_; }

    int First(uint32_t hash) const { return chains_[Bucket(hash)].first - 1; }
    int Last(uint32_t hash) const { return chains_[Bucket(hash)].last - 1; }
    /** A chain may hold slots of other hashes too. */
    bool Has(int slot, uint32_t hash) const { return hashes_[slot] == hash; }
    int Length(uint32_t hash) const { return chains_[Bucket(hash)].length; }
    int Next(int slot) const { return next_[slot] - 1; }
    int Previous(int slot) const { return previous_[slot] - 1; }

private:
    static constexpr size_t kBuckets = 4096;
    static size_t Bucket(uint32_t hash) { return (hash ^ hash >> 16) % kBuckets; }

    // Places are kept as slot + 1, so that a chain of zeros is an empty one.
    struct Chain {
        int16_t first;
        int16_t last;
        int16_t length;
    };

    Chain chains_[kBuckets] = {};
    uint32_t hashes_[kMaxSlots] = {};
    int16_t next_[kMaxSlots] = {};
    int16_t previous_[kMaxSlots] = {};
    int slots_ = 0;
};

} // namespace tarvo
