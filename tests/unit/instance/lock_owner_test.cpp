#include "instance/lock_owner.h"

#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::endpoint;
using instancetest::lockFile;
using instancetest::Workspace;
using zellauncher::SemaphoreUse;

class LockOwner : public Workspace {
protected:
    bool isAlive() {
        bool answer = false;
        outcome = run([&] {
            zellauncher::lockFilePath = lockFile;
            zellauncher::endpointFilePath = endpoint;
            if (machine.exists(lockFile)) {
                zellauncher::openLockFile();
            }
            answer = zellauncher::isLockOwnerAlive(L"eclipse.exe", SemaphoreUse::keepOpen);
            owner = zellauncher::lockOwnerPid;
        });
        return answer;
    }
    std::wstring readName(const std::string& content) {
        std::wstring name = L"unchanged";
        machine.writeFile(endpoint, content);
        outcome = run([&] {
            zellauncher::endpointFilePath = endpoint;
            const bool isRead = zellauncher::readPipeName(name);
            EXPECT_EQ(isRead, name != L"unchanged");
        });
        return name;
    }
};

TEST_F(LockOwner, WithoutALockFileNobodyIsAlive) {
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(LockOwner, ABlankRecordIsNoOwner) {
    for (const std::string& content : {std::string(), std::string(14, ' '), std::string("\r\n")}) {
        machine.writeFile(lockFile, content);
        EXPECT_FALSE(isAlive());
        EXPECT_EQ(outcome.log,
                  "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
                  "ZLNCH0091E: No data in the platform lock file.\n");
    }
}

TEST_F(LockOwner, ATextThatIsNoNumberIsFatal) {
    machine.writeFile(lockFile, "abc");
    isAlive();
    expectFatal("ZLNCH0092E: Error reading platform lock file.");
    machine.writeFile(lockFile, " -");
    isAlive();
    expectFatal("ZLNCH0092E: Error reading platform lock file.");
}

TEST_F(LockOwner, ARecordThatCannotBeReadIsNoOwner) {
    machine.writeFile(lockFile, "4711");
    fail("readStream", platform::errorLockViolation);
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0091E: No data in the platform lock file.");
    EXPECT_EQ(owner, 0);
}

TEST_F(LockOwner, ItsProgressIsForDebugging) {
    machine.writeFile(lockFile, "");
    outcome = runQuietly([] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::openLockFile();
        EXPECT_FALSE(zellauncher::isLockOwnerAlive(L"", SemaphoreUse::keepOpen));
    });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(LockOwner, TheNumberIsReadWhateverTheAnswer) {
    machine.writeFile(lockFile, "  -12x");
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(owner, -12);
    machine.writeFile(lockFile, "99999999999999999999");
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(owner, 2147483647);
}

TEST_F(LockOwner, OnlyTheSemaphoreIsASignOfLife) {
    machine.writeFile(lockFile, "4711");
    EXPECT_FALSE(isAlive());
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    EXPECT_FALSE(isAlive());
    machine.createSemaphore(L"Global\\abcsem", true);
    EXPECT_TRUE(isAlive());
}

TEST_F(LockOwner, ANameWithoutABackslashIsNobodys) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(endpoint, "abc\r\n");
    machine.createSemaphore(L"Globalabcsem", true);
    machine.createSemaphore(L"Global\\abcsem", true);
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, TheSemaphoreIsCalledAfterTheLastComponentAlone) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(endpoint, "\\\\.\\pipe\\a\\b/c\r\n");
    machine.createSemaphore(L"Global\\a\\b/csem", true);
    EXPECT_FALSE(isAlive());
    machine.createSemaphore(L"Global\\b/csem", true);
    EXPECT_TRUE(isAlive());
    machine.writeFile(endpoint, "\\\\.\\pipe\\\r\n");
    machine.createSemaphore(L"Global\\sem", true);
    EXPECT_TRUE(isAlive());
}

TEST_F(LockOwner, ASemaphoreThatMayNotBeOpenedIsFatal) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    machine.createSemaphore(L"Global\\abcsem", false);
    isAlive();
    expectFatal(
        "ZLNCH0303E: Unable to access process. Is it elevated? ' Failed with error 5: Access is denied.");
}

TEST_F(LockOwner, AnyOtherFailureIsNoSignOfLife) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    machine.createSemaphore(L"Global\\abcsem", true);
    fail("openSemaphore", platform::errorInvalidHandle);
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, AnEndpointThatCannotBeReadHasNoName) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    machine.createSemaphore(L"Global\\abcsem", true);
    machine.refuse(endpoint, platform::errorAccessDenied);
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, ALookThatClosesKeepsNobodyAlive) {
    const simulation::ProcessId old = startPlatform(1000);
    runQuietly([&] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::endpointFilePath = endpoint;
        zellauncher::openLockFile();
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(L"", SemaphoreUse::closeAtOnce));
        platform::sleepMilliseconds(2000);
        EXPECT_FALSE(zellauncher::isLockOwnerAlive(L"", SemaphoreUse::closeAtOnce));
    });
    EXPECT_FALSE(machine.isRunning(old));
}

TEST_F(LockOwner, ALookThatKeepsItsHandleKeepsTheSignOfLife) {
    startPlatform(1000);
    runQuietly([&] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::endpointFilePath = endpoint;
        zellauncher::openLockFile();
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(L"", SemaphoreUse::keepOpen));
        platform::sleepMilliseconds(2000);
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(L"", SemaphoreUse::keepOpen));
    });
}

TEST_F(LockOwner, TheNameIsTheFirstLineThatIsNotBlank) {
    EXPECT_EQ(readName("\\\\.\\pipe\\a b\r\nsecond"), L"\\\\.\\pipe\\a b");
    EXPECT_EQ(readName("\r\n \r\n  name\r\n"), L"name");
    EXPECT_EQ(readName(std::string(3000, 'x')), std::wstring(2024, L'x'));
    EXPECT_EQ(readName("n\xE9"), L"n\u00E9");
    EXPECT_EQ(readName(""), L"unchanged");
    EXPECT_EQ(readName("\r\n"), L"unchanged");
}

TEST_F(LockOwner, ANameIsReadOnceForTheWholeProcess) {
    machine.writeFile(endpoint, "first");
    run([&] {
        zellauncher::endpointFilePath = endpoint;
        std::wstring name;
        EXPECT_TRUE(zellauncher::readPipeName(name));
        machine.remove(endpoint);
        name.clear();
        EXPECT_TRUE(zellauncher::readPipeName(name));
        EXPECT_EQ(name, L"first");
    });
}

TEST_F(LockOwner, AnEmptyEndpointIsLookedAtAgain) {
    machine.writeFile(endpoint, "");
    run([&] {
        zellauncher::endpointFilePath = endpoint;
        std::wstring name;
        EXPECT_FALSE(zellauncher::readPipeName(name));
        machine.writeFile(endpoint, "later");
        EXPECT_TRUE(zellauncher::readPipeName(name));
        EXPECT_EQ(name, L"later");
    });
}

}  // namespace
