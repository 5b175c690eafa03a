#pragma once

#include <benchmark/benchmark.h>

#include <functional>

#include "simulation/machine.h"

namespace bench {

// Runs a benchmark's body as a launcher on a simulated machine, whose operations need a process.
void onMachine(simulation::Machine& machine, const std::function<void()>& body);

}  // namespace bench
