#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/process.h"

namespace {

using contract::endOf;
using contract::read;
using contract::startChild;
using namespace platform;

// How a command line falls into the words of a program.
class CommandLines : public contract::Contract {
protected:
    // The words that a child gets from this end of a command line, one a line.
    std::string wordsFrom(const std::wstring& tail) const {
        EXPECT_EQ(endOf(startChild(L"words" + quoted(L"words") + L" " + tail)), 0U);
        return read(in(L"words"));
    }
};

TEST_F(CommandLines, TheProgramIsTheFirstWord) {
    onMachine([&] {
        const std::vector<std::wstring> words = commandLineArguments();
        ASSERT_FALSE(words.empty());
        EXPECT_TRUE(words[0].ends_with(L"contract.exe"));
    });
}

TEST_F(CommandLines, BlanksAndTabsBetweenWordsCountOnce) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"  a \t b   "), "a\nb\n"); });
}

TEST_F(CommandLines, NoOtherWhiteSpaceSeparatesWords) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a\rb\fc\vd"), "a\rb\fc\vd\n"); });
}

TEST_F(CommandLines, QuotesHoldAWordTogether) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a \"b c\" d\"e f\"g \"\" h"), "a\nb c\nde fg\n\nh\n"); });
}

TEST_F(CommandLines, TwoQuotesWithinAWordAreOneAndEndTheQuoting) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"\"a\"\"b c\" d"), "a\"b\nc d\n"); });
}

TEST_F(CommandLines, AQuoteThatIsNeverClosedEndsWithTheLine) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a \"b c"), "a\nb c\n"); });
}

TEST_F(CommandLines, BackslashesCountAsThemselvesAwayFromQuotes) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"C:\\a\\\\b c\\ \"d\\e\""), "C:\\a\\\\b\nc\\\nd\\e\n"); });
}

TEST_F(CommandLines, ABackslashMakesAQuoteACharacter) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a\\\"b \"c \\\" d\""), "a\"b\nc \" d\n"); });
}

TEST_F(CommandLines, TwoBackslashesBeforeAQuoteAreOne) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"\"a b\\\\\" c \\\\\\\"d"), "a b\\\nc\n\\\"d\n"); });
}

TEST_F(CommandLines, ACommandHasAtMost32766Characters) {
    onMachine([&] {
        const std::wstring command = contract::childCommand(0, 0) + L" ";
        ChildProcess child;
        EXPECT_FAILS(createProcess(command + std::wstring(32767 - command.size(), L' '), {}, child),
                     errorFileNameTooLong);
        EXPECT_TRUE(createProcess(command + std::wstring(32766 - command.size(), L' '), {}, child))
            << lastError();
    });
}

}  // namespace
