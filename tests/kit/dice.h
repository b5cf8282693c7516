#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace kit {

/** What a random test does next. The same in each run, but for another --gtest_random_seed. */
class Dice {
public:
    int Below(int end) { return static_cast<int>(engine_() % static_cast<unsigned>(end)); }
    bool OneIn(int count) { return Below(count) == 0; }
    template <class Item> const Item& Of(const std::vector<Item>& items)
    {
        return items[static_cast<size_t>(Below(static_cast<int>(items.size())))];
    }

    /** For SCOPED_TRACE. */
    static std::string Place(int step)
    {
        return "--gtest_random_seed=" + std::to_string(GTEST_FLAG_GET(random_seed)) + ", step " + std::to_string(step);
    }

private:
    std::mt19937 engine_{static_cast<unsigned>(GTEST_FLAG_GET(random_seed))};
};

} // namespace kit
