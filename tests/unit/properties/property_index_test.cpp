#include "properties/property_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using zellauncher::PropertyIndex;

class PropertyIndexes : public testing::Test {
protected:
    std::vector<std::string> keys;
    PropertyIndex index;
    mutable std::size_t comparisons = 0;

    void add(const std::string& key) {
        keys.push_back(key);
        index.add(keys.size() - 1, key,
                  [&](std::size_t position) { return std::string_view(keys[position]); });
    }

    std::optional<std::size_t> find(const std::string& key) const {
        return index.find(key, [&](std::size_t position) {
            ++comparisons;
            return std::string_view(keys[position]);
        });
    }
};

TEST_F(PropertyIndexes, EmptyIndexFindsNothing) {
    EXPECT_EQ(find("a"), std::nullopt);
    EXPECT_EQ(find(""), std::nullopt);
}

TEST_F(PropertyIndexes, FirstOfSeveralEntriesIsFound) {
    for (const char* key : {"a", "b", "a", "", "b", ""}) {
        add(key);
    }
    EXPECT_EQ(find("a"), 0U);
    EXPECT_EQ(find("b"), 1U);
    EXPECT_EQ(find(""), 3U);
    EXPECT_EQ(find("c"), std::nullopt);
}

TEST_F(PropertyIndexes, ThreeQuartersOfTheCapacityAreUsed) {
    EXPECT_EQ(index.capacity(), 0U);
    for (const std::size_t capacity : {64U, 128U, 256U}) {
        while (keys.size() < capacity * 3 / 4) {
            add(std::to_string(keys.size()));
            EXPECT_EQ(index.capacity(), capacity);
        }
        add(std::to_string(keys.size()));
        EXPECT_EQ(index.capacity(), 2 * capacity);
    }
}

TEST_F(PropertyIndexes, LookupHardlyEverComparesAnotherKey) {
    for (const int count : {100, 10'000, 100'000}) {
        while (keys.size() < static_cast<std::size_t>(count)) {
            add("com.example.feature." + std::to_string(keys.size()));
        }
        comparisons = 0;
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(find(keys[static_cast<std::size_t>(i)]), static_cast<std::size_t>(i));
            ASSERT_EQ(find("missing." + std::to_string(i)), std::nullopt);
        }
        EXPECT_LE(comparisons, static_cast<std::size_t>(count + count / 100)) << count;
    }
}

}  // namespace
