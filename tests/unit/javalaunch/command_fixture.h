#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "configuration/install_configuration.h"
#include "launch/launch_state.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"
#include "support/launcher_fixture.h"

// A test of the sections of the command.
namespace javalaunchtest {

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

    void set(zellauncher::PropertyList& list, const std::wstring& key, const std::wstring& value) {
        std::erase_if(list, [&](const auto& entry) { return entry.key == key; });
        list.push_back({key, value});
    }
    static void unset(zellauncher::PropertyList& list, const std::wstring& key) {
        std::erase_if(list, [&](const auto& entry) { return entry.key == key; });
    }

    // Runs the section on an empty command and gives the command that it wrote.
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
    // Something was asked of the machine with this text to the letter.
    bool askedFor(const std::wstring& argument) const {
        return std::any_of(machine.operations().begin(), machine.operations().end(),
                           [&](const auto& operation) { return operation.argument == argument; });
    }
    void expectFatal(const std::string& message) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
};

}  // namespace javalaunchtest
