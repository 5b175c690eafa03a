#include <gtest/gtest.h>

#include <random>

#include "fuzz/printable.h"
#include "fuzz/windows_command_line.h"
#include "simulation/machine_state.h"

// The parser that the checks of the targets use, compared with the examples of the system's documentation
// and with the parser of the simulated machine.
namespace {

using Arguments = std::vector<std::wstring>;

Arguments parse(const std::wstring& rest) {
    Arguments arguments = fuzz::windowsArguments(L"p.exe " + rest);
    arguments.erase(arguments.begin());
    return arguments;
}

TEST(WindowsCommandLine, SplitsAtWhiteSpaceOutsideQuotes) {
    EXPECT_EQ(parse(L"a \t b"), (Arguments{L"a", L"b"}));
    EXPECT_EQ(parse(L"\"a b c\" d e"), (Arguments{L"a b c", L"d", L"e"}));
    EXPECT_EQ(parse(L"-Dname=\"a b\""), (Arguments{L"-Dname=a b"}));
    EXPECT_EQ(parse(L"a\"\"b \"\" c"), (Arguments{L"ab", L"", L"c"}));
}

TEST(WindowsCommandLine, BackslashesDependOnTheNextQuote) {
    EXPECT_EQ(parse(L"\"ab\\\"c\" \"\\\\\" d"), (Arguments{L"ab\"c", L"\\", L"d"}));
    EXPECT_EQ(parse(L"a\\\\\\b d\"e f\"g h"), (Arguments{L"a\\\\\\b", L"de fg", L"h"}));
    EXPECT_EQ(parse(L"a\\\\\\\"b c d"), (Arguments{L"a\\\"b", L"c", L"d"}));
    EXPECT_EQ(parse(L"a\\\\\\\\\"b c\" d e"), (Arguments{L"a\\\\b c", L"d", L"e"}));
}

TEST(WindowsCommandLine, BackslashBeforeTheClosingQuoteJoinsTheNext) {
    EXPECT_EQ(parse(L"\"C:\\a\\\" \"b\""), (Arguments{L"C:\\a\" b"}));
}

TEST(WindowsCommandLine, ProgramHasNoEscapes) {
    EXPECT_EQ(fuzz::windowsArguments(L"\"C:\\a b\\\" x"), (Arguments{L"C:\\a b\\", L"x"}));
    EXPECT_EQ(fuzz::windowsArguments(L"C:\\a x"), (Arguments{L"C:\\a", L"x"}));
}

TEST(WindowsCommandLine, AgreesWithTheSimulatedMachine) {
    std::mt19937 generator(20260131);
    const std::wstring units = L"ab  \t\\\\\"\"=";
    for (int round = 0; round < 20000; ++round) {
        std::wstring text = L"\"p.exe\" ";
        for (auto i = generator() % 24; i > 0; --i) {
            text += units[generator() % units.size()];
        }
        ASSERT_EQ(fuzz::windowsArguments(text), simulation::splitCommandLine(text)) << fuzz::printable(text);
    }
}

}  // namespace
