#include "launch/argument_screening.h"

#include <gtest/gtest.h>

#include <string>

#include "launch/launch_state.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::Outcome;
using zellauncher::Arguments;

constexpr const char* badCount =
    "ZLNCH0069E: zellauncher invoked with an invalid URL handler action - bad argument count.";
constexpr const char* badQuote = "ZLNCH0089E: zellauncher invoked with double quote in arg - bad argument.";

class ArgumentScreening : public launchertest::OnMachine {
protected:
    Outcome countCheck(const Arguments& arguments) {
        return run([&] { zellauncher::checkUrlHandlerArgs(arguments); });
    }
    Outcome quoteCheck(const Arguments& arguments) {
        return run([&] { zellauncher::checkDoubleQuotes(arguments); });
    }
    Outcome forbiddenCheck(const Arguments& arguments) {
        return run([&] { zellauncher::checkForbiddenArgs(arguments); });
    }
    Outcome installCheck(const Arguments& arguments, bool isMain, std::int32_t owner) {
        return run([&] {
            zellauncher::isMainProcess = isMain;
            zellauncher::lockOwnerPid = owner;
            zellauncher::checkProvManifest(arguments);
        });
    }
};

void expectRefused(const Outcome& outcome, const std::string& message) {
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), message);
}

void expectPassed(const Outcome& outcome) {
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ArgumentScreening, TheDeclaredCountIncludesProgramAndDeclaration) {
    expectPassed(countCheck({L"prog", L"-maxargcnt", L"3"}));
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"3", L"x"}), badCount);
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"4"}), badCount);
}

TEST_F(ArgumentScreening, ARestartIsNotCounted) {
    expectPassed(countCheck({L"prog", L"-maxargcnt", L"4", L"-restart", L"x"}));
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"5", L"-restart", L"x"}), badCount);
}

TEST_F(ArgumentScreening, ACountThatIsNoNumberIsRefused) {
    expectRefused(countCheck({L"prog", L"-maxargcnt"}), badCount);
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"abc"}), badCount);
    expectRefused(countCheck({L"prog", L"-maxargcnt", L""}), badCount);
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"+3"}), badCount);
    expectRefused(countCheck({L"prog", L"-maxargcnt", L" 3"}), badCount);
}

TEST_F(ArgumentScreening, TheCountEndsAtTheFirstCharacterThatIsNoDigit) {
    expectPassed(countCheck({L"prog", L"-maxargcnt", L"3x"}));
    expectPassed(countCheck({L"prog", L"-maxargcnt", L"003"}));
}

TEST_F(ArgumentScreening, ACountBeyond32BitsMatchesNothing) {
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"4294967299"}), badCount);            // 2^32 + 3
    expectRefused(countCheck({L"prog", L"-maxargcnt", L"18446744073709551619"}), badCount);  // 2^64 + 3
    expectRefused(countCheck({L"prog", L"-maxargcnt", std::wstring(5000, L'9')}), badCount);
}

TEST_F(ArgumentScreening, OnlyACallerThatDeclaresItsCountIsTested) {
    expectPassed(countCheck({}));
    expectPassed(countCheck({L"prog"}));
    expectPassed(countCheck({L"-maxargcnt"}));
    expectPassed(countCheck({L"prog", L"-MAXARGCNT", L"9"}));
    expectPassed(countCheck({L"prog", L"-maxargcntx", L"9"}));
}

TEST_F(ArgumentScreening, ADoubleQuoteIsRefusedInEveryWord) {
    expectPassed(quoteCheck({L"prog", L"it's", L"a b"}));
    expectRefused(quoteCheck({L"prog", L"x", L"a\"b"}), badQuote);
    expectRefused(quoteCheck({L"pr\"og"}), badQuote);
}

TEST_F(ArgumentScreening, TheJvmsLibraryPathAndHomeMayNotBeNamed) {
    expectRefused(forbiddenCheck({L"prog", L"xjvm.library.pathx"}),
                  "ZLNCH0190E: zellauncher invoked with arg containing \"jvm.library.path\" - not allowed.");
    expectRefused(forbiddenCheck({L"prog", L"-Djava.library.path=x"}),
                  "ZLNCH0191E: zellauncher invoked with arg containing \"java.library.path\" - not allowed.");
    const char* home = "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.";
    expectRefused(forbiddenCheck({L"prog", L"-Djava.home=x"}), home);
    expectRefused(forbiddenCheck({L"prog", L"-Djava.homeX=y"}), home);
    expectRefused(forbiddenCheck({L"C:\\java.home\\zel\\zellauncher.exe"}), home);
    expectPassed(forbiddenCheck({L"prog", L"JAVA.HOME", L"java_home", L"library.path"}));
}

TEST_F(ArgumentScreening, TheFirstForbiddenTextOfTheFirstWordDecides) {
    expectRefused(forbiddenCheck({L"prog", L"java.home java.library.path jvm.library.path"}),
                  "ZLNCH0190E: zellauncher invoked with arg containing \"jvm.library.path\" - not allowed.");
    expectRefused(forbiddenCheck({L"prog", L"java.home", L"jvm.library.path"}),
                  "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.");
}

TEST_F(ArgumentScreening, AnInstallationIsRefusedWhileThePlatformRuns) {
    expectPassed(installCheck({L"prog", L"-provManifest"}, true, 77));
    expectRefused(installCheck({L"prog", L"-provManifest"}, false, 4711),
                  "ZLNCH0122E: Attempting to install while process 4711 is running.");
    expectRefused(installCheck({L"prog", L"-provManifest"}, false, -5),
                  "ZLNCH0122E: Attempting to install while process -5 is running.");
    expectPassed(installCheck({L"prog", L"-provmanifest"}, false, 77));
    expectPassed(installCheck({L"-provManifest"}, false, 77));
}

TEST_F(ArgumentScreening, RestartIsAWholeWordBehindTheProgram) {
    EXPECT_TRUE(zellauncher::hasRestartFlag({L"prog", L"-restart"}));
    EXPECT_FALSE(zellauncher::hasRestartFlag({L"-restart"}));
    EXPECT_FALSE(zellauncher::hasRestartFlag({L"prog", L"-Restart", L"-restart=1"}));
}

}  // namespace
