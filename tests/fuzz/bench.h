#pragma once

#include "support/launcher_fixture.h"

namespace fuzz {

// A machine to try launcher code on, outside of a test of its own.
class Bench : public launchertest::OnMachine {
public:
    using OnMachine::machine;
    using OnMachine::run;
    using OnMachine::runQuietly;

private:
    void TestBody() override {}
};

}  // namespace fuzz
