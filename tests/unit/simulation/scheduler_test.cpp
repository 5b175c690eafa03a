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
#include "platform/interprocess.h"
#include "platform/process.h"
#include "platform/streams.h"
#include "simulation/machine.h"

namespace {

using simulation::EndKind;
using simulation::Machine;
using simulation::ProcessEnd;
using simulation::ProcessId;

constexpr const wchar_t* program = L"C:\\program.exe";

// Three processes that work side by side leave a text of who came when.
std::string orderOf(std::uint64_t seed) {
    Machine machine(seed);
    std::string order;
    for (const char name : {'a', 'b', 'c'}) {
        machine.start({program}, [&order, name] {
            for (int i = 0; i < 10; ++i) {
                platform::tickCount();
                order += name;
            }
            return 0;
        });
    }
    machine.runUntilIdle(1000);
    return order;
}

TEST(Scheduling, TheSameSeedGivesTheSameRun) {
    EXPECT_EQ(orderOf(7), orderOf(7));
    EXPECT_EQ(orderOf(7).size(), 30U);
}

TEST(Scheduling, SeedsDiffer) {
    int different = 0;
    for (std::uint64_t seed = 2; seed <= 10; ++seed) {
        different += orderOf(seed) != orderOf(1) ? 1 : 0;
    }
    EXPECT_GE(different, 8);
}

TEST(Scheduling, TimeMovesOnlyWhenSomebodyWaits) {
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

TEST(Scheduling, TheClockJumpsToWhoWakesFirst) {
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

TEST(Scheduling, ARunCanBeLeftAndTakenUp) {
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

TEST(Scheduling, AMachineThatGoesAwayStopsItsProcesses) {
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

// Two processes that make these operations each, under a plan; a text of who came when.
std::string orderUnder(Machine& machine, int operations) {
    std::string order;
    for (const char name : {'a', 'b'}) {
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

TEST(Plans, WithoutAChoiceEachGoesOnToItsEnd) {
    Machine machine;
    machine.followChoices({});
    EXPECT_EQ(orderUnder(machine, 3), "aaabbb");
    const auto& points = machine.switchingPoints();
    ASSERT_EQ(points.size(), 4U);  // the first turn, and the head of each operation of the first one
    EXPECT_FALSE(points[0].canContinue);
    EXPECT_TRUE(points[1].canContinue);
    EXPECT_EQ(points[1].candidates, 2U);
    EXPECT_EQ(points[1].habit, 0U);
}

TEST(Plans, AChoiceNamesWhoGoesOn) {
    Machine first;
    first.followChoices({{0, 1}});
    EXPECT_EQ(orderUnder(first, 2), "bbaa");
    Machine preempted;
    preempted.followChoices({{2, 1}, {4, 0}});
    EXPECT_EQ(orderUnder(preempted, 2), "abab");
}

TEST(Plans, EveryOrderOfTwoTimesTwoOperationsCanBeChosen) {
    std::set<std::string> orders;
    const std::function<void(std::vector<simulation::Choice>)> explore =
        [&](const std::vector<simulation::Choice>& choices) {
            Machine machine;
            machine.followChoices(choices);
            orders.insert(orderUnder(machine, 2));
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

TEST(Switching, OnlyAtTheOperationsThatAreMeant) {
    Machine machine(3);
    machine.switchOnlyAt(
        [](const char* name, const std::wstring&) { return std::string(name) != "tickCount"; });
    const std::string order = orderUnder(machine, 20);
    EXPECT_TRUE(order == std::string(20, 'a') + std::string(20, 'b') ||
                order == std::string(20, 'b') + std::string(20, 'a'));
}

TEST(Switching, CanBeRare) {
    const auto switchesUnder = [](std::uint32_t oneIn) {
        Machine machine(5);
        simulation::Switching switching;
        switching.oneIn = oneIn;
        machine.setSwitching(switching);
        const std::string order = orderUnder(machine, 500);
        int switches = 0;
        for (std::size_t i = 1; i < order.size(); ++i) {
            switches += order[i] != order[i - 1] ? 1 : 0;
        }
        return switches;
    };
    EXPECT_GT(switchesUnder(1), 200);
    EXPECT_LT(switchesUnder(50), 30);
    EXPECT_GT(switchesUnder(50), 1);
}

TEST(Switching, StallsLetTimePassInTheMiddleOfWork) {
    Machine machine(5);
    simulation::Switching switching;
    switching.stallOneIn = 10;
    switching.longestStallMilliseconds = 1000;
    machine.setSwitching(switching);
    orderUnder(machine, 100);
    EXPECT_GT(machine.elapsedMilliseconds(), 1000U);
    EXPECT_LT(machine.elapsedMilliseconds(), 40'000U);
}

TEST(Ends, AreTold) {
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

TEST(Pipes, AServerThatLetsNobodyInIsWaitedForUntilItEnds) {
    Machine machine;
    machine.start({program}, [] {
        simulation::servePipeToNobody(L"\\\\.\\pipe\\p");
        platform::sleepMilliseconds(5000);
        return 0;
    });
    machine.runUntilIdle(10);
    machine.run({program}, [] {
        EXPECT_FALSE(platform::waitNamedPipe(L"\\\\.\\pipe\\p", 100));
        EXPECT_EQ(platform::lastError(), 121U);
        EXPECT_FALSE(platform::waitNamedPipe(L"\\\\.\\pipe\\p", platform::waitForever));
        EXPECT_EQ(platform::lastError(), platform::errorFileNotFound);
        return 0;
    });
    EXPECT_EQ(machine.elapsedMilliseconds(), 5000U);
}

TEST(Clock, CountsDaysMonthsAndYears) {
    Machine machine;
    const auto timeAt = [&](std::uint32_t milliseconds) {
        machine.run({program}, [&] {
            platform::sleepMilliseconds(milliseconds);
            return 0;
        });
        return machine.now();
    };
    EXPECT_EQ(machine.now().dayOfWeek, 6);
    const platform::LocalTime next = timeAt(60000);
    EXPECT_EQ(next.day, 1);
    EXPECT_EQ(next.month, 2);
    EXPECT_EQ(next.hour, 0);
    EXPECT_EQ(next.dayOfWeek, 0);
    const platform::LocalTime later = timeAt(3 * 24 * 3600 * 1000 + 1);
    EXPECT_EQ(later.day, 4);
    EXPECT_EQ(later.milliseconds, 1);
    EXPECT_EQ(later.dayOfWeek, 3);
}

TEST(Ends, EachLeavesItsStatus) {
    Machine machine;
    EXPECT_EQ(machine.run({program}, [] { return 5; }).status, 5U);
    const ProcessEnd exited = machine.run({program}, []() -> int { platform::exitProcess(-1); });
    EXPECT_EQ(exited.kind, EndKind::exited);
    EXPECT_EQ(exited.status, 0xFFFFFFFFU);
    const ProcessEnd fault = machine.run({program}, []() -> int { platform::endWithAccessViolation(); });
    EXPECT_EQ(fault.kind, EndKind::accessViolation);
    EXPECT_EQ(fault.status, 0xC0000005U);
}

TEST(Ends, OnlyTheNormalOneWritesBuffersOut) {
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

TEST(Ends, AProcessIsStoppedInPlaceOfAnOperation) {
    Machine machine;
    machine.writeFile(L"C:\\f", "");
    std::string reached;
    machine.stopDeadAt(4);
    const ProcessEnd end = machine.run({program}, [&] {
        platform::Stream* stream = platform::openStream(L"C:\\f", "r+");
        platform::lockStream(stream, 100);
        platform::writeStream(stream, "text");
        reached = "third";
        platform::deleteFile(L"C:\\f");
        reached = "fourth";
        return 0;
    });
    EXPECT_EQ(end.kind, EndKind::stoppedDead);
    EXPECT_EQ(reached, "third");
    EXPECT_EQ(machine.readFile(L"C:\\f"), "");
    machine.stopDeadAt(0);
    machine.run({program}, [&] {
        EXPECT_TRUE(platform::lockStream(platform::openStream(L"C:\\f", "r+"), 100));
        return 0;
    });
}

TEST(Faults, StrikeTheOperationThatIsMeant) {
    Machine machine;
    simulation::Fault fault;
    fault.operation = "createDirectory";
    fault.argumentEndsWith = L"\\B";
    fault.nth = 2;
    fault.error = platform::errorDiskFull;
    machine.inject(fault);
    machine.run({program}, [] {
        EXPECT_TRUE(platform::createDirectory(L"C:\\a"));
        EXPECT_TRUE(platform::createDirectory(L"C:\\b"));
        EXPECT_FALSE(platform::createDirectory(L"C:\\a\\b"));
        EXPECT_EQ(platform::lastError(), platform::errorDiskFull);
        EXPECT_TRUE(platform::createDirectory(L"C:\\a\\b"));
        return 0;
    });
}

TEST(Faults, MayLastAndMayStrikeAnyOperation) {
    Machine machine;
    simulation::Fault fault;
    fault.nth = 2;
    fault.fromThenOn = true;
    machine.inject(fault);
    machine.run({program}, [] {
        EXPECT_TRUE(platform::createDirectory(L"C:\\a"));
        EXPECT_FALSE(platform::createDirectory(L"C:\\b"));
        EXPECT_FALSE(platform::fileAttributes(L"C:\\a"));
        return 0;
    });
    machine.clearFaults();
    EXPECT_FALSE(machine.exists(L"C:\\b"));
    machine.run({program}, [] {
        EXPECT_TRUE(platform::fileAttributes(L"C:\\a"));
        return 0;
    });
}

TEST(Operations, AreRecordedWithTheirArgument) {
    Machine machine;
    const ProcessId id = machine.start({program}, [] {
        platform::createDirectory(L"C:\\a");
        return 0;
    });
    machine.waitFor(id);
    ASSERT_EQ(machine.operationCount(), 1U);
    EXPECT_EQ(machine.operations()[0].name, "createDirectory");
    EXPECT_EQ(machine.operations()[0].argument, L"C:\\a");
    EXPECT_EQ(machine.operations()[0].process, id);
}

TEST(Children, InheritTheEnvironmentAndRunByThemselves) {
    Machine machine;
    std::vector<std::wstring> words;
    std::optional<std::wstring> inherited;
    machine.installProgram(L"C:\\child.exe", [&] {
        words = platform::commandLineArguments();
        inherited = platform::environmentValue(L"mine");
        platform::sleepMilliseconds(100);
        return 9;
    });
    machine.run({program}, [] {
        platform::putEnvironmentText(L"MINE=1");
        platform::ChildProcess child;
        EXPECT_TRUE(platform::createProcess(L"\"C:\\child.exe\" \"a b\" c\\\"d", {}, child));
        EXPECT_EQ(platform::processExitCode(child.process), platform::exitCodeStillActive);
        EXPECT_FALSE(platform::hasProcessEnded(child.process));
        platform::sleepMilliseconds(200);
        EXPECT_EQ(platform::processExitCode(child.process), 9U);
        EXPECT_TRUE(platform::hasProcessEnded(child.process));
        return 0;
    });
    EXPECT_EQ(words, (std::vector<std::wstring>{L"C:\\child.exe", L"a b", L"c\"d"}));
    EXPECT_EQ(inherited, L"1");
}

TEST(Semaphores, LiveAsLongAsSomebodyHoldsThem) {
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

TEST(Disk, SpaceRunsOutAndComesBack) {
    Machine machine;
    machine.setFreeSpace(10);
    machine.run({program}, [] {
        platform::Stream* stream = platform::openStream(L"C:\\f", "w");
        EXPECT_TRUE(platform::writeStream(stream, "12345678"));
        EXPECT_TRUE(platform::flushStream(stream));
        EXPECT_TRUE(platform::writeStream(stream, "90a"));
        EXPECT_FALSE(platform::flushStream(stream));
        EXPECT_EQ(platform::lastError(), platform::errorDiskFull);
        platform::closeStream(stream);
        EXPECT_FALSE(platform::copyFile(L"C:\\f", L"C:\\g", true));
        EXPECT_TRUE(platform::deleteFile(L"C:\\f"));
        return 0;
    });
    EXPECT_FALSE(machine.exists(L"C:\\g"));
}

}  // namespace
