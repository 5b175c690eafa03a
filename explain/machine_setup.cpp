#include "explain/machine_setup.h"

#include <algorithm>
#include <set>

#include "explain/encoding.h"
#include "explain/environment.h"
#include "explain/host_files.h"
#include "explain/windows_paths.h"
#include "simulation/program_files.h"

namespace explain {

namespace {

constexpr const wchar_t* winLogonKey = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* kioskShellsKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* policiesKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\";
constexpr const wchar_t* desktopShell = L"explorer.exe";

// The machine has run for an hour, and its process ids are hardly those in a lock file of the real user.
constexpr std::uint32_t upMilliseconds = 3'600'000;
constexpr simulation::ProcessId lastProcessId = 7000;

System systemOf(const StartOptions& options) {
    if constexpr (ownMachineIsWindows) {
        if (options.isOwnMachine) {
            return ownSystem();
        }
    }
    return defaultSystem(options);
}

// The options, applied to the system's variables in the order of the documentation.
System adjustedSystem(const StartOptions& options) {
    System system = systemOf(options);
    if (options.user) {
        system.user = *options.user;
        setVariable(system.environment, L"USERNAME", *options.user);
    }
    for (const auto& [name, value] : options.environment) {
        setVariable(system.environment, name, value);
    }
    for (const std::wstring& name : options.unsetVariables) {
        unsetVariable(system.environment, name);
    }
    if (options.currentDirectory) {
        system.currentDirectory = *options.currentDirectory;
    }
    return system;
}

bool hasEntry(const simulation::HostDirectory& directory, const std::wstring& name) {
    const auto entries = directory.entries();
    return entries && std::any_of(entries->begin(), entries->end(), [&](const simulation::HostEntry& entry) {
               return isSamePath(entry.name, name);
           });
}

bool leadsThroughFile(const simulation::Machine& machine, const std::wstring& full) {
    for (std::size_t end = full.find(L'\\', 3); end != std::wstring::npos; end = full.find(L'\\', end + 1)) {
        const std::wstring directory = full.substr(0, end);
        if (machine.exists(directory) && !machine.isDirectory(directory)) {
            return true;
        }
    }
    return false;
}

void makeDriveFor(World& world, const std::wstring& full) {
    const std::wstring drive = full.substr(0, 3);
    if (!world.machine->exists(drive)) {
        world.machine->makeDrive(drive[0]);
        world.assumptions.push_back("the drive " + toUtf8(drive) + ", on which is " + toUtf8(full));
    }
}

void makeDirectoryFor(World& world, const std::wstring& path) {
    const auto full = resolvedDrivePath(*world.machine, path);
    if (!full || leadsThroughFile(*world.machine, *full)) {
        return;
    }
    makeDriveFor(world, *full);
    world.machine->makeDirectory(*full);
}

void showDirectories(World& world, const StartOptions& options) {
    std::vector<Mapping> mappings = {options.install};
    mappings.insert(mappings.end(), options.maps.begin(), options.maps.end());
    std::vector<std::string> paths;
    std::transform(mappings.begin(), mappings.end(), std::back_inserter(paths),
                   [](const Mapping& mapping) { return mapping.directory; });
    const auto directories = openHostDirectories(paths);
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        if (!directories[i]) {
            throw CannotExplain("cannot read the directory " + mappings[i].directory);
        }
    }
    if (!hasEntry(*directories.front(), L"zel")) {
        throw CannotExplain(options.install.directory + " has no directory zel, so it is no install");
    }
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        world.machine->makeDrive(mappings[i].path[0]);
        world.machine->mount(mappings[i].path, directories[i]);
    }
}

[[maybe_unused]] void showOwnDrives(World& world, const StartOptions& options, const System& system) {
    std::vector<std::string> roots;
    for (const wchar_t letter : system.drives) {
        roots.push_back(toUtf8(std::wstring{letter, L':', L'\\'}));
    }
    const auto directories = openHostDirectories(roots);
    for (std::size_t i = 0; i < roots.size(); ++i) {
        world.machine->makeDrive(system.drives[i]);
        if (directories[i]) {
            world.machine->mount(fromUtf8(roots[i]), directories[i]);
        }
    }
    if (!world.machine->isDirectory(options.install.path + L"\\zel")) {
        throw CannotExplain(options.install.directory + " has no directory zel, so it is no install");
    }
}

// Directories that exist on every machine that a user can log on to.
void makeSystemDirectories(World& world, const System& system) {
    const auto valueOf = [&](const wchar_t* name) {
        const std::wstring* value = findVariable(system.environment, name);
        return value != nullptr ? *value : std::wstring();
    };
    for (const wchar_t* name : {L"USERPROFILE", L"APPDATA", L"LOCALAPPDATA", L"TEMP", L"TMP", L"ProgramData",
                                L"PUBLIC", L"ProgramFiles"}) {
        makeDirectoryFor(world, valueOf(name));
    }
    makeDirectoryFor(world, valueOf(L"HOMEDRIVE") + valueOf(L"HOMEPATH"));
    makeDirectoryFor(world, system.currentDirectory);
    world.machine->makeDirectory(L"C:\\Windows\\System32");
}

void setRegistry(simulation::Machine& machine, const StartOptions& options) {
    const std::wstring shell = options.isKiosk ? launcherPath(options) : std::wstring(desktopShell);
    machine.setRegistryText(winLogonKey, L"Shell", shell);
    if (options.isKiosk) {
        machine.setRegistryText(kioskShellsKey, L"KSD_SHELL", shell);
        machine.setRegistryText(kioskShellsKey, L"ADMIN_SHELL", desktopShell);
    }
    for (const wchar_t* name : {L"Explorer", L"System"}) {
        machine.makeRegistryKey(platform::RegistryRoot::currentUser, std::wstring(policiesKey) + name);
    }
}

// The launcher is what is explained, so it is there.
void assumeLauncher(World& world, const StartOptions& options) {
    const std::wstring path = launcherPath(options);
    if (!world.machine->exists(path)) {
        world.machine->writeFile(path, simulation::smallestProgramFile());
        world.assumptions.push_back("zel/zellauncher.exe, which INSTALL does not have");
    }
}

}  // namespace

bool putFile(World& world, const std::wstring& path, const std::string& content) {
    const auto full = resolvedDrivePath(*world.machine, path);
    if (!full || full->size() == 3 || leadsThroughFile(*world.machine, *full)) {
        return false;
    }
    makeDriveFor(world, *full);
    if (world.machine->isDirectory(*full)) {
        world.machine->remove(*full);
    }
    world.machine->writeFile(*full, content);
    world.machine->setAttributes(*full, 0);
    return true;
}

std::wstring launcherPath(const StartOptions& options) {
    return options.install.path + L"\\zel\\zellauncher.exe";
}

World buildWorld(const StartOptions& options) {
    const System system = adjustedSystem(options);
    World world;
    world.machine = std::make_unique<simulation::Machine>();
    simulation::Machine& machine = *world.machine;
    machine.removeDrive(L'D');
    machine.setTickCount(upMilliseconds);
    machine.setLastProcessId(lastProcessId);
    if (options.isOwnMachine) {
        showOwnDrives(world, options, system);
    } else {
        showDirectories(world, options);
        makeSystemDirectories(world, system);
    }
    for (const wchar_t* name : {L"TEMP", L"HOMEDRIVE", L"HOMEPATH", L"USERNAME", L"USERPROFILE", L"PATH"}) {
        machine.unsetEnvironment(name);
    }
    for (const auto& [name, value] : system.environment) {
        machine.setEnvironment(name, value);
    }
    world.environment = system.environment;
    world.user = system.user;
    machine.setCurrentDirectory(system.currentDirectory);
    machine.setUser(system.user, {options.isAdministrator ? L"Administrators" : L"Users"});
    if (options.hasExplorer) {
        machine.addProcess(desktopShell);
    }
    machine.installProgram(L"C:\\Windows\\explorer.exe", [] { return 0; });
    setRegistry(machine, options);
    assumeLauncher(world, options);
    return world;
}

}  // namespace explain
