#pragma once

#include <string>

#include "instance/lock_owner.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

// A workspace C:\ws, launchers that acquire its lock, and a platform that may own it.
namespace instancetest {

inline constexpr const wchar_t* lockFile = L"C:\\ws\\.zel.lock";
inline constexpr const wchar_t* pipeFile = L"C:\\ws\\.pipe";
inline constexpr const wchar_t* mainRecord = L"C:\\ws\\.zel.main";

class Workspace : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;
    bool isMain = false;
    bool isStale = false;
    std::int32_t owner = 0;

    Workspace() { machine.makeDirectory(L"C:\\ws"); }

    // Acquires the lock in a launcher that ends right after.
    void acquire(const zellauncher::Arguments& arguments = {L"prog"}) {
        outcome = runQuietly([&] {
            zellauncher::acquirePlatformLock(arguments, L"C:/ws");
            isMain = zellauncher::isMainProcess;
            isStale = zellauncher::staleEndpointFile;
            owner = zellauncher::lockOwnerPid;
        });
    }
    // Sets the paths of the workspace's files, as acquirePlatformLock does.
    static void usePaths() {
        zellauncher::lockFilePath = lockFile;
        zellauncher::endpointFilePath = pipeFile;
        zellauncher::mainRecordPath = mainRecord;
    }
    void writePipeFile(const std::string& leaf) {
        machine.writeFile(pipeFile, "\\\\.\\pipe\\" + leaf + "\r\n");
    }
    // Leaves the files of a platform 4711 that is not running.
    void leaveDeadPlatform() {
        machine.writeFile(lockFile, "4711          ");
        writePipeFile("gone");
    }
    // The same with a semaphore that may not be opened: a platform of another user.
    void leavePlatformOfOtherUser() {
        machine.writeFile(lockFile, "4711          ");
        writePipeFile("abc");
        machine.createSemaphore(L"Global\\abcsem", simulation::SemaphoreAccess::denied);
    }
    // Starts a platform that owns the lock file; its semaphore exists as long as it runs.
    simulation::ProcessId startPlatform(std::uint32_t lifeMilliseconds) {
        const simulation::ProcessId id = machine.start({L"C:\\eclipse.exe"}, [lifeMilliseconds] {
            simulation::holdSemaphore(L"Global\\p1sem");
            platform::sleepMilliseconds(lifeMilliseconds);
            return 0;
        });
        machine.writeFile(lockFile, std::to_string(id) + "          ");
        writePipeFile("p1");
        machine.runUntilIdle(1);
        return id;
    }
    // The message has two lines because the system's text for the error ends with a line end.
    void expectAccessDenied() {
        outcome.expectFatal(
            "ZLNCH0303E: Unable to access process. Is it elevated? ' Failed with error 5: Access is denied."
            "\r\n'");
    }
};

}  // namespace instancetest
