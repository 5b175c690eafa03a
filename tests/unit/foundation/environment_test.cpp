#include "foundation/environment.h"

#include "support/launcher_fixture.h"

namespace {

class Environment : public launchertest::OnMachine {};

TEST_F(Environment, GivesTheValueOfAVariable) {
    machine.setEnvironment(L"ZEL_ROOT", L"D:\\z\u0142oty");
    const auto outcome = run([] {
        std::wstring value = L"before";
        const wchar_t* characters = zellauncher::getEnvironmentVariable(L"ZEL_ROOT", value);
        EXPECT_EQ(value, L"D:\\z\u0142oty");
        EXPECT_EQ(characters, value.c_str());
    });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Environment, NamesAreFoundWithoutRegardToCase) {
    machine.setEnvironment(L"ZEL_ROOT", L"D:\\zel");
    run([] {
        std::wstring value;
        EXPECT_NE(zellauncher::getEnvironmentVariable(L"zel_Root", value), nullptr);
        EXPECT_EQ(value, L"D:\\zel");
    });
}

TEST_F(Environment, AVariableThatIsNotSetEmptiesTheTextAndIsADebugLine) {
    const auto look = [] {
        std::wstring value = L"before";
        EXPECT_EQ(zellauncher::getEnvironmentVariable(L"ZEL_ROOT", value), nullptr);
        EXPECT_EQ(value, L"");
    };
    EXPECT_EQ(run(look).log, "ZLNCH0081I:  Environmental variable 'ZEL_ROOT' is not set\n");
    EXPECT_EQ(runQuietly(look).log, "");
}

TEST_F(Environment, AValueOfAnyLengthIsWhole) {
    const std::wstring longValue(30000, L'v');
    machine.setEnvironment(L"ZEL_ROOT", longValue);
    run([&] {
        std::wstring value;
        zellauncher::getEnvironmentVariable(L"ZEL_ROOT", value);
        EXPECT_EQ(value, longValue);
    });
}

}  // namespace
