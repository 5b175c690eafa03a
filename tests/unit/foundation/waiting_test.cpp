#include "foundation/waiting.h"

#include "support/launcher_fixture.h"

namespace {

class Waiting : public launchertest::OnMachine {};

TEST_F(Waiting, SleepLastsTheGivenSeconds) {
    run([] { zellauncher::sleepSeconds(20); });
    EXPECT_EQ(machine.elapsedMilliseconds(), 20000U);
}

TEST_F(Waiting, ZeroSecondsTakeNoTime) {
    run([] { zellauncher::sleepSeconds(0); });
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

}  // namespace
