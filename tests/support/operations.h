#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "simulation/machine.h"
#include "support/text.h"

// What processes asked the system for, from the records of the simulated machine.
namespace launchertest {

using Calls = std::vector<simulation::Operation>;

// The calls of this operation in their order. With `argumentEnding`, only those whose argument ends so.
inline Calls callsOf(const simulation::Machine& machine, const std::string& operation,
                     const std::wstring& argumentEnding = {}) {
    Calls calls;
    for (const simulation::Operation& made : machine.operations()) {
        if (made.name == operation && made.argument.ends_with(argumentEnding)) {
            calls.push_back(made);
        }
    }
    return calls;
}

// `name argument` for each call of one of these operations, in their order. A call without an argument is
// its name alone. The first `skipped` operations of the machine are left out.
inline std::vector<std::string> traceOf(const simulation::Machine& machine,
                                        const std::set<std::string>& operations, std::size_t skipped = 0) {
    std::vector<std::string> trace;
    for (std::size_t i = skipped; i < machine.operations().size(); ++i) {
        const simulation::Operation& made = machine.operations()[i];
        if (operations.count(made.name) != 0) {
            trace.push_back(made.name + (made.argument.empty() ? "" : " " + toUtf8(made.argument)));
        }
    }
    return trace;
}

// How long each sleep of a process was meant to be.
inline std::vector<std::uint32_t> sleepsOf(const simulation::Machine& machine,
                                           simulation::ProcessId process) {
    std::vector<std::uint32_t> milliseconds;
    for (const simulation::Operation& sleep : callsOf(machine, "sleepMilliseconds")) {
        if (sleep.process == process) {
            milliseconds.push_back(sleep.numbers[0]);
        }
    }
    return milliseconds;
}

}  // namespace launchertest
