#include "kit/guarded_heap.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>

namespace kit {
namespace {

constexpr size_t kPage = 4096;
constexpr unsigned char kFresh = 0xCD;
constexpr unsigned char kFront = 0xFD;

struct Block {
    char* page; // its first
    size_t size;
    unsigned number; // of its allocation, from 1
};

[[noreturn]] void Die(const char* what, const void* block)
{
    fprintf(stderr, "guarded heap: %s, block %p\n", what, block);
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    __builtin_trap();
}

/** One region for the whole run: a reservation a block would use up the address space. */
class Region {
public:
    /** @return the first of pages accessible pages with an inaccessible one behind them. */
    char* Take(size_t pages)
    {
        if (!begin_)
            Reserve();
        const size_t bytes = (pages + 1) * kPage;
        char* place = next_;
        if (bytes <= static_cast<size_t>(end_ - next_))
            next_ += bytes;
        else
            place = TakeFreed(pages);
        if (!VirtualAlloc(place, pages * kPage, MEM_COMMIT, PAGE_READWRITE))
            Die("no memory to commit", place);
        return place;
    }

    void Return(char* page, size_t pages)
    {
        VirtualFree(page, pages * kPage, MEM_DECOMMIT);
        freed_[pages].push_back(page);
    }

    /** Begins anew once no block is alive. */
    void Reuse()
    {
        next_ = begin_;
        freed_.clear();
    }

    bool Contains(const void* at) const { return at >= begin_ && at < end_; }

private:
    void Reserve()
    {
        size_t size = size_t{512} << 20;
        while (!(begin_ = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS))))
            size /= 2;
        next_ = begin_;
        end_ = begin_ + size;
    }

    /** The longest freed place comes first, so that others stay inaccessible. */
    char* TakeFreed(size_t pages)
    {
        const auto found = freed_.find(pages);
        if (found == freed_.end() || found->second.empty())
            Die("the region is used up", nullptr);
        char* const page = found->second.front();
        found->second.pop_front();
        return page;
    }

    char* begin_ = nullptr;
    char* next_ = nullptr;
    char* end_ = nullptr;
    std::map<size_t, std::deque<char*>> freed_;
};

Region region;
std::map<void*, Block> live;
unsigned allocations = 0;
unsigned failing = 0; // number of the allocation to fail; 0 for none

size_t PagesFor(size_t size)
{
    return std::max<size_t>(1, (size + kPage - 1) / kPage);
}

void* __cdecl Allocate(size_t size)
{
    if (++allocations == failing || size > (size_t{256} << 20))
        return nullptr;
    const size_t pages = PagesFor(size);
    char* const page = region.Take(pages);
    char* const block = page + pages * kPage - size;
    memset(page, kFront, static_cast<size_t>(block - page));
    memset(block, kFresh, size);
    live[block] = {page, size, allocations};
    return block;
}

void __cdecl Release(void* block)
{
    if (!block)
        return;
    if (!region.Contains(block))
        return free(block); // the C library is one for the process
    const auto found = live.find(block);
    if (found == live.end())
        Die("freed twice, or never allocated", block);
    const Block freed = found->second;
    for (const char* at = freed.page; at != block; ++at) {
        if (static_cast<unsigned char>(*at) != kFront)
            Die("written in front of", block);
    }
    live.erase(found);
    region.Return(freed.page, PagesFor(freed.size));
}

void* __cdecl AllocateZeroed(size_t count, size_t size)
{
    if (size && count > SIZE_MAX / size)
        return nullptr;
    void* const block = Allocate(count * size);
    return block ? memset(block, 0, count * size) : nullptr;
}

/** Moves the block every time, so that whoever keeps the old address is seen. */
void* __cdecl Reallocate(void* block, size_t size)
{
    if (!block)
        return Allocate(size);
    if (!region.Contains(block))
        return realloc(block, size);
    const auto old = live.find(block);
    if (old == live.end())
        Die("resized, but not alive", block);
    void* const moved = size ? Allocate(size) : nullptr;
    if (moved)
        memcpy(moved, block, std::min(old->second.size, size));
    if (moved || !size)
        Release(block);
    return moved;
}

} // namespace

GuardedHeap::GuardedHeap(HMODULE module)
{
    allocations = failing = 0;
    const std::pair<const char*, void*> replacements[] = {{"malloc", reinterpret_cast<void*>(&Allocate)},
                                                          {"calloc", reinterpret_cast<void*>(&AllocateZeroed)},
                                                          {"realloc", reinterpret_cast<void*>(&Reallocate)},
                                                          {"free", reinterpret_cast<void*>(&Release)}};
    for (const auto& [name, replacement] : replacements) {
        if (Imports(module, name))
            patches_.push_back(std::make_unique<ImportPatch>(module, name, replacement));
    }
}

GuardedHeap::~GuardedHeap()
{
    // So that the next test does not report them again.
    for (const auto& [address, block] : live)
        region.Return(block.page, PagesFor(block.size));
    live.clear();
    region.Reuse();
}

void GuardedHeap::FailAllocation(unsigned n)
{
    failing = n ? allocations + n : 0;
}

bool GuardedHeap::FailureHappened() const
{
    return failing && allocations >= failing;
}

bool GuardedHeap::Owns(const void* address)
{
    return region.Contains(address);
}

std::string GuardedHeap::Leaks() const
{
    std::string report;
    for (const auto& [address, block] : live)
        report += "  " + std::to_string(block.size) + " bytes, allocation " + std::to_string(block.number) + "\n";
    return report;
}

} // namespace kit
