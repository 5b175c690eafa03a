#include "properties/property_list.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::findProperties;
using zellauncher::lookupProperty;
using zellauncher::PropertyEntry;
using zellauncher::PropertyList;

std::wstring trimmed(std::wstring text) {
    zellauncher::trimSpaces(text);
    return text;
}

TEST(Properties, LookupTakesTheFirstWholeKey) {
    const PropertyList list = {{L"ab", L"0"}, {L"a", L"1"}, {L"", L"empty"}, {L"a", L"2"}, {L"A", L"3"}};
    EXPECT_EQ(*lookupProperty(L"a", list), L"1");
    EXPECT_EQ(*lookupProperty(L"A", list), L"3");  // after an entry without a key
    EXPECT_EQ(lookupProperty(L"b", list), nullptr);
    EXPECT_EQ(lookupProperty(L"a", PropertyList{}), nullptr);
}

TEST(Properties, LookupSeesAChangedValue) {
    PropertyList list = {{L"a", L"1"}, {L"b", L"2"}};
    EXPECT_EQ(*lookupProperty(L"b", list), L"2");
    list.setValue(1, L"3");
    EXPECT_EQ(*lookupProperty(L"b", list), L"3");
    list.push_back({L"c", L"4"});
    EXPECT_EQ(*lookupProperty(L"b", list), L"3");
    EXPECT_EQ(*lookupProperty(L"c", list), L"4");
}

TEST(Properties, PrefixSearchEndsAtTheFirstEmptyKey) {
    const PropertyList list = {{L"-Da", L"1"}, {L"x", L"2"}, {L"-D", L"3"}, {L"", L"4"}, {L"-Db", L"5"}};
    const auto found = findProperties(L"-D", list);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].value, L"1");
    EXPECT_EQ(found[1].value, L"3");
    EXPECT_TRUE(findProperties(L"-d", list).empty());
}

TEST(Properties, PrefixSearchReturnsManyEntries) {
    PropertyList list;
    for (int i = 0; i < 1000; ++i) {
        list.push_back({L"k" + std::to_wstring(i), L"v"});
    }
    EXPECT_EQ(findProperties(L"k", list).size(), 1000U);
}

TEST(Properties, PrefixMayBeEmptyOrAWholeKey) {
    const PropertyList list = {{L"ab", L"1"}, {L"abc", L"2"}, {L"a", L"3"}};
    EXPECT_EQ(findProperties(L"", list).size(), 3U);
    EXPECT_EQ(findProperties(L"ab", list).size(), 2U);
    EXPECT_EQ(findProperties(L"abcd", list).size(), 0U);
    EXPECT_EQ(findProperties(L"", PropertyList{{L"", L"1"}, {L"a", L"2"}}).size(), 0U);
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

zellauncher::SourcedText textFrom(const std::wstring& file, const std::wstring& text) {
    zellauncher::SourcedText sourced = text;
    sourced.source = std::make_shared<zellauncher::Source>(
        zellauncher::Source{zellauncher::Source::Kind::file, file, 1, L"a"});
    return sourced;
}

TEST(Properties, ReplacedValueBringsItsSource) {
    PropertyList list;
    list.push_back({L"a", textFrom(L"C:\\one", L"1")});
    list.setValue(0, L"2");
    EXPECT_EQ(list[0].value.source->path, L"C:\\one");
    zellauncher::setPropertyValue(L"a", textFrom(L"C:\\two", L"3"), list);
    EXPECT_EQ(list[0].value.source->path, L"C:\\two");
}

class FindingProperties : public launchertest::OnMachine {};

TEST_F(FindingProperties, WithoutMemoryIsFatal) {
    const PropertyList list = {{L"a", L"1"}};
    const auto outcome = run([&] {
        const launchertest::FailingAllocation failing(10 * sizeof(void*));
        findProperties(L"a", list);
    });
    outcome.expectFatal("ZLNCH0046E: findProperties malloc for property strings failed!");
}

class StoringTexts : public launchertest::OnMachine {
protected:
    const zellauncher::SourcedText longText = std::wstring(50000, L'x');
    PropertyList list = {{L"k", L"v"}};

    void expectFatalWithListUnchanged(const std::function<void()>& store) {
        const auto outcome = run([&] {
            const launchertest::FailingAllocation failing(longText.size());
            store();
            ADD_FAILURE() << "continued without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed. ")) << outcome.log;
        EXPECT_EQ(list.size(), 1U);
        EXPECT_EQ(list[0].value, L"v");
    }
};

TEST_F(StoringTexts, WithoutMemoryIsFatalAndChangesNothing) {
    zellauncher::SourcedText value = longText;
    expectFatalWithListUnchanged([&] { zellauncher::appendEntry(list, L"a", longText); });
    expectFatalWithListUnchanged([&] { zellauncher::appendEntry(list, longText, L"a"); });
    expectFatalWithListUnchanged([&] { zellauncher::addProperty(list, L"a", value); });
    expectFatalWithListUnchanged([&] { zellauncher::setPropertyValue(L"k", longText, list); });
}

TEST_F(StoringTexts, AppendedEntryIsUnchanged) {
    zellauncher::appendEntry(list, L" a ", L"b\\u0041 ");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].key, L" a ");
    EXPECT_EQ(list[1].value, L"b\\u0041 ");
}

class AddingProperties : public launchertest::OnMachine {};

TEST_F(AddingProperties, TrimsTheKeyAndUnescapesTheValue) {
    PropertyList list = {{L"a", L"1"}};
    zellauncher::SourcedText value = L"C:\\\\x\\u0041 ";
    const auto outcome = run([&] { zellauncher::addProperty(list, L" a ", value); });
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].key, L"a");
    EXPECT_EQ(list[1].value, L"C:\\xA");
    EXPECT_EQ(value, L"C:\\xA");
    EXPECT_EQ(outcome.log, "ZLNCH0126I:   key = \"a\"\nZLNCH0127I:   value  = \"C:\\xA\"\n");
}

TEST_F(AddingProperties, EntryKeepsTheSourceOfItsValue) {
    PropertyList list;
    zellauncher::SourcedText value = textFrom(L"C:\\file", L"1");
    run([&] { zellauncher::addProperty(list, L"a", value); });
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].value.source->path, L"C:\\file");
    EXPECT_EQ(value.source->path, L"C:\\file");
}

TEST_F(AddingProperties, Arg20KeepsItsValue) {
    PropertyList list;
    zellauncher::SourcedText kept = L"kept";
    zellauncher::SourcedText empty;
    run([&] {
        zellauncher::addProperty(list, L"arg20", kept);
        zellauncher::addProperty(list, L"e", empty);
    });
    EXPECT_EQ(list[0].value, L"kept");
    EXPECT_EQ(list[1].value, L"");
}

TEST(Unescaping, ResolvesPairsUnitsAndOtherCharacters) {
    const std::vector<std::pair<std::wstring, std::wstring>> cases = {
        {L"\\\\", L"\\"},
        {L"\\\\\\\\", L"\\\\"},
        {L"a\\", L"a"},
        {L"a \\", L"a"},
        {L"\\\\u0041", L"\\u0041"},
        {L"\\u00411", L"A1"},
        {L"\\u", L""},
        {L"\\u0x4z", std::wstring(1, wchar_t(4))},
        {L"\\u 0x4", std::wstring(1, wchar_t(4))},
        {L"\\u +9z", std::wstring(1, wchar_t(9))},
        {L"\\u-001", std::wstring(1, wchar_t(0xFFFF))},
        {L" a\\ b ", L"a b"},
        {L"\\n\\t\\r\\b", L"ntrb"},  // there are no escapes for control characters
        {L"\\U0041", L"U0041"},
        {L"\\u\\\\\\\\x", L""},  // the escape takes four characters, whatever they are
        {L"\\u4g\\\\x", std::wstring(1, wchar_t(4)) + L"x"},
        {L"\\uffff", std::wstring(1, wchar_t(0xFFFF))}};
    for (const auto& [text, expected] : cases) {
        std::wstring unescaped = text;
        zellauncher::unescapeValue(unescaped);
        EXPECT_EQ(unescaped, expected) << toUtf8(text);
    }
}

TEST(Unescaping, BytesAreResolvedUnlessTheyMayHaveAWideUnit) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"\\\\", "\\"}, {"a\\", "a"}, {" a\\ b ", "a b"}, {" \xE4 ", "\xE4"}, {"\\n\\U", "nU"},
        {"u", "u"},     {"", ""}};
    for (const auto& [bytes, expected] : cases) {
        std::string unescaped = bytes;
        EXPECT_TRUE(zellauncher::unescapeBytes(unescaped));
        EXPECT_EQ(unescaped, expected);
    }
    for (const std::string bytes : {" \\u0041 ", " a\\\\u "}) {
        std::string kept = bytes;
        EXPECT_FALSE(zellauncher::unescapeBytes(kept));
        EXPECT_EQ(kept, bytes);
    }
}

TEST(Trimming, RemovesOnlyBlanks) {
    EXPECT_EQ(trimmed(L"  a b  "), L"a b");
    EXPECT_EQ(trimmed(L"\ta\t"), L"\ta\t");
    EXPECT_EQ(trimmed(L""), L"");
    EXPECT_EQ(trimmed(L"   "), L"   ");
}

}  // namespace
