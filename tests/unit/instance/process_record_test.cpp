#include "instance/process_record.h"

#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::endpoint;
using instancetest::lockFile;
using instancetest::mainRecord;
using instancetest::Workspace;

class ProcessRecord : public Workspace {
protected:
    std::uint64_t waited = 0;

    void record(std::uint32_t number, bool asMain = true) {
        outcome = runQuietly([&] { openAndRecord(number, asMain); });
    }
    void recordWithDebug(std::uint32_t number) {
        outcome = run([&] { openAndRecord(number, true); });
    }
    void refuse(const std::string& operation, const std::wstring& file) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = file;
        machine.inject(fault);
    }

private:
    void openAndRecord(std::uint32_t number, bool asMain) {
        zellauncher::lockFilePath = lockFile;
        zellauncher::endpointFilePath = endpoint;
        zellauncher::mainRecordPath = mainRecord;
        zellauncher::openLockFile();
        zellauncher::isMainProcess = asMain;
        const std::uint64_t begin = machine.elapsedMilliseconds();
        zellauncher::recordPlatformProcess(number);
        waited = machine.elapsedMilliseconds() - begin;
    }
};

TEST_F(ProcessRecord, PublishesTheNumberInBothFiles) {
    machine.writeFile(endpoint, "x");
    record(123);
    EXPECT_EQ(machine.readFile(lockFile), "123          ");
    EXPECT_EQ(machine.readFile(mainRecord), "123     ");
    EXPECT_EQ(waited, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ProcessRecord, AShorterNumberCoversALongerOne) {
    machine.writeFile(endpoint, "x");
    machine.writeFile(mainRecord, "1234567890     ");
    machine.writeFile(lockFile, "1234567890          ");
    record(7);
    EXPECT_EQ(machine.readFile(mainRecord), "7     ");
    EXPECT_EQ(machine.readFile(lockFile), "7          " + std::string(9, ' '));
}

TEST_F(ProcessRecord, ABlankedRecordIsWrittenOver) {
    machine.writeFile(endpoint, "x");
    machine.writeFile(lockFile, std::string(14, ' '));
    record(42);
    EXPECT_EQ(machine.readFile(lockFile), "42            ");
}

TEST_F(ProcessRecord, ALargeNumberIsSignedInTheLockFileAlone) {
    machine.writeFile(endpoint, "x");
    record(0xFFFFFFFE);
    EXPECT_EQ(machine.readFile(lockFile), "-2          ");
    EXPECT_EQ(machine.readFile(mainRecord), "4294967294     ");
}

TEST_F(ProcessRecord, AnEndpointIsLookedForByItsPlainPath) {
    machine.writeFile(endpoint, "x");
    runQuietly([&] {
        zellauncher::endpointFilePath = std::wstring(L"\\\\?\\") + endpoint;
        zellauncher::recordPlatformProcess(1);
    });
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_NE(operation.argument, std::wstring(L"\\\\?\\") + endpoint);
    }
}

TEST_F(ProcessRecord, WhatTheDiskRefusesAtTheEndIsToldToo) {
    machine.writeFile(endpoint, "x");
    refuse("closeStream", L".zel.main");
    record(1);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to write pid to zel.main file\n");
    refuse("flushStream", L".zel.lock");
    recordWithDebug(2);
    EXPECT_EQ(outcome.log, "ZLNCH0051E: Unable to write to platform lock file\n");
}

TEST_F(ProcessRecord, TheDebugFlagIsRestored) {
    machine.writeFile(endpoint, "x");
    refuse("writeStream", L".zel.lock");
    record(1);
    EXPECT_EQ(outcome.log, "");  // the line about the lock file is for debugging
}

TEST_F(ProcessRecord, ADaemonOnlyWaits) {
    machine.writeFile(endpoint, "x");
    record(123, false);
    EXPECT_EQ(machine.readFile(lockFile), "");
    EXPECT_FALSE(machine.exists(mainRecord));
}

TEST_F(ProcessRecord, WaitsForTheEndpointAtMostFifteenSeconds) {
    record(1);
    EXPECT_EQ(waited, 15000U);
    machine.start({L"C:\\eclipse.exe"}, [] {
        platform::sleepMilliseconds(4500);
        platform::closeStream(platform::openStream(endpoint, "w"));
        return 0;
    });
    record(1);
    EXPECT_EQ(waited, 5000U);
}

TEST_F(ProcessRecord, FailuresAreLinesInTheLog) {
    machine.writeFile(endpoint, "x");
    machine.makeDirectory(mainRecord);
    record(1);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to open zel.main file\n");
    EXPECT_EQ(machine.readFile(lockFile), "1          ");
    machine.remove(mainRecord);
    refuse("writeStream", L".zel.main");
    record(2);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to write pid to zel.main file\n");
    EXPECT_EQ(machine.readFile(lockFile), "2          ");
}

TEST_F(ProcessRecord, AFailureAtTheLockFileIsADebugLine) {
    machine.writeFile(endpoint, "x");
    refuse("writeStream", L".zel.lock");
    recordWithDebug(5);
    EXPECT_EQ(outcome.log, "ZLNCH0051E: Unable to write to platform lock file\n");
    EXPECT_EQ(machine.readFile(mainRecord), "5     ");
}

}  // namespace
