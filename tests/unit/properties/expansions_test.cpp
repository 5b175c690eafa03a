#include "properties/expansions.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using zellauncher::Expansion;
using zellauncher::Expansions;

constexpr std::size_t shortText = 4000;
constexpr std::size_t mostCharacters = 50'000'000;

Expansion ofLength(std::size_t length) {
    Expansion expansion;
    expansion.text.assign(length, L'x');
    return expansion;
}

TEST(Expansions, LongTextsAreRememberedUpToALimit) {
    Expansions expansions;
    expansions.add(L"most", ofLength(mostCharacters - shortText));
    EXPECT_NE(expansions.find(L"most"), nullptr);
    expansions.add(L"long", ofLength(shortText + 1));
    EXPECT_EQ(expansions.find(L"long"), nullptr);
}

TEST(Expansions, ShortTextsAreRememberedBeyondTheLimit) {
    Expansions expansions;
    expansions.add(L"most", ofLength(mostCharacters));
    EXPECT_NE(expansions.find(L"most"), nullptr);
    expansions.add(L"short", ofLength(shortText));
    EXPECT_NE(expansions.find(L"short"), nullptr);
}

TEST(Expansions, TextGrowsByFiftyMillionOfAHundredMillion) {
    Expansions expansions;
    EXPECT_EQ(expansions.growthOfNextText(), 50'000'000U);
    expansions.addGrowth(50'000'001);
    EXPECT_EQ(expansions.growthOfNextText(), 49'999'999U);
    expansions.addGrowth(50'000'000);
    EXPECT_EQ(expansions.growthOfNextText(), 0U);
}

TEST(Expansions, ReplacedTextDoesNotCount) {
    Expansions expansions;
    expansions.add(L"name", ofLength(mostCharacters - shortText));
    expansions.add(L"name", ofLength(1));
    expansions.add(L"long", ofLength(shortText + 1));
    EXPECT_NE(expansions.find(L"long"), nullptr);
}

}  // namespace
