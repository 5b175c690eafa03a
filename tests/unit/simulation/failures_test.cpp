#include <gtest/gtest.h>

#include <algorithm>

#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "simulation/machine.h"

namespace {

using simulation::EndKind;
using simulation::Machine;
using simulation::Operation;
using simulation::ProcessEnd;
using simulation::ProcessId;
using simulation::UnflushedData;

constexpr const wchar_t* program = L"C:\\program.exe";
constexpr const wchar_t* file = L"C:\\file";

bool canGive(const Operation& operation, platform::ErrorCode error) {
    const std::vector<platform::ErrorCode> errors = simulation::errorsOf(operation);
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

Operation operationOf(const std::string& name, bool writes = false) {
    Operation operation;
    operation.name = name;
    operation.writes = writes;
    return operation;
}

TEST(Errors, OnlyWhatNeedsRoomFindsADiskFull) {
    EXPECT_TRUE(canGive(operationOf("openStream", true), platform::errorDiskFull));
    EXPECT_FALSE(canGive(operationOf("openStream"), platform::errorDiskFull));
    EXPECT_TRUE(simulation::errorsOf(operationOf("tickCount")).empty());
}

TEST(Errors, APipeIsBusyAndAFileIsNot) {
    Operation pipe = operationOf("createFile");
    pipe.argument = L"\\\\.\\pipe\\a";
    EXPECT_TRUE(canGive(pipe, 231));
    EXPECT_FALSE(canGive(operationOf("createFile"), 231));
}

TEST(Errors, OpeningForWritingNeedsRoom) {
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
    std::vector<bool> needs;
    for (const Operation& operation : machine.operations()) {
        needs.push_back(operation.writes);
    }
    EXPECT_EQ(needs, (std::vector<bool>{false, false, true, false, true, true, true}));
}

TEST(Faults, OfOneProcessSpareTheOthers) {
    Machine machine;
    machine.writeFile(file, "");
    bool first = false;
    bool second = false;
    const ProcessId spared = machine.start({program}, [&] {
        first = platform::fileAttributes(file).has_value();
        return 0;
    });
    simulation::Fault fault;
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

TEST(Faults, StrikeOnlyWhereTheSystemGivesThem) {
    Machine machine;
    simulation::Fault fault;
    fault.error = platform::errorDiskFull;
    fault.fromThenOn = true;
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

// What is on the disk of a file that was emptied and got ten bytes before its process was stopped dead.
std::string afterStop(UnflushedData data) {
    Machine machine;
    machine.writeFile(file, "old");
    const ProcessId id = machine.start({program}, [] {
        platform::Stream* stream = platform::openStream(file, "w");
        platform::writeStream(stream, "0123456789");
        platform::tickCount();
        return 0;
    });
    machine.stopDead({3, id, data});
    EXPECT_EQ(machine.waitFor(id).kind, EndKind::stoppedDead);
    return *machine.readFile(file);
}

TEST(Stops, LoseKeepOrCutWhatIsBuffered) {
    EXPECT_EQ(afterStop(UnflushedData::lost), "");
    EXPECT_EQ(afterStop(UnflushedData::kept), "0123456789");
    EXPECT_EQ(afterStop(UnflushedData::partlyWritten), "01234");
}

TEST(Stops, CutACopyThatIsBeingMade) {
    for (const UnflushedData data :
         {UnflushedData::lost, UnflushedData::kept, UnflushedData::partlyWritten}) {
        Machine machine;
        machine.writeFile(file, "0123456789");
        bool isPassed = false;
        const ProcessId id = machine.start({program}, [&] {
            platform::copyFile(file, L"C:\\copy", true);
            platform::tickCount();
            isPassed = true;
            return 0;
        });
        machine.stopDead({1, id, data});
        EXPECT_EQ(machine.waitFor(id).kind, EndKind::stoppedDead);
        EXPECT_FALSE(isPassed);
        const bool isCut = data == UnflushedData::partlyWritten;
        EXPECT_EQ(machine.readFile(L"C:\\copy"), isCut ? std::optional<std::string>("01234") : std::nullopt);
    }
}

TEST(Stops, CountTheOperationsOfOneProcess) {
    Machine machine;
    const ProcessId other = machine.start({program}, [] {
        for (int i = 0; i < 10; ++i) {
            platform::tickCount();
        }
        return 0;
    });
    int made = 0;
    const ProcessId stopped = machine.start({program}, [&] {
        for (; made < 10; ++made) {
            platform::tickCount();
        }
        return 0;
    });
    machine.stopDead({4, stopped, UnflushedData::lost});
    machine.runUntilIdle(1000);
    EXPECT_EQ(machine.waitFor(other).kind, EndKind::exited);
    EXPECT_EQ(machine.waitFor(stopped).kind, EndKind::stoppedDead);
    EXPECT_EQ(made, 3);
}

TEST(Bounds, AProgramThatNeverEndsIsEnded) {
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

TEST(Bounds, WhoWaitsForEverStillRunsWhenTheTimeIsOver) {
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

TEST(Disks, LoseWithThePowerWhatProgramsWrote) {
    Machine machine;
    machine.writeFile(file, "old");
    machine.run({program}, [] {
        platform::copyFile(file, L"C:\\copy", true);
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

TEST(Disks, KeepWhatWasFlushedWhenThePowerFails) {
    Machine machine;
    machine.writeFile(file, "old");
    machine.run({program}, [] {
        platform::copyFile(file, L"C:\\copy", true);
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

TEST(Disks, ArePutBackAsTheyWere) {
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
    EXPECT_EQ(other.readFile(L"C:\\a\\b"), "before");  // no copy shares anything with another
}

}  // namespace
