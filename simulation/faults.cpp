#include <algorithm>

#include "simulation/machine_state.h"

// The head of every operation of the system interface: records it, lets other processes run, stops
// the process if that is due, and decides which injected fault it gets. possible_errors.cpp lists the
// errors that an operation can have at all.
namespace simulation {

namespace {

constexpr std::uint64_t lastOperation = 20'000'000;

bool endsWithIgnoringCase(const std::wstring& text, const std::wstring& ending) {
    return ending.empty() || upperCase(text).ends_with(upperCase(ending));
}

bool isPossible(const Fault& fault, const Operation& operation) {
    if (!fault.onlyWherePossible) {
        return true;
    }
    const std::vector<platform::ErrorCode> errors = errorsOf(operation);
    return std::find(errors.begin(), errors.end(), fault.error) != errors.end();
}

// The error of the first fault that is due for this operation.
platform::ErrorCode faultOf(MachineState& machine, const Operation& operation) {
    platform::ErrorCode error = platform::errorSuccess;
    for (ActiveFault& active : machine.faults) {
        const Fault& fault = active.fault;
        const bool isMeant = (fault.process == 0 || fault.process == operation.process) &&
                             (fault.operation.empty() || fault.operation == operation.name) &&
                             endsWithIgnoringCase(operation.argument, fault.argumentEndsWith);
        if (!isMeant) {
            continue;
        }
        ++active.seen;
        const bool isDue = active.seen == fault.nth || (fault.fromThenOn && active.seen > fault.nth);
        if (isDue && error == platform::errorSuccess && isPossible(fault, operation)) {
            error = fault.error;
        }
    }
    return error;
}

}  // namespace

platform::ErrorCode beginOperation(const char* name, const std::wstring& argument, bool writes,
                                   const Numbers& numbers) {
    Process& process = self();
    MachineState& machine = machineOfSelf();
    if (process.isStopped || process.isCutShort) {
        throw ProcessEnded{{EndKind::stoppedDead, 0}, UnflushedData::partlyWritten};
    }
    if (machine.beforeOperation) {
        machine.beforeOperation(name, argument);
    }
    machine.yield(process, name, argument);
    Operation& operation = machine.operations.emplace_back();
    operation.name = name;
    operation.argument = argument;
    operation.process = process.id;
    operation.index = machine.operations.size();
    operation.writes = writes;
    operation.time = machine.elapsed;
    operation.numbers = numbers;
    ++process.operationCount;
    if (machine.operationLimit != 0 && process.operationCount > machine.operationLimit) {
        throw ProcessEnded{{EndKind::ranAway, 0}, UnflushedData::lost};
    }
    if (machine.operations.size() > lastOperation) {
        giveUp("too many operations: something does not end");
    }
    if (machine.isStopDue(operation)) {
        process.isCutShort =
            machine.stop->data == UnflushedData::partlyWritten && operation.name == "copyFile";
        if (!process.isCutShort) {
            throw ProcessEnded{{EndKind::stoppedDead, 0}, machine.stop->data};
        }
    }
    operation.fault = faultOf(machine, operation);
    return operation.fault;
}

platform::ErrorCode beginOperation(const char* name, const std::wstring& argument, const std::wstring& target,
                                   bool writes, const Numbers& numbers) {
    const platform::ErrorCode fault = beginOperation(name, argument, writes, numbers);
    machineOfSelf().operations.back().target = target;
    return fault;
}

platform::ErrorCode beginOperation(const char* name, const platform::Stream& stream, bool writes,
                                   const Numbers& numbers) {
    return beginOperation(name, stream.file->node->name, stream.path, writes, numbers);
}

bool MachineState::isStopDue(const Operation& operation) {
    if (!stop || (stop->process != 0 && stop->process != operation.process)) {
        return false;
    }
    return ++seenOfStop == stop->nth;
}

bool failWith(platform::ErrorCode error) {
    self().lastError = error;
    // Only this process has run since its operation began, unless the operation waits.
    Operation& operation = machineOfSelf().operations.back();
    if (operation.process == self().id) {
        operation.error = error;
    }
    return false;
}

}  // namespace simulation
