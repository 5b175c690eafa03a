#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "simulation/machine.h"
#include "support/faults.h"

// Injected faults, stopped processes, limits, and the simulated disks.
namespace {

using launchertest::failing;
using launchertest::failingFrom;
using platform::ExistingTarget;
using simulation::EndKind;
using simulation::Machine;
using simulation::Operation;
using simulation::ProcessEnd;
using simulation::ProcessId;
using simulation::Stop;
using simulation::UnflushedData;

constexpr platform::ErrorCode errorPipeBusy = 231;
constexpr const wchar_t* program = L"C:\\program.exe";
constexpr const wchar_t* file = L"C:\\file";

Operation operationOf(const std::string& name) {
    Operation operation;
    operation.name = name;
    return operation;
}

Operation writingOperation(const std::string& name) {
    Operation operation = operationOf(name);
    operation.writes = true;
    return operation;
}

bool canFailWith(const Operation& operation, platform::ErrorCode error) {
    const std::vector<platform::ErrorCode> errors = simulation::errorsOf(operation);
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

TEST(Errors, DiskFullNeedsAWritingOperation) {
    EXPECT_TRUE(canFailWith(writingOperation("openStream"), platform::errorDiskFull));
    EXPECT_FALSE(canFailWith(operationOf("openStream"), platform::errorDiskFull));
    EXPECT_TRUE(simulation::errorsOf(operationOf("tickCount")).empty());
}

TEST(Errors, OnlyPipesAreBusy) {
    Operation pipe = operationOf("createFile");
    pipe.argument = L"\\\\.\\pipe\\a";
    EXPECT_TRUE(canFailWith(pipe, errorPipeBusy));
    EXPECT_FALSE(canFailWith(operationOf("createFile"), errorPipeBusy));
}

TEST(Errors, OpeningForWritingAndFlushingBufferedDataWrite) {
    Machine machine;
    machine.writeFile(file, "");
    machine.run({program}, [] {
        platform::closeStream(platform::openStream(file, "r"));
        platform::Stream* stream = platform::openStream(file, "w");
        platform::closeStream(stream);
        stream = platform::openStream(file, "w");
        platform::writeStream(stream, "x");
        platform::closeStream(stream);
        return 0;
    });
    std::vector<bool> writes;
    for (const Operation& operation : machine.operations()) {
        writes.push_back(operation.writes);
    }
    EXPECT_EQ(writes, (std::vector<bool>{false, false, true, false, true, true, true}));
}

TEST(Faults, FaultOfOneProcessSparesOthers) {
    Machine machine;
    machine.writeFile(file, "");
    bool first = false;
    bool second = false;
    const ProcessId spared = machine.start({program}, [&] {
        first = platform::fileAttributes(file).has_value();
        return 0;
    });
    simulation::Fault fault = failing({}, platform::errorAccessDenied);
    fault.process = machine.start({program}, [&] {
        second = platform::fileAttributes(file).has_value();
        return 0;
    });
    machine.inject(fault);
    machine.runUntilIdle(1000);
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    for (const Operation& operation : machine.operations()) {
        EXPECT_EQ(operation.fault,
                  operation.process == spared ? platform::errorSuccess : platform::errorAccessDenied);
    }
}

TEST(Faults, PossibleErrorsOnlySparesOtherOperations) {
    Machine machine;
    simulation::Fault fault = failingFrom({}, platform::errorDiskFull);
    fault.onlyWherePossible = true;
    machine.inject(fault);
    machine.writeFile(file, "x");
    machine.run({program}, [] {
        EXPECT_TRUE(platform::fileAttributes(file));
        EXPECT_FALSE(platform::createDirectory(L"C:\\directory"));
        EXPECT_EQ(platform::lastError(), platform::errorDiskFull);
        return 0;
    });
}

TEST(Faults, FaultSelectsNameArgumentAndCount) {
    Machine machine;
    machine.inject(failing("createDirectory", platform::errorDiskFull, L"\\B", 2));
    machine.run({program}, [] {
        EXPECT_TRUE(platform::createDirectory(L"C:\\a"));
        EXPECT_TRUE(platform::createDirectory(L"C:\\b"));
        EXPECT_FALSE(platform::createDirectory(L"C:\\a\\b"));
        EXPECT_EQ(platform::lastError(), platform::errorDiskFull);
        EXPECT_TRUE(platform::createDirectory(L"C:\\a\\b"));
        return 0;
    });
}

TEST(Faults, LastingFaultEndsWhenCleared) {
    Machine machine;
    machine.inject(failingFrom({}, platform::errorAccessDenied, {}, 2));
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

TEST(Operations, OperationIsRecordedWithItsArgument) {
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

TEST(Stops, StopReplacesTheOperationAndReleasesLocks) {
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

// The content of a file whose process was stopped after it had emptied the file and buffered ten bytes.
std::string contentAfterStop(UnflushedData data) {
    Machine machine;
    machine.writeFile(file, "old");
    const ProcessId id = machine.start({program}, [] {
        platform::Stream* stream = platform::openStream(file, "w");
        platform::writeStream(stream, "0123456789");
        platform::tickCount();
        return 0;
    });
    machine.stopDead(Stop{.nth = 3, .process = id, .data = data});
    EXPECT_EQ(machine.waitFor(id).kind, EndKind::stoppedDead);
    return *machine.readFile(file);
}

TEST(Stops, BufferedDataIsLostKeptOrCut) {
    EXPECT_EQ(contentAfterStop(UnflushedData::lost), "");
    EXPECT_EQ(contentAfterStop(UnflushedData::kept), "0123456789");
    EXPECT_EQ(contentAfterStop(UnflushedData::partlyWritten), "01234");
}

TEST(Stops, CopyIsCutOnlyIfPartlyWritten) {
    for (const UnflushedData data :
         {UnflushedData::lost, UnflushedData::kept, UnflushedData::partlyWritten}) {
        Machine machine;
        machine.writeFile(file, "0123456789");
        bool isPassed = false;
        const ProcessId id = machine.start({program}, [&] {
            platform::copyFile(file, L"C:\\copy", ExistingTarget::isFailure);
            platform::tickCount();
            isPassed = true;
            return 0;
        });
        machine.stopDead(Stop{.nth = 1, .process = id, .data = data});
        EXPECT_EQ(machine.waitFor(id).kind, EndKind::stoppedDead);
        EXPECT_FALSE(isPassed);
        const bool isCut = data == UnflushedData::partlyWritten;
        EXPECT_EQ(machine.readFile(L"C:\\copy"), isCut ? std::optional<std::string>("01234") : std::nullopt);
    }
}

TEST(Stops, OnlyOperationsOfTheProcessAreCounted) {
    Machine machine;
    const ProcessId other = machine.start({program}, [] {
        for (int i = 0; i < 10; ++i) {
            platform::tickCount();
        }
        return 0;
    });
    int count = 0;
    const ProcessId stopped = machine.start({program}, [&] {
        for (; count < 10; ++count) {
            platform::tickCount();
        }
        return 0;
    });
    machine.stopDead(Stop{.nth = 4, .process = stopped, .data = UnflushedData::lost});
    machine.runUntilIdle(1000);
    EXPECT_EQ(machine.waitFor(other).kind, EndKind::exited);
    EXPECT_EQ(machine.waitFor(stopped).kind, EndKind::stoppedDead);
    EXPECT_EQ(count, 3);
}

TEST(Bounds, EndlessProgramIsEnded) {
    Machine machine;
    machine.limitOperations(100);
    const ProcessEnd end = machine.run({program}, [] {
        while (true) {
            platform::tickCount();
        }
        return 0;
    });
    EXPECT_EQ(end.kind, EndKind::ranAway);
}

TEST(Bounds, WaitEndsAtItsTimeLimit) {
    Machine machine;
    const ProcessId id = machine.start({program}, [] {
        while (true) {
            platform::sleepMilliseconds(1000);
        }
        return 0;
    });
    EXPECT_FALSE(machine.waitFor(id, 5000));
    EXPECT_TRUE(machine.isRunning(id));
    EXPECT_LE(machine.elapsedMilliseconds(), 5000U);
}

TEST(Disks, SpaceRunsOutAndComesBack) {
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
        EXPECT_FALSE(platform::copyFile(L"C:\\f", L"C:\\g", ExistingTarget::isFailure));
        EXPECT_TRUE(platform::deleteFile(L"C:\\f"));
        return 0;
    });
    EXPECT_FALSE(machine.exists(L"C:\\g"));
}

TEST(Disks, PowerLossUndoesUnflushedWrites) {
    Machine machine;
    machine.writeFile(file, "old");
    machine.run({program}, [] {
        platform::copyFile(file, L"C:\\copy", ExistingTarget::isFailure);
        platform::moveFile(L"C:\\copy", L"C:\\moved", 0);
        platform::Stream* stream = platform::openStream(file, "a+");
        platform::writeStream(stream, " and new");
        platform::closeStream(stream);
        return 0;
    });
    EXPECT_EQ(machine.readFile(file), "old and new");
    machine.losePower();
    EXPECT_EQ(machine.readFile(file), "old");
    EXPECT_EQ(machine.readFile(L"C:\\moved"), "");
}

TEST(Disks, PowerLossKeepsFlushedWrites) {
    Machine machine;
    machine.writeFile(file, "old");
    machine.run({program}, [] {
        platform::copyFile(file, L"C:\\copy", ExistingTarget::isFailure);
        EXPECT_TRUE(platform::flushFile(L"C:\\copy"));
        platform::moveFile(L"C:\\copy", L"C:\\moved", 0);
        platform::Stream* stream = platform::openStream(file, "a+");
        platform::writeStream(stream, " and new");
        platform::flushStream(stream);
        EXPECT_TRUE(platform::flushFile(file));
        platform::writeStream(stream, " and newer");
        platform::closeStream(stream);
        return 0;
    });
    EXPECT_EQ(machine.readFile(file), "old and new and newer");
    machine.losePower();
    EXPECT_EQ(machine.readFile(file), "old and new");
    EXPECT_EQ(machine.readFile(L"C:\\moved"), "old");
}

TEST(Disks, LoadRestoresTheSavedDisks) {
    Machine machine;
    machine.writeFile(L"C:\\a\\b", "before");
    machine.setAttributes(L"C:\\a\\b", platform::attributeReadOnly);
    const simulation::DiskImage image = machine.saveDisks();
    machine.writeFile(L"C:\\a\\b", "after");
    machine.writeFile(L"D:\\c", "new");
    Machine other;
    for (Machine* target : {&machine, &other}) {
        target->loadDisks(image);
        EXPECT_EQ(target->readFile(L"C:\\a\\b"), "before");
        EXPECT_EQ(target->attributes(L"C:\\a\\b"), platform::attributeReadOnly);
        EXPECT_FALSE(target->exists(L"D:\\c"));
    }
    machine.writeFile(L"C:\\a\\b", "after");
    EXPECT_EQ(other.readFile(L"C:\\a\\b"), "before");  // the machines do not share the loaded files
}

}  // namespace
