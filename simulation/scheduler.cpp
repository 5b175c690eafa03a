#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "simulation/machine_state.h"
#include "simulation/thread_end.h"

namespace simulation {

namespace {

constexpr std::uint64_t timeLimit = std::uint64_t{10} * 24 * 3600 * 1000;

thread_local Process* currentProcess = nullptr;
thread_local MachineState* currentMachine = nullptr;

void runProcess(MachineState& machine, Process& process) {
    currentProcess = &process;
    currentMachine = &machine;
    process.turn.await();
    ProcessEnded ended;
    ended.data = UnflushedData::kept;
    try {
        if (process.isStopped) {
            throw ProcessEnded{{EndKind::stoppedDead, 0}, UnflushedData::lost};
        }
        ended.end.status = static_cast<std::uint32_t>(process.program());
    } catch (const ProcessEnded& thrown) {
        ended = thrown;
    }
    MachineState::finish(machine, process, ended.end, ended.data);
    machine.controllerTurn.give();
}

}  // namespace

[[noreturn]] void giveUp(const char* reason) {
    std::fprintf(stderr, "simulation: %s\n", reason);
    std::abort();
}

Process& self() {
    if (currentProcess == nullptr) {
        giveUp("an operation of the system interface was called outside a process");
    }
    return *currentProcess;
}

MachineState& machineOfSelf() {
    self();
    return *currentMachine;
}

Process& MachineState::addProcess(const std::vector<std::wstring>& arguments, Program program) {
    lastProcessId += 4;
    auto process = std::make_unique<Process>();
    process->id = lastProcessId;
    process->systemId = nextSystemId(lastProcessId);
    process->arguments = arguments;
    process->program = std::move(program);
    Process& added = *process;
    processes[added.id] = std::move(process);
    return added;
}

// The process id of a new process.
std::uint32_t MachineState::nextSystemId(ProcessId process) {
    for (std::size_t i = reusesProcessIds ? ended.size() : 0; i > 0; --i) {
        const ProcessId former = ended[i - 1];
        if (!hasHandleOf(former)) {
            ended.erase(ended.begin() + static_cast<std::ptrdiff_t>(i - 1));
            return processes.at(former)->systemId;
        }
    }
    return process;
}

bool MachineState::hasHandleOf(ProcessId process) const {
    return std::any_of(processes.begin(), processes.end(), [&](const auto& entry) {
        const auto& objects = entry.second->objects;
        return std::any_of(objects.begin(), objects.end(),
                           [&](const auto& object) { return object.second->processId == process; });
    });
}

const Process* MachineState::findBySystemId(std::uint32_t systemId) const {
    for (const auto& [id, process] : processes) {
        const bool isKnown = process->state != ProcessState::ended || hasHandleOf(id);
        if (process->systemId == systemId && isKnown) {
            return process.get();
        }
    }
    return nullptr;
}

void MachineState::giveTurn(Process& next) {
    if (!next.thread.joinable()) {
        next.thread = std::thread([this, &next] {
            runProcess(*this, next);
            endThread();
        });
    }
    next.turn.give();
}

// Passes the turn to another process, or to the test if there is none, and waits to get it back.
void MachineState::passTurn(Process& from, Process* next) {
    if (next == &from) {
        return;
    }
    if (next != nullptr) {
        giveTurn(*next);
    } else {
        controllerTurn.give();
    }
    from.turn.await();
    if (from.isStopped) {
        throw ProcessEnded{{EndKind::stoppedDead, 0}, UnflushedData::lost};
    }
}

void MachineState::giveTurnAndWait(Process& next) {
    giveTurn(next);
    controllerTurn.await();
}

std::vector<Process*> MachineState::readyProcesses() {
    std::vector<Process*> ready;
    for (const auto& [id, process] : processes) {
        if (process->state == ProcessState::ready) {
            ready.push_back(process.get());
        }
    }
    return ready;
}

// Which process continues at a switching point. `current` is null if the running one cannot.
Process* MachineState::chooseNext(Process* current) {
    const std::vector<Process*> ready = readyProcesses();
    if (ready.empty()) {
        return nullptr;
    }
    if (!followsChoices) {
        return current != nullptr && ready.size() == 1 ? current : ready[generator() % ready.size()];
    }
    return ready.size() == 1 ? ready.front() : chooseByPlan(current, ready);
}

// Without a choice the current process continues, otherwise the first one.
Process* MachineState::chooseByPlan(Process* current, const std::vector<Process*>& ready) {
    const auto place = std::find(ready.begin(), ready.end(), current);
    SwitchingPoint point;
    point.canContinue = place != ready.end();
    point.candidates = ready.size();
    point.habit = point.canContinue ? static_cast<std::size_t>(place - ready.begin()) : 0;
    point.operation = operations.size();
    point.chosen = point.habit;
    if (nextChoice < choices.size() && choices[nextChoice].point == switchingPoints.size()) {
        point.chosen = std::min(choices[nextChoice++].candidate, ready.size() - 1);
    }
    switchingPoints.push_back(point);
    return ready[point.chosen];
}

// Called before an operation is carried out.
void MachineState::yield(Process& process, const char* name, const std::wstring& argument) {
    if (stall && stall->operation == name && argument.ends_with(stall->argumentEndsWith)) {
        const std::uint32_t milliseconds = stall->milliseconds;
        stall.reset();
        sleep(process, milliseconds);
        return;
    }
    if (isSwitchingOperation && !isSwitchingOperation(name, argument)) {
        return;
    }
    if (stallOdds != 0 && generator() % stallOdds == 0) {
        sleep(process, static_cast<std::uint32_t>(generator() % longestStall));
        return;
    }
    if (switchOdds > 1 && generator() % switchOdds != 0) {
        return;
    }
    passTurn(process, chooseNext(&process));
}

void MachineState::sleep(Process& process, std::uint32_t milliseconds) {
    process.state = ProcessState::sleeping;
    process.wakeTime = elapsed + milliseconds;
    passTurn(process, chooseNext(nullptr));
}

// Sleeps until this pipe changes. False if the time runs out first.
bool MachineState::waitForPipe(Process& process, const std::wstring& pipe, std::uint64_t wakeTime) {
    process.state = ProcessState::sleeping;
    process.wakeTime = wakeTime;
    process.awaitedPipe = pipe;
    passTurn(process, chooseNext(nullptr));
    process.awaitedPipe.clear();
    return elapsed < wakeTime;
}

void MachineState::wakePipeWaiters(const std::wstring& pipe) {
    for (const auto& [id, process] : processes) {
        if (process->state == ProcessState::sleeping && process->awaitedPipe == pipe) {
            process->state = ProcessState::ready;
        }
    }
}

// Called by the test: runs processes, and moves the clock when all of them sleep, while the condition holds.
void MachineState::runWhile(const std::function<bool()>& isWanted, std::uint64_t limit) {
    const std::uint64_t begin = elapsed;
    while (isWanted()) {
        if (Process* ready = chooseNext(nullptr)) {
            giveTurnAndWait(*ready);
            continue;
        }
        std::uint64_t next = never;
        for (const auto& [id, process] : processes) {
            if (process->state == ProcessState::sleeping) {
                next = std::min(next, process->wakeTime);
            }
        }
        if (next == never && limit == never) {
            giveUp("no process can run, but the test waits for one");
        }
        if (next - begin > limit) {
            elapsed = begin + limit;
            return;
        }
        elapsed = next;
        if (elapsed > timeLimit) {
            giveUp("ten days have passed: something waits for ever");
        }
        for (const auto& [id, process] : processes) {
            if (process->state == ProcessState::sleeping && process->wakeTime <= elapsed) {
                process->state = ProcessState::ready;
            }
        }
    }
}

void MachineState::stopProcess(Process& process) {
    process.isStopped = true;
    if (process.state != ProcessState::ended) {
        if (process.thread.joinable()) {
            giveTurnAndWait(process);
        } else {
            process.state = ProcessState::ended;
        }
    }
    if (process.thread.joinable()) {
        process.thread.join();
    }
}

// Releases what the process holds, as the system does at its end.
void MachineState::finish(MachineState& machine, Process& process, const ProcessEnd& end,
                          UnflushedData data) {
    for (const auto& stream : process.streams) {
        if (data == UnflushedData::partlyWritten) {
            stream->buffer.resize(stream->buffer.size() / 2);
        }
        if (data != UnflushedData::lost) {
            writeOut(machine, *stream);
        }
        closeOpenFile(machine, *stream->file);
    }
    process.streams.clear();
    for (const auto& [handle, object] : process.objects) {
        releaseObject(machine, *object);
    }
    process.objects.clear();
    process.finds.clear();
    process.end = end;
    process.state = ProcessState::ended;
    machine.ended.push_back(process.id);
    if (machine.whenEnded) {
        machine.whenEnded(process.id);
    }
}

}  // namespace simulation
