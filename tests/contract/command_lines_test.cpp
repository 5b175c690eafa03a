#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/own_process.h"

namespace contract {
namespace {

using namespace platform;

class CommandLines : public Contract {};

TEST_F(CommandLines, ProgramIsTheFirstArgument) {
    onMachine([&] {
        const std::vector<std::wstring> arguments = commandLineArguments();
        ASSERT_FALSE(arguments.empty());
        EXPECT_TRUE(arguments[0].ends_with(L"contract.exe"));
    });
}

TEST_F(CommandLines, CommandHasAtMost32766Characters) {
    onMachine([&] {
        const std::wstring command = childCommand(L"exit 0 ");
        EXPECT_FAILS(createProcess(command + std::wstring(32767 - command.size(), L' '), {}),
                     errorFileNameTooLong);
        EXPECT_TRUE(createProcess(command + std::wstring(32766 - command.size(), L' '), {})) << lastError();
    });
}

struct Splitting {
    const char* name;
    const wchar_t* commandLine;  // the part after the program
    const char* arguments;       // each with a line feed after it
};

void PrintTo(const Splitting& splitting, std::ostream* stream) {
    *stream << splitting.name;
}

class CommandLineSplitting : public Contract, public testing::WithParamInterface<Splitting> {};

TEST_P(CommandLineSplitting, ChildGetsTheArguments) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"arguments" + quoted(L"f") + L" " + GetParam().commandLine), 0U);
        EXPECT_EQ(read(in(L"f")), GetParam().arguments);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Contract, CommandLineSplitting,
    testing::Values(
        Splitting{"BlanksAndTabsSeparateArguments", L"  a \t b   ", "a\nb\n"},
        Splitting{"OtherWhiteSpaceDoesNotSeparateArguments", L"a\rb\fc\vd", "a\rb\fc\vd\n"},
        Splitting{"QuotesKeepAnArgumentTogether", L"a \"b c\" d\"e f\"g \"\" h", "a\nb c\nde fg\n\nh\n"},
        Splitting{"DoubledQuoteIsAQuoteAndEndsQuoting", L"\"a\"\"b c\" d", "a\"b\nc d\n"},
        Splitting{"UnclosedQuoteEndsWithTheLine", L"a \"b c", "a\nb c\n"},
        Splitting{"BackslashIsLiteralUnlessAQuoteFollows", L"C:\\a\\\\b c\\ \"d\\e\"",
                  "C:\\a\\\\b\nc\\\nd\\e\n"},
        Splitting{"BackslashMakesAQuoteLiteral", L"a\\\"b \"c \\\" d\"", "a\"b\nc \" d\n"},
        Splitting{"TwoBackslashesBeforeAQuoteAreOne", L"\"a b\\\\\" c \\\\\\\"d", "a b\\\nc\n\\\"d\n"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace contract
