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
        outcome = runQuietly([&] {
            zellauncher::lockFilePath = lockFile;
            zellauncher::endpointFilePath = endpoint;
            zellauncher::mainRecordPath = mainRecord;
            zellauncher::openLockFile();
            zellauncher::isMainProcess = asMain;
            const std::uint64_t begin = machine.elapsedMilliseconds();
            zellauncher::recordPlatformProcess(number);
            waited = machine.elapsedMilliseconds() - begin;
        });
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
    simulation::Fault fault;
    fault.operation = "writeStream";
    fault.argumentEndsWith = L".zel.main";
    machine.inject(fault);
    record(2);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to write pid to zel.main file\n");
    EXPECT_EQ(machine.readFile(lockFile), "2          ");
}

TEST_F(ProcessRecord, AFailureAtTheLockFileIsADebugLine) {
    machine.writeFile(endpoint, "x");
    simulation::Fault fault;
    fault.operation = "writeStream";
    fault.argumentEndsWith = L".zel.lock";
    machine.inject(fault);
    outcome = run([&] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::endpointFilePath = endpoint;
        zellauncher::mainRecordPath = mainRecord;
        zellauncher::openLockFile();
        zellauncher::isMainProcess = true;
        zellauncher::recordPlatformProcess(5);
    });
    EXPECT_EQ(outcome.log, "ZLNCH0051E: Unable to write to platform lock file\n");
    EXPECT_EQ(machine.readFile(mainRecord), "5     ");
}

}  // namespace
