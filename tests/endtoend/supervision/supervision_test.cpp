#include <windows.h>

#include <tlhelp32.h>

#include "endtoend.h"
#include "program_files.h"

// A locked-down desktop, whose launchers supervise the platform of a user who is no administrator. Under Wine
// every user is one, so CTest runs this program without netapi32.dll: the launcher then cannot read the
// user's groups and assumes an ordinary user.
namespace {

using endtoend::EndToEnd;
using endtoend::Running;
namespace fs = std::filesystem;

bool isRunning(const Running& running) {
    return WaitForSingleObject(running.process, 0) == WAIT_TIMEOUT;
}

void setSuspended(const Running& running, bool isSuspended) {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL isEntry = Thread32First(snapshot, &entry); isEntry != 0;
         isEntry = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == running.processId) {
            HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID);
            isSuspended ? SuspendThread(thread) : ResumeThread(thread);
            CloseHandle(thread);
        }
    }
    CloseHandle(snapshot);
}

class Supervision : public EndToEnd {
protected:
    Supervision() {
        setProperty("install.configuration", "lockdown");
        scriptLines = {"live 60000"};
    }
    ~Supervision() override {
        for (const Running& launcher : launchers) {  // they would start the platform again
            TerminateProcess(launcher.process, 0);
            waitFor(launcher);
        }
    }
    void SetUp() override {
        if (endtoend::isUserAdministrator()) {
            GTEST_SKIP() << "needs a user whom the machine does not list as an administrator";
        }
        if (!whyNoSupervision().empty()) {
            GTEST_SKIP() << whyNoSupervision();
        }
    }

    Running beginSupervised(const endtoend::Arguments& arguments) {
        launchers.push_back(begin(arguments));
        return launchers.back();
    }
    // The processes of the platform's program that run in this install.
    int platforms() const {
        HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
        PROCESSENTRY32W entry{};
        entry.dwSize = sizeof(entry);
        int count = 0;
        for (BOOL isEntry = Process32FirstW(snapshot, &entry); isEntry != 0;
             isEntry = Process32NextW(snapshot, &entry)) {
            count += isOfInstall(entry.th32ProcessID) ? 1 : 0;
        }
        CloseHandle(snapshot);
        return count;
    }

    std::vector<Running> launchers;

private:
    bool isOfInstall(DWORD processId) const {
        const fs::path platform = base / L"win32" / L"x86_64" / L"eclipse.exe";
        HANDLE process = endtoend::openProcessOf(processId, SYNCHRONIZE, {platform});
        if (process == nullptr) {
            return false;
        }
        const bool isRunningProgram = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
        CloseHandle(process);
        return isRunningProgram;
    }
};

TEST_F(Supervision, LockIsHeldUntilARestartedPlatformHasPublished) {
    layOut();
    const Running supervisor = beginSupervised({L"first"});
    const std::string crashed = platformProcessId();
    ASSERT_TRUE(eventually([&] { return isLockFree(); }));
    write(base / L"win32" / L"x86_64" / L"standin.script", "publish-on-request\r\nlive 60000\r\n");
    crashPlatform();
    ASSERT_TRUE(eventually([&] { return fs::exists(workspace() / L".pipe.crashed"); }));
    EXPECT_NE(platformProcessId(), crashed);
    EXPECT_FALSE(isLockFree());
    const Running second = begin({L"second"});
    EXPECT_TRUE(hasComeToTheLock(second));
    askPlatform("publish");
    EXPECT_EQ(waitFor(second), 0U) << log();
    EXPECT_TRUE(endtoend::contains(handedOver(1), L"second"));
    EXPECT_EQ(platforms(), 1);
    EXPECT_FALSE(fs::exists(workspace() / L".pipe.crashed"));
    EXPECT_TRUE(isRunning(supervisor));
}

// The supervisor is stopped meanwhile, so that it looks at its platform late.
TEST_F(Supervision, StartBeforeItSeesTheCrashTakesThePlatformOver) {
    layOut();
    const Running first = beginSupervised({L"first"});
    const std::string crashed = platformProcessId();
    ASSERT_TRUE(eventually([&] { return isLockFree(); }));
    setSuspended(first, true);
    crashPlatform();
    const Running second = beginSupervised({L"second"});
    EXPECT_NE(platformProcessId(), crashed);
    ASSERT_TRUE(eventually([&] { return isLockFree(); }));
    setSuspended(first, false);
    EXPECT_EQ(waitFor(first), 0U);
    EXPECT_EQ(platforms(), 1);
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_TRUE(isRunning(second));
}

}  // namespace
