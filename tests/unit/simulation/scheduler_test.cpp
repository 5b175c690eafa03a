#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/pipes.h"
#include "platform/semaphores.h"
#include "platform/streams.h"
#include "simulation/machine.h"

// Which process runs, how time passes, and how processes start and end.
namespace {

using simulation::EndKind;
using simulation::Machine;
using simulation::ProcessEnd;
using simulation::ProcessId;

constexpr platform::ErrorCode errorTimeout = 121;
constexpr const wchar_t* program = L"C:\\program.exe";

// Runs a process for each of the names; each makes this many operations. Returns the name of the process
// for each operation, in the order in which they were made.
std::string orderOf(Machine& machine, const std::string& names, int operations) {
    std::string order;
    for (const char name : names) {
        machine.start({program}, [&order, name, operations] {
            for (int i = 0; i < operations; ++i) {
                platform::tickCount();
                order += name;
            }
            return 0;
        });
    }
    machine.runUntilIdle(100'000'000);
    return order;
}

// The order of three processes that make ten operations each.
std::string orderWithSeed(std::uint64_t seed) {
    Machine machine(seed);
    return orderOf(machine, "abc", 10);
}

TEST(Scheduling, SameSeedGivesTheSameOrder) {
    EXPECT_EQ(orderWithSeed(7), orderWithSeed(7));
    EXPECT_EQ(orderWithSeed(7).size(), 30U);
}

TEST(Scheduling, DifferentSeedsGiveDifferentOrders) {
    int different = 0;
    for (std::uint64_t seed = 2; seed <= 10; ++seed) {
        different += orderWithSeed(seed) != orderWithSeed(1) ? 1 : 0;
    }
    EXPECT_GE(different, 8);
}

TEST(Scheduling, TimePassesOnlyDuringSleep) {
    Machine machine;
    machine.run({program}, [&] {
        for (int i = 0; i < 1000; ++i) {
            platform::tickCount();
        }
        EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
        platform::sleepMilliseconds(20000);
        EXPECT_EQ(machine.elapsedMilliseconds(), 20000U);
        return 0;
    });
}

TEST(Scheduling, SleepersWakeInOrderOfTheirTimes) {
    Machine machine;
    std::string order;
    const auto sleeper = [&](char name, std::uint32_t milliseconds) {
        return [&order, name, milliseconds] {
            platform::sleepMilliseconds(milliseconds);
            order += name;
            return 0;
        };
    };
    machine.start({program}, sleeper('c', 300));
    machine.start({program}, sleeper('a', 100));
    machine.start({program}, sleeper('b', 200));
    machine.runUntilIdle(1000);
    EXPECT_EQ(order, "abc");
    EXPECT_EQ(machine.elapsedMilliseconds(), 300U);
}

TEST(Scheduling, RunCanBeInterruptedAndContinued) {
    Machine machine;
    const ProcessId id = machine.start({program}, [] {
        platform::sleepMilliseconds(5000);
        return 3;
    });
    machine.runUntilIdle(4000);
    EXPECT_TRUE(machine.isRunning(id));
    EXPECT_EQ(machine.elapsedMilliseconds(), 4000U);
    EXPECT_EQ(machine.waitFor(id).status, 3U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 5000U);
}

TEST(Scheduling, DestroyedMachineStopsItsProcesses) {
    bool isOver = false;
    {
        Machine machine;
        machine.start({program}, [&] {
            platform::sleepMilliseconds(1000000);
            isOver = true;
            return 0;
        });
        machine.start({program}, [&] { return 0; });
        machine.runUntilIdle(10);
    }
    EXPECT_FALSE(isOver);
}

TEST(Plans, WithoutChoicesEachProcessRunsToItsEnd) {
    Machine machine;
    machine.followChoices({});
    EXPECT_EQ(orderOf(machine, "ab", 3), "aaabbb");
    const auto& points = machine.switchingPoints();
    ASSERT_EQ(points.size(), 4U);  // the start, and each operation of the first process
    EXPECT_FALSE(points[0].canContinue);
    EXPECT_TRUE(points[1].canContinue);
    EXPECT_EQ(points[1].candidates, 2U);
    EXPECT_EQ(points[1].habit, 0U);
}

TEST(Plans, ChoiceSelectsTheNextProcess) {
    Machine first;
    first.followChoices({{0, 1}});
    EXPECT_EQ(orderOf(first, "ab", 2), "bbaa");
    Machine preempted;
    preempted.followChoices({{2, 1}, {4, 0}});
    EXPECT_EQ(orderOf(preempted, "ab", 2), "abab");
}

TEST(Plans, ChoicesReachEveryOrder) {
    std::set<std::string> orders;
    const std::function<void(std::vector<simulation::Choice>)> explore =
        [&](const std::vector<simulation::Choice>& choices) {
            Machine machine;
            machine.followChoices(choices);
            orders.insert(orderOf(machine, "ab", 2));
            const std::size_t from = choices.empty() ? 0 : choices.back().point + 1;
            for (std::size_t point = from; point < machine.switchingPoints().size(); ++point) {
                std::vector<simulation::Choice> more = choices;
                more.push_back({point, 1 - machine.switchingPoints()[point].habit});
                explore(more);
            }
        };
    explore({});
    EXPECT_EQ(orders, (std::set<std::string>{"aabb", "abab", "abba", "baab", "baba", "bbaa"}));
}

TEST(Switching, OnlySelectedOperationsSwitch) {
    Machine machine(3);
    machine.switchOnlyAt(
        [](const char* name, const std::wstring&) { return std::string(name) != "tickCount"; });
    const std::string order = orderOf(machine, "ab", 20);
    EXPECT_TRUE(order == std::string(20, 'a') + std::string(20, 'b') ||
                order == std::string(20, 'b') + std::string(20, 'a'));
}

TEST(Switching, RateOfSwitchesIsAdjustable) {
    const auto switchesWith = [](std::uint32_t oneIn) {
        Machine machine(5);
        simulation::Switching switching;
        switching.oneIn = oneIn;
        machine.setSwitching(switching);
        const std::string order = orderOf(machine, "ab", 500);
        int switches = 0;
        for (std::size_t i = 1; i < order.size(); ++i) {
            switches += order[i] != order[i - 1] ? 1 : 0;
        }
        return switches;
    };
    EXPECT_GT(switchesWith(1), 200);
    EXPECT_LT(switchesWith(50), 30);
    EXPECT_GT(switchesWith(50), 1);
}

TEST(Switching, StallsLetTimePassBetweenOperations) {
    Machine machine(5);
    simulation::Switching switching;
    switching.stallOneIn = 10;
    switching.longestStallMilliseconds = 1000;
    machine.setSwitching(switching);
    orderOf(machine, "ab", 100);
    EXPECT_GT(machine.elapsedMilliseconds(), 1000U);
    EXPECT_LT(machine.elapsedMilliseconds(), 40'000U);
}

TEST(Ends, ObserverIsCalledAtEachEnd) {
    Machine machine;
    std::vector<ProcessId> ended;
    machine.whenEnded([&](ProcessId id) {
        EXPECT_FALSE(machine.isRunning(id));
        EXPECT_EQ(machine.endOf(id).status, 7U);
        ended.push_back(id);
    });
    const ProcessId id = machine.start({program}, [] { return 7; });
    machine.waitFor(id);
    EXPECT_EQ(ended, std::vector<ProcessId>{id});
}

TEST(Ends, EachKindOfEndHasItsStatus) {
    Machine machine;
    EXPECT_EQ(machine.run({program}, [] { return 5; }).status, 5U);
    const ProcessEnd exited = machine.run({program}, []() -> int { platform::exitProcess(-1); });
    EXPECT_EQ(exited.kind, EndKind::exited);
    EXPECT_EQ(exited.status, 0xFFFFFFFFU);
    const ProcessEnd fault = machine.run({program}, []() -> int { platform::endWithAccessViolation(); });
    EXPECT_EQ(fault.kind, EndKind::accessViolation);
    EXPECT_EQ(fault.status, 0xC0000005U);
}

TEST(Ends, OnlyANormalEndFlushesStreams) {
    Machine machine;
    const auto writing = [](const std::function<void()>& end) {
        return [end] {
            platform::writeStream(platform::openStream(L"C:\\f", "w"), "text");
            end();
            return 0;
        };
    };
    machine.run({program}, writing([] { platform::exitProcess(0); }));
    EXPECT_EQ(machine.readFile(L"C:\\f"), "text");
    machine.run({program}, writing([] { platform::endWithAccessViolation(); }));
    EXPECT_EQ(machine.readFile(L"C:\\f"), "");
}

TEST(Pipes, WaitForABusyPipeEndsWithItsServer) {
    Machine machine;
    machine.start({program}, [] {
        simulation::servePipeToNobody(L"\\\\.\\pipe\\p");
        platform::sleepMilliseconds(5000);
        return 0;
    });
    machine.runUntilIdle(10);
    machine.run({program}, [] {
        EXPECT_FALSE(platform::waitNamedPipe(L"\\\\.\\pipe\\p", 100));
        EXPECT_EQ(platform::lastError(), errorTimeout);
        EXPECT_FALSE(platform::waitNamedPipe(L"\\\\.\\pipe\\p", platform::waitForever));
        EXPECT_EQ(platform::lastError(), platform::errorFileNotFound);
        return 0;
    });
    EXPECT_EQ(machine.elapsedMilliseconds(), 5000U);
}

TEST(Clock, DateAdvancesOverMidnightAndMonthEnd) {
    Machine machine;
    const auto timeAfter = [&](std::uint32_t milliseconds) {
        machine.run({program}, [&] {
            platform::sleepMilliseconds(milliseconds);
            return 0;
        });
        return machine.now();
    };
    EXPECT_EQ(machine.now().dayOfWeek, 6);
    const platform::LocalTime next = timeAfter(60000);
    EXPECT_EQ(next.day, 1);
    EXPECT_EQ(next.month, 2);
    EXPECT_EQ(next.hour, 0);
    EXPECT_EQ(next.dayOfWeek, 0);
    const platform::LocalTime later = timeAfter(3 * 24 * 3600 * 1000 + 1);
    EXPECT_EQ(later.day, 4);
    EXPECT_EQ(later.milliseconds, 1);
    EXPECT_EQ(later.dayOfWeek, 3);
}

TEST(Children, ChildInheritsTheEnvironmentAndRunsIndependently) {
    Machine machine;
    std::vector<std::wstring> arguments;
    std::optional<std::wstring> inherited;
    machine.installProgram(L"C:\\child.exe", [&] {
        arguments = platform::commandLineArguments();
        inherited = platform::environmentValue(L"mine");
        platform::sleepMilliseconds(100);
        return 9;
    });
    const ProcessEnd end = machine.run({program}, [] {
        platform::putEnvironmentText(L"MINE=1");
        const std::optional<platform::ChildProcess> child =
            platform::createProcess(L"\"C:\\child.exe\" \"a b\" c\\\"d", {});
        if (!child) {
            return 1;
        }
        EXPECT_EQ(platform::processExitCode(child->process), platform::exitCodeStillActive);
        EXPECT_FALSE(platform::hasProcessEnded(child->process));
        platform::sleepMilliseconds(200);
        EXPECT_EQ(platform::processExitCode(child->process), 9U);
        EXPECT_TRUE(platform::hasProcessEnded(child->process));
        return 0;
    });
    EXPECT_EQ(end.status, 0U);
    EXPECT_EQ(arguments, (std::vector<std::wstring>{L"C:\\child.exe", L"a b", L"c\"d"}));
    EXPECT_EQ(inherited, L"1");
}

TEST(Children, ProcessIdComesAgainIfAsked) {
    for (const bool isAsked : {false, true}) {
        Machine machine;
        if (isAsked) {
            machine.reuseProcessIds();
        }
        std::vector<std::uint32_t> seen;
        std::vector<ProcessId> started;
        for (int i = 0; i < 3; ++i) {
            started.push_back(machine.start({program}, [&] {
                seen.push_back(platform::currentProcessId());
                return i;
            }));
            machine.waitFor(started.back());
        }
        EXPECT_EQ(seen[1] == seen[0], isAsked);
        EXPECT_EQ(seen[2] == seen[0], isAsked);
        EXPECT_EQ(seen[2], machine.systemIdOf(started[2]));
        EXPECT_EQ(machine.endOf(started[1]).status, 1U);  // the machine distinguishes them
    }
}

TEST(Pipes, ClientOfAnEndedServerDoesNotReachTheNextOne) {
    Machine machine;
    const auto server = [](std::uint32_t lifetime) {
        return [lifetime] {
            simulation::servePipe(L"\\\\.\\pipe\\p");
            platform::sleepMilliseconds(lifetime);
            return 0;
        };
    };
    machine.start({program}, server(100));
    machine.runUntilIdle(10);
    const ProcessId client = machine.start({program}, [] {
        const platform::Handle pipe =
            platform::createFile(L"\\\\.\\pipe\\p", platform::accessRead | platform::accessWrite, 0,
                                 platform::openExistingFile, platform::attributeNormal);
        EXPECT_NE(pipe, platform::Handle::none);
        platform::sleepMilliseconds(1000);
        EXPECT_FALSE(platform::writePipe(pipe, "late"));
        return 0;
    });
    machine.runUntilIdle(500);
    machine.start({program}, server(5000));
    machine.waitFor(client);
    EXPECT_EQ(machine.pipePayloads(L"\\\\.\\pipe\\p"), std::vector<std::string>{""});
}

TEST(Semaphores, SemaphoreExistsWhileAHandleIsOpen) {
    Machine machine;
    machine.start({program}, [] {
        simulation::holdSemaphore(L"Global\\s");
        platform::sleepMilliseconds(1000);
        return 0;
    });
    machine.run({program}, [] {
        platform::sleepMilliseconds(1);
        const platform::Handle handle = platform::openSemaphore(L"Global\\s", 0);
        EXPECT_NE(handle, platform::Handle::none);
        platform::sleepMilliseconds(2000);
        EXPECT_NE(platform::openSemaphore(L"Global\\s", 0), platform::Handle::none);
        return 0;
    });
    machine.run({program}, [] {
        EXPECT_EQ(platform::openSemaphore(L"Global\\s", 0), platform::Handle::none);
        return 0;
    });
}

}  // namespace
