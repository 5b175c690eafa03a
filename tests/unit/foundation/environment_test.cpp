#include "foundation/environment.h"

#include "support/launcher_fixture.h"

namespace {

using zellauncher::getEnvironmentVariable;

class Environment : public launchertest::OnMachine {};

TEST_F(Environment, ValueOfAVariableIsReturned) {
    machine.setEnvironment(L"ZEL_ROOT", L"D:\\z\u0142oty");
    const auto outcome = run([] { EXPECT_EQ(getEnvironmentVariable(L"ZEL_ROOT"), L"D:\\z\u0142oty"); });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Environment, VariableIsFoundInAnyCase) {
    machine.setEnvironment(L"ZEL_ROOT", L"D:\\zel");
    run([] { EXPECT_EQ(getEnvironmentVariable(L"zel_Root"), L"D:\\zel"); });
}

TEST_F(Environment, UnsetVariableIsADebugLine) {
    const auto look = [] { EXPECT_EQ(getEnvironmentVariable(L"ZEL_ROOT"), std::nullopt); };
    EXPECT_EQ(run(look).log, "ZLNCH0081I:  Environmental variable 'ZEL_ROOT' is not set\n");
    EXPECT_EQ(runQuietly(look).log, "");
}

TEST_F(Environment, ValueHasNoLengthLimit) {
    const std::wstring longValue(30000, L'v');
    machine.setEnvironment(L"ZEL_ROOT", longValue);
    run([&] { EXPECT_EQ(getEnvironmentVariable(L"ZEL_ROOT"), longValue); });
}

}  // namespace
