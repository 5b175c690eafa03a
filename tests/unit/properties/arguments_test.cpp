#include "properties/arguments.h"

#include <gtest/gtest.h>

namespace {

using zellauncher::argumentAfter;
using zellauncher::Arguments;
using zellauncher::findArgumentIndex;

TEST(ArgumentSearch, ComparesWholeArgumentsAfterTheProgram) {
    EXPECT_EQ(findArgumentIndex(L"-x", {L"-x", L"a", L"-x", L"-x"}), 2);
    EXPECT_EQ(findArgumentIndex(L"-x", {L"p", L"-X", L"-xy", L"x"}), -1);
    EXPECT_EQ(findArgumentIndex(L"-x", {L"-x"}), -1);
    EXPECT_EQ(findArgumentIndex(L"-x", {}), -1);
    EXPECT_TRUE(zellauncher::hasArgument(L"", {L"p", L""}));
    EXPECT_FALSE(zellauncher::hasArgument(L"p", {L"p", L""}));
}

TEST(ArgumentAfter, IsTheOneAfterTheFirstOccurrence) {
    const Arguments arguments = {L"-x", L"a", L"-x", L"b", L"-x", L"c"};
    EXPECT_EQ(argumentAfter(L"-x", arguments), &arguments[3]);
}

TEST(ArgumentAfter, MayBeEmptyOrAnOption) {
    const Arguments empty = {L"p", L"-x", L""};
    EXPECT_EQ(argumentAfter(L"-x", empty), &empty[2]);
    const Arguments repeated = {L"p", L"-x", L"-x", L"b"};
    EXPECT_EQ(argumentAfter(L"-x", repeated), &repeated[2]);
}

TEST(ArgumentAfter, IsNullIfTheOptionIsMissing) {
    for (const Arguments& arguments :
         {Arguments{}, Arguments{L"-x"}, Arguments{L"-x", L"a"}, Arguments{L"p", L"-X", L"-xy", L"a"}}) {
        EXPECT_EQ(argumentAfter(L"-x", arguments), nullptr) << arguments.size() << " arguments";
    }
}

TEST(ArgumentAfter, IsNullIfTheOptionIsLast) {
    const Arguments arguments = {L"p", L"a", L"-x"};
    EXPECT_EQ(argumentAfter(L"-x", arguments), nullptr);
}

TEST(SecondOccurrence, IsRemovedAndTheOthersStay) {
    Arguments arguments = {L"a", L"b", L"a", L"c", L"a"};
    zellauncher::removeSecondOccurrence(arguments, L"a");
    EXPECT_EQ(arguments, (Arguments{L"a", L"b", L"c", L"a"}));
    zellauncher::removeSecondOccurrence(arguments, L"b");
    zellauncher::removeSecondOccurrence(arguments, L"d");
    EXPECT_EQ(arguments, (Arguments{L"a", L"b", L"c", L"a"}));
}

}  // namespace
