// How the time to write the command grows with its input, on the simulated machine. The commands are those of
// a daemon, because their length has no limit: only a command line that starts a process has one.
#include <benchmark/benchmark.h>

#include <string>

#include "configuration/install_kind.h"
#include "desktop/extension_jars.h"
#include "javalaunch/class_path.h"
#include "javalaunch/command_assembly.h"
#include "javalaunch/launch_command.h"
#include "on_machine.h"
#include "properties/substitution.h"

namespace {

using zellauncher::PropertyList;

const std::wstring workspace = L"C:\\Users\\ann\\workspace";
const std::wstring home = L"C:\\Apps\\framework\\Client";

// The arguments of a start: for each option a value.
zellauncher::Arguments commandLine(std::int64_t count) {
    zellauncher::Arguments arguments = {L"zellauncher.exe"};
    for (std::int64_t i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        arguments.push_back(i % 2 == 0 ? L"-option" + number : L"C:\\Users\\ann\\document" + number);
    }
    return arguments;
}

// By the number of arguments. No value has a token, so each round has the same input.
void assembleCommand(benchmark::State& state) {
    simulation::Machine machine;
    machine.writeFile(L"C:\\base\\win32\\x86_64\\eclipse.exe", "");
    machine.writeFile(L"C:\\custom.ini", "");
    bench::onMachine(machine, [&] {
        const PropertyList launcher = {{L"zel.install.id", L"1234"}};
        PropertyList install = {{L"zel.base.location", L"C:/base"},
                                {L"zel.install.id", L"1234"},
                                {L"vm", L"C:/jvm/bin/javaw.exe"},
                                {L"plugincustomization", L"C:/custom.ini"}};
        zellauncher::VmargOverrides overrides;
        zellauncher::Arguments arguments = commandLine(state.range(0));
        const zellauncher::SourcedText zelHome = home;
        zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
        for (auto _ : state) {
            zellauncher::assembleCommand({workspace, zelHome, arguments, install, launcher, overrides},
                                         zellauncher::CommandPurpose::platform);
        }
        if (zellauncher::launchCommand.find(L"document") == std::wstring::npos) {
            state.SkipWithError("no command");
        }
    });
}
BENCHMARK(assembleCommand)->RangeMultiplier(10)->Range(10, 10'000)->Iterations(100);

// By the number of jars in the boot class path, each with a token in its path.
void writeBootClassPath(benchmark::State& state) {
    std::wstring path;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        path += L"${zel.home}/zel/boot/library" + std::to_wstring(i) + L".jar;";
    }
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            PropertyList install = {{L"Xbootclasspath.append", path}};
            zellauncher::substitutePropertyList(workspace, home, install);
            zellauncher::launchCommand.clear();
            zellauncher::appendBootClassPath(install);
        }
    });
}
BENCHMARK(writeBootClassPath)->RangeMultiplier(10)->Range(10, 10'000);

// By the number of extension jars, of which the launcher reads a hundred and stops at the next. The time is
// mostly that of the simulated machine, which lists the directory.
void writeExtensionJars(benchmark::State& state) {
    simulation::Machine machine;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        machine.writeFile(L"C:\\x\\" + std::to_wstring(i) + L".jar", "");
    }
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            zellauncher::launchCommand.clear();
            zellauncher::extensionDirPattern = L"C:\\x\\*";
            zellauncher::scanExtensionJars();
        }
    });
}
BENCHMARK(writeExtensionJars)->Arg(10)->Arg(30)->Arg(100)->Arg(300)->Arg(1000)->Iterations(100);

}  // namespace
