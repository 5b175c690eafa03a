#include "properties/arguments.h"

#include <gtest/gtest.h>

namespace {

using zellauncher::Arguments;
using zellauncher::findArgumentIndex;

TEST(ArgumentSearch, IsForWholeWordsBehindTheProgram) {
    EXPECT_EQ(findArgumentIndex(L"-x", {L"-x", L"a", L"-x", L"-x"}), 2);
    EXPECT_EQ(findArgumentIndex(L"-x", {L"p", L"-X", L"-xy", L"x"}), -1);
    EXPECT_EQ(findArgumentIndex(L"-x", {L"-x"}), -1);
    EXPECT_EQ(findArgumentIndex(L"-x", {}), -1);
    EXPECT_TRUE(zellauncher::hasArgument(L"", {L"p", L""}));
    EXPECT_FALSE(zellauncher::hasArgument(L"p", {L"p", L""}));
}

TEST(SecondOccurrence, GoesAndTheOthersStay) {
    Arguments words = {L"a", L"b", L"a", L"a"};
    zellauncher::removeSecondOccurrence(words, L"a");
    EXPECT_EQ(words, (Arguments{L"a", L"b", L"a"}));
    zellauncher::removeSecondOccurrence(words, L"b");
    zellauncher::removeSecondOccurrence(words, L"c");
    EXPECT_EQ(words, (Arguments{L"a", L"b", L"a"}));
}

}  // namespace
