#include "instance/process_record.h"

#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::mainRecord;
using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::failing;

enum class Role { mainProcess, daemon };

class ProcessRecord : public Workspace {
protected:
    std::uint64_t waited = 0;

    void record(std::uint32_t processId, Role role = Role::mainProcess) {
        outcome = runQuietly([&] { openAndRecord(processId, role); });
    }
    void recordWithDebugFlag(std::uint32_t processId) {
        outcome = run([&] { openAndRecord(processId, Role::mainProcess); });
    }
    void failOnce(const std::string& operation, const std::wstring& file) {
        machine.inject(failing(operation, platform::errorAccessDenied, file));
    }

private:
    void openAndRecord(std::uint32_t processId, Role role) {
        usePaths();
        zellauncher::openLockFile();
        zellauncher::isMainProcess = role == Role::mainProcess;
        const std::uint64_t begin = machine.elapsedMilliseconds();
        zellauncher::recordPlatformProcess(processId);
        waited = machine.elapsedMilliseconds() - begin;
    }
};

// The platform has published its pipe already.
class ProcessRecordWithPipe : public ProcessRecord {
protected:
    ProcessRecordWithPipe() { machine.writeFile(pipeFile, "x"); }
};

TEST_F(ProcessRecordWithPipe, ProcessIdGoesToBothFiles) {
    record(123);
    EXPECT_EQ(machine.readFile(lockFile), "123          ");
    EXPECT_EQ(machine.readFile(mainRecord), "123     ");
    EXPECT_EQ(waited, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ProcessRecordWithPipe, SuccessIsNotLogged) {
    recordWithDebugFlag(123);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ProcessRecordWithPipe, ShorterProcessIdOverwritesALongerOne) {
    machine.writeFile(mainRecord, "1234567890     ");
    machine.writeFile(lockFile, "1234567890          ");
    record(7);
    EXPECT_EQ(machine.readFile(mainRecord), "7     ");
    EXPECT_EQ(machine.readFile(lockFile), "7          " + std::string(9, ' '));
}

TEST_F(ProcessRecordWithPipe, BlankedLockFileIsOverwritten) {
    machine.writeFile(lockFile, std::string(14, ' '));
    record(42);
    EXPECT_EQ(machine.readFile(lockFile), "42            ");
}

TEST_F(ProcessRecordWithPipe, LargeProcessIdIsSignedInTheLockFile) {
    record(0xFFFFFFFE);
    EXPECT_EQ(machine.readFile(lockFile), "-2          ");
    EXPECT_EQ(machine.readFile(mainRecord), "4294967294     ");
}

TEST_F(ProcessRecordWithPipe, FailureToCloseTheMainRecordIsLogged) {
    failOnce("closeStream", L".zel.main");
    record(1);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to write pid to zel.main file\n");
}

TEST_F(ProcessRecordWithPipe, FailureToFlushTheLockFileIsNotLogged) {
    failOnce("flushStream", L".zel.lock");
    recordWithDebugFlag(2);
    EXPECT_EQ(outcome.log, "");
}

// writeMainRecord forces debug lines; the debug line about the lock file comes after it.
TEST_F(ProcessRecordWithPipe, DebugFlagIsRestored) {
    failOnce("writeStream", L".zel.lock");
    record(1);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ProcessRecordWithPipe, DaemonWritesNothing) {
    record(123, Role::daemon);
    EXPECT_EQ(machine.readFile(lockFile), "");
    EXPECT_FALSE(machine.exists(mainRecord));
}

TEST_F(ProcessRecord, PipeFileIsWaitedForAtMostFifteenSeconds) {
    record(1);
    EXPECT_EQ(waited, 15000U);
    machine.start({L"C:\\eclipse.exe"}, [] {
        platform::sleepMilliseconds(4500);
        platform::closeStream(platform::openStream(pipeFile, "w"));
        return 0;
    });
    record(1);
    EXPECT_EQ(waited, 5000U);
}

TEST_F(ProcessRecordWithPipe, FailureAtTheMainRecordIsLogged) {
    machine.makeDirectory(mainRecord);
    record(1);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to open zel.main file\n");
    EXPECT_EQ(machine.readFile(lockFile), "1          ");
    machine.remove(mainRecord);
    failOnce("writeStream", L".zel.main");
    record(2);
    EXPECT_EQ(outcome.log, "ZLNCH00XXI: Unable to write pid to zel.main file\n");
    EXPECT_EQ(machine.readFile(lockFile), "2          ");
}

TEST_F(ProcessRecordWithPipe, FailureAtTheLockFileIsADebugLine) {
    failOnce("writeStream", L".zel.lock");
    recordWithDebugFlag(5);
    EXPECT_EQ(outcome.log, "ZLNCH0051E: Unable to write to platform lock file\n");
    EXPECT_EQ(machine.readFile(mainRecord), "5     ");
}

}  // namespace
