#pragma once

#include "support/launcher_fixture.h"

namespace fuzz {

// Runs launcher code on a simulated machine of its own, outside of a GoogleTest test.
class LauncherRunner : public launchertest::OnMachine {
public:
    using OnMachine::machine;
    using OnMachine::run;
    using OnMachine::runQuietly;

private:
    void TestBody() override {}
};

}  // namespace fuzz
