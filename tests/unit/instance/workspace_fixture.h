#pragma once

#include <string>

#include "foundation/paths.h"
#include "instance/lock_owner.h"
#include "instance/platform_lock.h"
#include "launch/launch_state.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "support/launcher_fixture.h"

// A workspace C:\ws, launchers that come for its lock, and a platform that may own it.
namespace instancetest {

inline constexpr const wchar_t* lockFile = L"C:\\ws\\.zel.lock";
inline constexpr const wchar_t* endpoint = L"C:\\ws\\.pipe";
inline constexpr const wchar_t* mainRecord = L"C:\\ws\\.zel.main";

class Workspace : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;
    bool isMain = false;
    bool isStale = false;
    std::int32_t owner = 0;

    Workspace() { machine.makeDirectory(L"C:\\ws"); }

    // A start that comes for the lock and ends with it.
    void acquire(const zellauncher::Arguments& arguments = {L"prog"}) {
        outcome = runQuietly([&] {
            zellauncher::acquirePlatformLock(arguments, L"C:/ws", L"eclipse.exe");
            isMain = zellauncher::isMainProcess;
            isStale = zellauncher::staleEndpointFile;
            owner = zellauncher::lockOwnerPid;
        });
    }
    // A platform whose number stands in the lock file; its semaphore lives as long as it does.
    simulation::ProcessId startPlatform(std::uint32_t livesMilliseconds, const std::wstring& leaf = L"p1") {
        const simulation::ProcessId id = machine.start({L"C:\\eclipse.exe"}, [livesMilliseconds, leaf] {
            simulation::holdSemaphore(L"Global\\" + leaf + L"sem");
            platform::sleepMilliseconds(livesMilliseconds);
            return 0;
        });
        machine.writeFile(lockFile, std::to_string(id) + "          ");
        machine.writeFile(endpoint, "\\\\.\\pipe\\" + std::string(leaf.begin(), leaf.end()) + "\r\n");
        machine.runUntilIdle(1);
        return id;
    }
    void fail(const std::string& operation, platform::ErrorCode error, bool fromThenOn = false) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.error = error;
        fault.fromThenOn = fromThenOn;
        machine.inject(fault);
    }
    void expectFatal(const std::string& beginning) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_NE(("\n" + outcome.log).rfind("\n" + beginning), std::string::npos) << outcome.log;
    }
};

}  // namespace instancetest
