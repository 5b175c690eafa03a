#pragma once

#include <cstdint>
#include <string>

#include "simulation/machine.h"

// Faults for simulation::Machine::inject.
namespace launchertest {

// The nth operation of this name fails, counted from the call of inject. With `argumentEnding`, only
// operations whose argument ends so are counted.
inline simulation::Fault failing(const std::string& operation, platform::ErrorCode error,
                                 const std::wstring& argumentEnding = {}, std::uint64_t nth = 1) {
    simulation::Fault fault;
    fault.operation = operation;
    fault.argumentEndsWith = argumentEnding;
    fault.nth = nth;
    fault.error = error;
    return fault;
}

// The same operation and all later ones fail.
inline simulation::Fault failingFrom(const std::string& operation, platform::ErrorCode error,
                                     const std::wstring& argumentEnding = {}, std::uint64_t nth = 1) {
    simulation::Fault fault = failing(operation, error, argumentEnding, nth);
    fault.fromThenOn = true;
    return fault;
}

}  // namespace launchertest
