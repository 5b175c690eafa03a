#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"
#include "support/launcher_fixture.h"
#include "support/property_lists.h"

namespace javalaunchtest {

// For the functions that write a section of the command.
class CommandTest : public launchertest::OnMachine {
protected:
    zellauncher::PropertyList install;   // zelInstallArray
    zellauncher::PropertyList launcher;  // zelLauncherArray
    zellauncher::Arguments arguments = {L"prog"};
    zellauncher::VmargOverrides overrides;
    zellauncher::InstallConfigurationKind kind = zellauncher::InstallConfigurationKind::user;
    bool isMain = true;
    std::wstring home = L"C:\\Apps\\Client";
    std::wstring command;
    launchertest::Outcome outcome;

    static void set(zellauncher::PropertyList& list, const std::wstring& key, const std::wstring& value) {
        unset(list, key);
        list.push_back({key, value});
    }
    static void unset(zellauncher::PropertyList& list, const std::wstring& key) {
        list = launchertest::withoutKey(list, key);
    }

    // The command that the section writes into an empty one; the former command if it is fatal.
    const std::wstring& write(const std::function<void()>& section) {
        outcome = runQuietly([&] {
            zellauncher::isMainProcess = isMain;
            zellauncher::InstallConfiguration = kind;
            zellauncher::launchCommand.clear();
            section();
            command = zellauncher::launchCommand;
        });
        return command;
    }
    // An operation of the system interface got exactly this argument.
    bool hasOperationWith(const std::wstring& argument) const {
        return std::any_of(machine.operations().begin(), machine.operations().end(),
                           [&](const auto& operation) { return operation.argument == argument; });
    }
};

}  // namespace javalaunchtest
