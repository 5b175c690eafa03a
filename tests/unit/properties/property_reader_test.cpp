#include "properties/property_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/file_operations.h"
#include "foundation/log_channel.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::PropertyEntry;
using zellauncher::PropertyList;

constexpr const wchar_t* path = L"C:\\test.properties";

class PropertyReader : public launchertest::OnMachine {
protected:
    PropertyList list;
    launchertest::Outcome outcome;

    void load(const std::string& content) {
        machine.writeFile(path, content);
        list.clear();
        outcome = run([&] { zellauncher::loadPropertyFile(path, list); });
        EXPECT_EQ(outcome.processEnd().status, 0U);
    }

    void expectEntries(const std::string& content,
                       const std::vector<std::pair<std::wstring, std::wstring>>& entries) {
        load(content);
        ASSERT_EQ(list.size(), entries.size()) << content;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(list[i].key, entries[i].first) << content;
            EXPECT_EQ(list[i].value, entries[i].second) << content;
        }
    }
};

TEST_F(PropertyReader, RunOfSeparatorsEndsTheKey) {
    expectEntries("a = b\r\n", {{L"a", L"b"}});
    expectEntries("a  :=  b\r\n", {{L"a", L"b"}});
    expectEntries("a\tb\r\n", {{L"a", L"b"}});
    expectEntries("a=b=c\r\n", {{L"a", L"b=c"}});
    expectEntries("a b c\r\n", {{L"a", L"b c"}});
    expectEntries("a=b : c \r\n", {{L"a", L"b : c"}});
}

TEST_F(PropertyReader, BackslashProtectsSeparatorsInValuesOnly) {
    expectEntries("a\\:b=c\r\n", {{L"a", L"b=c"}});
    expectEntries("a\\ b=c\r\n", {{L"a", L"b=c"}});
    expectEntries("a\\#b=c\r\n", {{L"a#b", L"c"}});
    expectEntries("a=b\\:c\\=d\\#e\\ f\r\n", {{L"a", L"b:c=d#e f"}});
}

TEST_F(PropertyReader, JvmOptionKeepsItsSeparators) {
    expectEntries("-Xshare:auto\r\n", {{L"-Xshare", L":auto"}});
    expectEntries("-Xfoo = bar\r\n", {{L"-Xfoo", L"= bar"}});
    expectEntries("-Xmx512m\r\n", {{L"-Xmx512m", L""}});
    expectEntries("-Xfoo   ", {{L"-Xfoo", L"   "}});
    expectEntries("-x:a\r\n", {{L"-x", L"a"}});
}

TEST_F(PropertyReader, OneCharacterLineInheritsTheJvmOptionRule) {
    expectEntries("-Xa:b\r\n=\r\n", {{L"-Xa", L":b"}, {L"", L"="}});
    expectEntries("ab=c\r\n=\r\n", {{L"ab", L"c"}, {L"", L""}});
}

TEST_F(PropertyReader, BackslashesInValuesAreEscapes) {
    expectEntries("path=C:\\dir\\file\r\n", {{L"path", L"C:dirfile"}});
    expectEntries("path=C:\\\\dir\r\n", {{L"path", L"C:\\dir"}});
    expectEntries("path=C:/dir\r\n", {{L"path", L"C:/dir"}});
    expectEntries("a=x\\ny\\tz\r\n", {{L"a", L"xnytz"}});
}

TEST_F(PropertyReader, EscapeBeginsTheValue) {
    expectEntries("a=\\#=b\r\n", {{L"a", L"#=b"}});
    expectEntries("a=\\\\=b\r\n", {{L"a", L"\\=b"}});
    expectEntries("a=\\\\\\\\:b\r\n", {{L"a", L"\\\\:b"}});
}

TEST_F(PropertyReader, UnicodeEscapeIsOneUnit) {
    expectEntries("text=a\\u0041b\r\n", {{L"text", L"aAb"}});
    expectEntries("text=\\u12", {{L"text", L"\x12"}});
    expectEntries("text=a\\uzzzzb\r\n", {{L"text", L"a"}});
    expectEntries("text=\\ud83d\\uDE00\r\n", {{L"text", std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)}}});
    expectEntries("text=\\u0020x\\u0020\r\n", {{L"text", L"x"}});
    expectEntries("text=x\\u0020\\u0000y\r\n", {{L"text", L"x "}});  // trimmed first, then cut
}

TEST_F(PropertyReader, EachValueHasItsSource) {
    load("a=1\r\n\r\nb=\\u0041\\\r\nc\r\n");
    ASSERT_EQ(list.size(), 2U);
    const std::pair<std::wstring, std::size_t> expected[] = {{L"a", 1}, {L"b", 3}};
    for (std::size_t i = 0; i < list.size(); ++i) {
        const zellauncher::TextSource source = list[i].value.source;
        ASSERT_NE(source, nullptr);
        EXPECT_EQ(source->path, path);
        EXPECT_EQ(source->name, expected[i].first);
        EXPECT_EQ(source->line, expected[i].second);
    }
}

TEST_F(PropertyReader, KeysAreNotUnescaped) {
    expectEntries("a\\nb=c\r\n", {{L"a\\nb", L"c"}});
}

TEST_F(PropertyReader, TrailingBackslashContinuesTheLine) {
    expectEntries("key=one\\\r\n  two\r\n", {{L"key", L"onetwo"}});
    expectEntries("key\\\r\nmore=value\r\n", {{L"keymore", L"value"}});
    expectEntries("key=one\\\r\n# comment\r\ntwo\r\n", {{L"key", L"onetwo"}});
    expectEntries("key=one\\\r\n", {});
    expectEntries("a=1\r\nkey=one\\", {{L"a", L"1"}});
    expectEntries("key=one\\\\\r\ntwo=2\r\n", {{L"key", L"one\\"}, {L"two", L"2"}});
    expectEntries("key=one\\\r\n= two\r\n", {{L"key", L"onetwo"}});
}

TEST_F(PropertyReader, ContinuationLastsUntilACharacterOfTheValue) {
    expectEntries("key=one\\\r\n===\r\ntwo\r\nx=y\r\n", {{L"key", L"onetwo"}, {L"x", L"y"}});
    expectEntries("key=one\\\r\n\\\\\r\nx=y\r\n", {{L"key", L"one\\"}, {L"x", L"y"}});
    expectEntries("ke\\\r\ny\r\n=v\r\n", {{L"key", L"v"}});
}

TEST_F(PropertyReader, EachLogicalLineBeginsWithItsKey) {
    expectEntries("a=b\r\nc\r\nd=e\r\n", {{L"a", L"b"}, {L"c", L""}, {L"d", L"e"}});
}

TEST_F(PropertyReader, OnlyHashBeginsAComment) {
    expectEntries("# a=b\r\n  # c=d\r\n!e=f\r\n", {{L"!e", L"f"}});
}

TEST_F(PropertyReader, EntryNeedsNeitherKeyNorValue) {
    expectEntries("alone\r\n", {{L"alone", L""}});
    expectEntries("alone=\r\n", {{L"alone", L""}});
    expectEntries("=value\r\n", {{L"", L"value"}});
    expectEntries("=\r\n", {{L"", L""}});
}

TEST_F(PropertyReader, DuplicateKeysAreKept) {
    expectEntries("a=1\r\na=2\r\n", {{L"a", L"1"}, {L"a", L"2"}});
    EXPECT_EQ(*zellauncher::lookupProperty(L"a", list), L"1");
}

TEST_F(PropertyReader, QuotesAreOrdinaryCharacters) {
    expectEntries("a=\"b c\"\r\n'k'='v'\r\n", {{L"a", L"\"b c\""}, {L"'k'", L"'v'"}});
}

TEST_F(PropertyReader, Arg20NeverHasAValue) {
    expectEntries("arg20=anything\r\narg2=a\r\narg200=b\r\n",
                  {{L"arg20", L""}, {L"arg2", L"a"}, {L"arg200", L"b"}});
    EXPECT_TRUE(outcome.logHas("ZLNCH0023I:   attrib = \"arg20\""));
    EXPECT_TRUE(outcome.logHas("ZLNCH0024I:   value  = \"\""));
}

TEST_F(PropertyReader, LongLinesAreSkippedUnlessTheyAreArguments) {
    expectEntries("arx=" + std::string(997, 'x') + "\r\nb=1\r\n", {{L"b", L"1"}});
    EXPECT_TRUE(outcome.logHas(
        "ZLNCH0032I: Skipping line as it does not meet the criteria, length check reduced to 1000 chars "));
    expectEntries("arx=" + std::string(996, 'x') + "\r\n", {{L"arx", std::wstring(996, L'x')}});
    expectEntries("arg=" + std::string(997, 'x') + "\r\n", {{L"arg", std::wstring(997, L'x')}});
}

TEST_F(PropertyReader, SkippedLineDoesNotEndALogicalLine) {
    expectEntries("a=1\\\r\n" + std::string(1001, 'x') + "\r\n2\r\n", {{L"a", L"12"}});
}

TEST_F(PropertyReader, LineOf5000CharactersIsReadAsThree) {
    load("arg1=" + std::string(4995, 'x') + "\r\n");
    ASSERT_EQ(list.size(), 2U);  // the second piece does not begin with arg and is skipped
    EXPECT_EQ(list[0].value.size(), 2019U);
    EXPECT_EQ(list[1].key.size(), 952U);
    const std::string arguments = "arg" + std::string(2021, 'x');
    load(arguments + arguments + "arg" + std::string(949, 'x') + "\r\n");
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(PropertyReader, FileWithoutEntriesIsNoFailure) {
    expectEntries("", {});
    expectEntries("\r\n\r\n   \r\n# nothing\r\n", {});
}

TEST_F(PropertyReader, BytesBecomeUnitsOfTheSameValue) {
    expectEntries("k\xE9y=\xA0\xFF\x85\r\n", {{L"k\u00E9y", L"\u00A0\u00FF\u0085"}});
}

TEST_F(PropertyReader, ByteOrderMarkIsPartOfTheFirstKey) {
    expectEntries(
        "\xEF\xBB\xBF"
        "a=1\r\nb=2\r\n",
        {{L"\u00EF\u00BB\u00BFa", L"1"}, {L"b", L"2"}});
}

TEST_F(PropertyReader, NulByteEndsTheTextOfItsLine) {
    expectEntries(std::string("a=1\0zzz\r\nb=2\r\n", 14), {{L"a", L"1"}, {L"b", L"2"}});
}

TEST_F(PropertyReader, CtrlZEndsTheFile) {
    expectEntries(
        "a=1\r\n\x1A"
        "b=2\r\n",
        {{L"a", L"1"}});
}

TEST_F(PropertyReader, CarriageReturnInsideALineIsDropped) {
    expectEntries("a=b\rc\nd=e\n", {{L"a", L"bc"}, {L"d", L"e"}});
}

TEST_F(PropertyReader, LineFeedAloneEndsALine) {
    expectEntries("a=1\nb=2", {{L"a", L"1"}, {L"b", L"2"}});
}

TEST_F(PropertyReader, AppendsToTheList) {
    machine.writeFile(path, "b=2\r\n");
    list = {{L"a", L"1"}};
    run([&] { zellauncher::loadPropertyFile(path, list); });
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].key, L"b");
}

TEST_F(PropertyReader, UnopenableFileIsFatal) {
    const std::string message = "ZLNCH0096E: Unable to load C:\\test.properties file!";
    const auto loadIt = [&] { zellauncher::loadPropertyFile(path, list); };
    run(loadIt).expectFatal(message);
    machine.writeFile(path, "a=1");
    machine.refuse(path, platform::errorAccessDenied);
    run(loadIt).expectFatal(message);
    machine.remove(path);
    machine.makeDirectory(path);
    run(loadIt).expectFatal(message);
}

TEST_F(PropertyReader, MillionCharacterLineIsReadInPieces) {
    machine.writeFile(path, "arg1=" + std::string(1000000, 'x') + "\r\nb=2\r\n");
    runQuietly([&] { zellauncher::loadPropertyFile(path, list); });
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].value, std::wstring(2019, L'x'));
    EXPECT_EQ(list[1].key, std::wstring(1000005 % 2024, L'x'));  // the pieces between are too long
    EXPECT_EQ(list[2].key, L"b");
}

TEST_F(PropertyReader, MillionCharactersOfContinuedLinesAreOneValue) {
    std::string content = "a=b\\\r\n";
    for (int i = 0; i < 1000; ++i) {
        content += std::string(999, 'x') + "\\\r\n";
    }
    machine.writeFile(path, content + "end\r\nb=2\r\n");
    const auto quiet = runQuietly([&] { zellauncher::loadPropertyFile(path, list); });
    EXPECT_EQ(quiet.log, "");
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].value.size(), 999004U);
    EXPECT_EQ(list[1].value, L"2");
}

TEST_F(PropertyReader, PieceOfALongLineLosesLeadingWhiteSpace) {
    expectEntries("arg1=" + std::string(2018, 'x') + "y  arg2=z\r\n",
                  {{L"arg1", std::wstring(2018, L'x') + L"y"}, {L"arg2", L"z"}});
}

TEST_F(PropertyReader, FirstThreeLettersMakeALineAnArgument) {
    const std::string rest = "=" + std::string(1500, 'x') + "\r\n";
    load("argument" + rest + "Arg1" + rest + "#arg" + rest + "-arg" + rest);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].key, L"argument");
}

TEST_F(PropertyReader, JvmOptionIsRecognizedAtTheLineStart) {
    expectEntries("-Xa\\\r\nb:c\r\n", {{L"-Xab", L":c"}});
    expectEntries("ab\\\r\n-Xc:d\r\n", {{L"ab-Xc", L"d"}});
    expectEntries("-X\r\n:\r\n", {{L"-X", L""}, {L"", L":"}});
    expectEntries("-Xa:b\r\n#\r\n=\r\n", {{L"-Xa", L":b"}, {L"", L"="}});
    expectEntries("-Xa=b\r\nc\r\nde=f\r\n", {{L"-Xa", L"=b"}, {L"c", L""}, {L"de", L"f"}});
}

TEST_F(PropertyReader, JvmOptionSeparatorDoesNotBeginTheValue) {
    expectEntries("-Xa \t:=b=c\r\n", {{L"-Xa", L"\t:=b=c"}});
    expectEntries("-Xa:\\\r\nb\r\n", {{L"-Xa", L":b"}});
}

TEST_F(PropertyReader, BackslashesInAKeyAreNotPaired) {
    expectEntries("a\\\\b=c\r\n", {{L"a\\\\b", L"c"}});
    expectEntries("a\\\\=c\r\n", {{L"a\\", L"c"}});
    expectEntries("a\\\\\r\nb=c\r\n", {{L"a\\b", L"c"}});
    expectEntries("a\\u0041=c\r\n", {{L"a\\u0041", L"c"}});
}

TEST_F(PropertyReader, BackslashesEndingAValueArePaired) {
    expectEntries("a=b\\\\\\\r\nc\r\n", {{L"a", L"b\\c"}});
    expectEntries("a=\\\r\nb\r\n", {{L"a", L"b"}});
    expectEntries("\\\r\na=b\r\n", {{L"a", L"b"}});
    expectEntries("a=b\\\r\n\\\r\nc\r\n", {{L"a", L"bc"}});
    expectEntries("a=b\\ \r\nc=d\r\n", {{L"a", L"b"}, {L"c", L"d"}});  // the backslash escapes a blank
}

TEST_F(PropertyReader, ContinuationKeepsBlanksBeforeItsBackslash) {
    expectEntries("a=b \\\r\n   c\r\n", {{L"a", L"b c"}});
}

TEST_F(PropertyReader, SeparatorBeginningAContinuationIsDropped) {
    expectEntries("a=b\\\r\n:c:d\r\n", {{L"a", L"bc:d"}});
}

TEST_F(PropertyReader, BlanksAreTrimmedAndTabsKept) {
    expectEntries("a= b\t \r\n", {{L"a", L"b\t"}});
    expectEntries("a=b\\u0009\r\n", {{L"a", L"b\t"}});
    expectEntries("\v\f\t a=b\r\n", {{L"a", L"b"}});
}

TEST_F(PropertyReader, LineBeginningWithNulIsAnEmptyEntry) {
    expectEntries(std::string("\0a=1\r\nb=2\r\n", 11), {{L"", L""}, {L"b", L"2"}});
    expectEntries(std::string("a=1\\\r\n\0\r\n2\r\n", 12), {{L"a", L"12"}});
}

TEST_F(PropertyReader, Utf16FileIsReadByteByByte) {
    expectEntries(std::string("\xFF\xFE"
                              "a\0=\0"
                              "1\0\r\0\n\0",
                              12),
                  {{L"\u00FF\u00FEa", L""}, {L"", L""}});
}

TEST_F(PropertyReader, OrdinaryBytesAreKeptInAValue) {
    std::string value;
    std::wstring expected;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte == '\n' || byte == '\r' || byte == '\\' || byte == 0x1A) {
            continue;
        }
        value += static_cast<char>(byte);
        expected += static_cast<wchar_t>(byte);
    }
    expectEntries("k=." + value + ".\r\n", {{L"k", L"." + expected + L"."}});
}

TEST_F(PropertyReader, RandomBytesAreReadToTheEnd) {
    std::uint32_t state = 1;
    for (int round = 0; round < 50; ++round) {
        std::string content;
        for (int i = 0; i < 400; ++i) {
            state = state * 1664525U + 1013904223U;
            const std::uint32_t drawn = state >> 24U;
            content += drawn < 160 ? "\\\\\n\r =:#-Xu0a\0\t"[drawn % 15] : static_cast<char>(drawn);
        }
        machine.writeFile(path, content + "\n\nlast\\:x");
        list.clear();
        outcome = runQuietly([&] { zellauncher::loadPropertyFile(path, list); });
        EXPECT_EQ(outcome.processEnd().status, 0U);
        ASSERT_FALSE(list.empty());
        EXPECT_TRUE(list.back().value.ends_with(L"x")) << "round " << round;
        for (const PropertyEntry& entry : list) {
            EXPECT_EQ((entry.key + entry.value).find(L'\0'), std::wstring::npos);
        }
    }
}

TEST_F(PropertyReader, DebugRunLogsLinesKeysAndValues) {
    load("a = b\\u0041\r\n");
    EXPECT_EQ(outcome.log,
              "ZLNCH0032I: Prop Line = \"a = b\\u0041\"\n"
              "ZLNCH0023I:   attrib = \"a\"\n"
              "ZLNCH0024I:   value  = \"bA\"\n");
    EXPECT_EQ(runQuietly([&] { zellauncher::loadPropertyFile(path, list); }).log, "");
}

TEST_F(PropertyReader, ClosesTheFile) {
    load("a=1\r\n");
    run([&] {
        zellauncher::loadPropertyFile(path, list);
        EXPECT_TRUE(zellauncher::moveFile(path, L"C:\\moved.properties"));
    });
}

TEST_F(PropertyReader, FailedReadEndsTheFileAndIsLogged) {
    machine.writeFile(path, "a=1\r\n");
    machine.inject(launchertest::failingFrom("readStream", platform::errorAccessDenied));
    outcome = runQuietly([&] {
        zellauncher::loadPropertyFile(path, list);
        EXPECT_FALSE(zellauncher::isLogDebug());  // the flag is restored
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(outcome.logHas("ZELLauncher> reading \"C:\\test.properties\" failed before its end"));
}

TEST_F(PropertyReader, CompleteReadLogsNothing) {
    machine.writeFile(path, "a=1\r\n");
    outcome = runQuietly([&] { zellauncher::loadPropertyFile(path, list); });
    EXPECT_EQ(outcome.log, "");
}

}  // namespace
