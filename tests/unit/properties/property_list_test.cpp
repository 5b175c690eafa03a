#include "properties/property_list.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::findProperties;
using zellauncher::lookupProperty;
using zellauncher::PropertyEntry;
using zellauncher::PropertyList;

std::wstring unescaped(std::wstring text) {
    zellauncher::unescapeValue(text);
    return text;
}

std::wstring trimmed(std::wstring text) {
    zellauncher::trimSpaces(text);
    return text;
}

TEST(Properties, ALookupTakesTheFirstWholeKey) {
    const PropertyList list = {{L"ab", L"0"}, {L"a", L"1"}, {L"", L"empty"}, {L"a", L"2"}, {L"A", L"3"}};
    EXPECT_EQ(*lookupProperty(L"a", list), L"1");
    EXPECT_EQ(*lookupProperty(L"A", list), L"3");  // behind an entry without a key
    EXPECT_EQ(lookupProperty(L"b", list), nullptr);
    EXPECT_EQ(lookupProperty(L"a", PropertyList{}), nullptr);
}

TEST(Properties, AFindEndsAtTheFirstEntryWithoutAKey) {
    const PropertyList list = {{L"-Da", L"1"}, {L"x", L"2"}, {L"-D", L"3"}, {L"", L"4"}, {L"-Db", L"5"}};
    const auto found = findProperties(L"-D", list);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]->value, L"1");
    EXPECT_EQ(found[1]->value, L"3");
    EXPECT_TRUE(findProperties(L"-d", list).empty());
}

TEST(Properties, AFindReturnsManyEntries) {
    PropertyList list;
    for (int i = 0; i < 1000; ++i) {
        list.push_back({L"k" + std::to_wstring(i), L"v"});
    }
    EXPECT_EQ(findProperties(L"k", list).size(), 1000U);
}

TEST(Properties, SettingReplacesTheFirstAndNeverAdds) {
    PropertyList list = {{L"a", L"1"}, {L"a", L"2"}};
    zellauncher::setPropertyValue(L"a", L"x", list);
    EXPECT_EQ(list[0].value, L"x");
    EXPECT_EQ(list[1].value, L"2");
    zellauncher::setPropertyValue(L"b", L"y", list);
    EXPECT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].value, L"x");
    EXPECT_EQ(list[1].value, L"2");
}

class FindingProperties : public launchertest::OnMachine {};

TEST_F(FindingProperties, WithoutMemoryIsFatal) {
    const PropertyList list = {{L"a", L"1"}};
    const auto outcome = run([&] {
        const launchertest::FailingAllocation failing(10 * sizeof(void*));
        findProperties(L"a", list);
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0046E: findProperties malloc for property strings failed!");
}

class StoringTexts : public launchertest::OnMachine {
protected:
    const std::wstring longText = std::wstring(5000, L'x');
    PropertyList list = {{L"k", L"v"}};

    void expectFatal(const std::function<void()>& store) {
        const auto outcome = run([&] {
            const launchertest::FailingAllocation failing(longText.size() * sizeof(wchar_t));
            store();
            ADD_FAILURE() << "went on without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed. ")) << outcome.log;
        EXPECT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].value, L"v");
    }
};

TEST_F(StoringTexts, WithoutMemoryIsFatalAndLeavesTheListAsItWas) {
    expectFatal([&] { zellauncher::appendEntry(list, L"a", longText); });
    expectFatal([&] { zellauncher::appendEntry(list, longText, L"a"); });
    expectFatal([&] { zellauncher::addProperty(list, L"a", longText); });
    expectFatal([&] { zellauncher::setPropertyValue(L"k", longText, list); });
}

TEST_F(StoringTexts, KeepsThemAsTheyStand) {
    zellauncher::appendEntry(list, L" a ", L"b\\u0041 ");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].key, L" a ");
    EXPECT_EQ(list[1].value, L"b\\u0041 ");
}

TEST(Properties, APrefixMayBeEmptyOrAWholeKey) {
    const PropertyList list = {{L"ab", L"1"}, {L"abc", L"2"}, {L"a", L"3"}};
    EXPECT_EQ(findProperties(L"", list).size(), 3U);
    EXPECT_EQ(findProperties(L"ab", list).size(), 2U);
    EXPECT_EQ(findProperties(L"abcd", list).size(), 0U);
    EXPECT_EQ(findProperties(L"", PropertyList{{L"", L"1"}, {L"a", L"2"}}).size(), 0U);
}

class AddingProperties : public launchertest::OnMachine {};

TEST_F(AddingProperties, TrimsTheKeyAndUnescapesTheValue) {
    PropertyList list = {{L"a", L"1"}};
    const auto outcome = run([&] { zellauncher::addProperty(list, L" a ", L"C:\\\\x\\u0041 "); });
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].key, L"a");
    EXPECT_EQ(list[1].value, L"C:\\xA");
    EXPECT_EQ(outcome.log, "ZLNCH0126I:   key = \"a\"\nZLNCH0127I:   value  = \"C:\\xA\"\n");
}

TEST_F(AddingProperties, KeepsAValueOfArg20) {
    PropertyList list;
    run([&] {
        zellauncher::addProperty(list, L"arg20", L"kept");
        zellauncher::addProperty(list, L"e", L"");
    });
    EXPECT_EQ(list.at(0).value, L"kept");
    EXPECT_EQ(list.at(1).value, L"");
}

TEST(Unescaping, ResolvesPairsUnitsAndOtherCharacters) {
    EXPECT_EQ(unescaped(L"\\\\"), L"\\");
    EXPECT_EQ(unescaped(L"\\\\\\\\"), L"\\\\");
    EXPECT_EQ(unescaped(L"a\\"), L"a");
    EXPECT_EQ(unescaped(L"a \\"), L"a");
    EXPECT_EQ(unescaped(L"\\\\u0041"), L"\\u0041");
    EXPECT_EQ(unescaped(L"\\u00411"), L"A1");
    EXPECT_EQ(unescaped(L"\\u"), L"");
    EXPECT_EQ(unescaped(L"\\u0x4z"), std::wstring(1, wchar_t(4)) + L"");
    EXPECT_EQ(unescaped(L"\\u +9z"), std::wstring(1, wchar_t(9)));
    EXPECT_EQ(unescaped(L"\\u-001"), std::wstring(1, wchar_t(0xFFFF)));
    EXPECT_EQ(unescaped(L" a\\ b "), L"a b");
    EXPECT_EQ(unescaped(L"\\n\\t\\r\\b"), L"ntrb");  // there are no control characters to escape
    EXPECT_EQ(unescaped(L"\\U0041"), L"U0041");
    EXPECT_EQ(unescaped(L"\\u\\\\\\\\x"), L"");  // four characters go with the escape, whatever they are
    EXPECT_EQ(unescaped(L"\\u4g\\\\x"), std::wstring(1, wchar_t(4)) + L"x");
    EXPECT_EQ(unescaped(L"\\uffff"), std::wstring(1, wchar_t(0xFFFF)));
}

TEST(Trimming, TakesBlanksAloneOffBothEnds) {
    EXPECT_EQ(trimmed(L"  a b  "), L"a b");
    EXPECT_EQ(trimmed(L"\ta\t"), L"\ta\t");
    EXPECT_EQ(trimmed(L""), L"");
    EXPECT_EQ(trimmed(L"   "), L"   ");
}

}  // namespace
