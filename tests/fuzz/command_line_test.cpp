#include <gtest/gtest.h>

#include <random>

#include "fuzz/text_lines.h"
#include "fuzz/windows_command_line.h"
#include "simulation/machine_state.h"

// The parser that the properties lean on, held against the examples of the system's documentation and
// against the one that the simulated machine starts its programs with.
namespace {

using Words = std::vector<std::wstring>;

Words parse(const std::wstring& rest) {
    Words words = fuzz::wordsOfCommandLine(L"p.exe " + rest);
    words.erase(words.begin());
    return words;
}

TEST(WindowsCommandLine, separatesAtWhiteSpaceOutsideOfQuotes) {
    EXPECT_EQ(parse(L"a \t b"), (Words{L"a", L"b"}));
    EXPECT_EQ(parse(L"\"a b c\" d e"), (Words{L"a b c", L"d", L"e"}));
    EXPECT_EQ(parse(L"-Dname=\"a b\""), (Words{L"-Dname=a b"}));
    EXPECT_EQ(parse(L"a\"\"b \"\" c"), (Words{L"ab", L"", L"c"}));
}

TEST(WindowsCommandLine, readsBackslashesByWhatFollowsThem) {
    EXPECT_EQ(parse(L"\"ab\\\"c\" \"\\\\\" d"), (Words{L"ab\"c", L"\\", L"d"}));
    EXPECT_EQ(parse(L"a\\\\\\b d\"e f\"g h"), (Words{L"a\\\\\\b", L"de fg", L"h"}));
    EXPECT_EQ(parse(L"a\\\\\\\"b c d"), (Words{L"a\\\"b", L"c", L"d"}));
    EXPECT_EQ(parse(L"a\\\\\\\\\"b c\" d e"), (Words{L"a\\\\b c", L"d", L"e"}));
}

TEST(WindowsCommandLine, losesTheEndOfAQuotedWordThatEndsInABackslash) {
    EXPECT_EQ(parse(L"\"C:\\a\\\" \"b\""), (Words{L"C:\\a\" b"}));
}

TEST(WindowsCommandLine, takesTheProgramWithoutEscapes) {
    EXPECT_EQ(fuzz::wordsOfCommandLine(L"\"C:\\a b\\\" x"), (Words{L"C:\\a b\\", L"x"}));
    EXPECT_EQ(fuzz::wordsOfCommandLine(L"C:\\a x"), (Words{L"C:\\a", L"x"}));
}

TEST(WindowsCommandLine, agreesWithTheSimulatedMachine) {
    std::mt19937 generator(20260131);
    const std::wstring units = L"ab  \t\\\\\"\"=";
    for (int round = 0; round < 20000; ++round) {
        std::wstring text = L"\"p.exe\" ";
        for (auto i = generator() % 24; i > 0; --i) {
            text += units[generator() % units.size()];
        }
        ASSERT_EQ(fuzz::wordsOfCommandLine(text), simulation::splitCommandLine(text))
            << fuzz::printable(text);
    }
}

}  // namespace
