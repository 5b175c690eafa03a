#include <windows.h>

#include <algorithm>

#include "endtoend.h"
#include "held_files.h"

// Libraries with the names of system libraries are planted beside the launcher, in the install, beside the
// platform and in the current directory. Each leaves a mark when it is loaded, a file with the program's
// name.
namespace {

using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

constexpr const wchar_t* overridesKey = L"Software\\Wine\\AppDefaults\\";

// Windows loads these from its own directory whatever lies beside the program. Wine does not, so they are
// not planted. The launcher imports no others.
bool isKnownLibrary(const std::wstring& name) {
    const wchar_t* names[] = {L"kernel32.dll", L"kernelbase.dll", L"msvcrt.dll", L"ntdll.dll"};
    return std::any_of(std::begin(names), std::end(names), [&](const wchar_t* other) {
        return CompareStringOrdinal(name.c_str(), -1, other, -1, TRUE) == CSTR_EQUAL;
    });
}

// Libraries that the launcher uses, that those load, and that attackers plant most often.
std::vector<std::wstring> usualLibraries() {
    return {L"advapi32.dll", L"apphelp.dll", L"bcrypt.dll",    L"bcryptprimitives.dll",
            L"combase.dll",  L"crypt32.dll", L"cryptbase.dll", L"cryptsp.dll",
            L"dbghelp.dll",  L"dnsapi.dll",  L"dsrole.dll",    L"dwmapi.dll",
            L"gdi32.dll",    L"imm32.dll",   L"iphlpapi.dll",  L"logoncli.dll",
            L"mpr.dll",      L"msimg32.dll", L"netapi32.dll",  L"netutils.dll",
            L"ntmarta.dll",  L"ole32.dll",   L"oleaut32.dll",  L"powrprof.dll",
            L"profapi.dll",  L"propsys.dll", L"rpcrt4.dll",    L"samcli.dll",
            L"sechost.dll",  L"secur32.dll", L"shcore.dll",    L"shell32.dll",
            L"shlwapi.dll",  L"srvcli.dll",  L"sspicli.dll",   L"ucrtbase.dll",
            L"umpdc.dll",    L"user32.dll",  L"userenv.dll",   L"uxtheme.dll",
            L"version.dll",  L"win32u.dll",  L"winmm.dll",     L"winsta.dll",
            L"wkscli.dll",   L"wldp.dll",    L"ws2_32.dll",    L"wtsapi32.dll"};
}

// Under Wine all that the system has. Windows has thousands, each copy of which its virus scanner would read.
std::vector<std::wstring> plantedLibraries() {
    if (!endtoend::isWine()) {
        return usualLibraries();
    }
    wchar_t directory[MAX_PATH] = {};
    GetSystemDirectoryW(directory, MAX_PATH);
    std::vector<std::wstring> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::wstring name = entry.path().filename().wstring();
        if (name.ends_with(L".dll") && !isKnownLibrary(name)) {
            names.push_back(name);
        }
    }
    return names;
}

// Administrators can take the current directory out of the search for libraries.
bool isCurrentDirectorySearched() {
    DWORD setting = 0;
    DWORD size = sizeof(setting);
    RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Session Manager",
                 L"CWDIllegalInDllSearch", RRF_RT_REG_DWORD, nullptr, &setting, &size);
    return setting == 0;
}

class PlantedDll : public EndToEnd {
protected:
    const std::vector<std::wstring> names = plantedLibraries();
    const std::vector<std::wstring> programs = {launcherName, L"library_probe.exe", L"contract.exe"};
    fs::path elsewhere;  // the current directory of the launchers

    void SetUp() override {
        preferFilesToBuiltins();
        elsewhere = root / L"elsewhere";
        layOut();
        placeProgram(L"planted.dll", root / L"planted.dll");
        for (const fs::path& directory :
             {install, install / L"zel", base, install / L"jvm" / L"bin", elsewhere}) {
            plantIn(directory, names);
        }
        // Beside the platform only libraries that the standin does not load itself.
        plantIn(base / L"win32" / L"x86_64",
                {L"cryptbase.dll", L"dwmapi.dll", L"netapi32.dll", L"profapi.dll", L"user32.dll",
                 L"uxtheme.dll", L"version.dll", L"winmm.dll"});
        currentDirectory = elsewhere;
    }
    void TearDown() override {
        for (const std::wstring& program : programs) {
            RegDeleteTreeW(HKEY_CURRENT_USER, (overridesKey + program).c_str());
        }
    }

    void plantIn(const fs::path& directory, const std::vector<std::wstring>& libraries) const {
        fs::create_directories(directory);
        for (const std::wstring& name : libraries) {
            std::error_code error;
            fs::create_hard_link(root / L"planted.dll", directory / name, error);
            if (error) {  // a file has at most 1024 names, and not every file system has links
                endtoend::removeAll(root / L"planted.dll");
                fs::copy_file(endtoend::builtPrograms() / L"planted.dll", root / L"planted.dll");
                fs::copy_file(root / L"planted.dll", directory / name);
            }
        }
    }
    // Paths of all marks of this program, relative to root.
    std::vector<std::wstring> marksOf(const std::wstring& program) const {
        std::vector<std::wstring> marks;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
            const std::wstring path = fs::relative(entry.path(), root).wstring();
            if (path.ends_with(L".loaded-by-" + program)) {
                marks.push_back(path);
            }
        }
        std::sort(marks.begin(), marks.end());
        return marks;
    }

private:
    // Without this setting Wine loads its built-in libraries instead of the files.
    void preferFilesToBuiltins() const {
        for (const std::wstring& program : programs) {
            HKEY key = nullptr;
            if (!endtoend::isWine() ||
                RegCreateKeyW(HKEY_CURRENT_USER, (overridesKey + program + L"\\DllOverrides").c_str(),
                              &key) != ERROR_SUCCESS) {
                continue;
            }
            for (const std::wstring& name : names) {
                const std::wstring order = L"native,builtin";
                RegSetValueExW(key, name.substr(0, name.size() - 4).c_str(), 0, REG_SZ,
                               reinterpret_cast<const BYTE*>(order.c_str()),
                               static_cast<DWORD>((order.size() + 1) * sizeof(wchar_t)));
            }
            RegCloseKey(key);
        }
    }
};

// The control: an ordinary program does load them.
TEST_F(PlantedDll, OrdinaryProgramLoadsThem) {
    if (!isCurrentDirectorySearched()) {
        GTEST_SKIP() << "CWDIllegalInDllSearch is set on this machine";
    }
    placeProgram(L"library_probe.exe", install / L"zel" / L"library_probe.exe");
    fs::copy_file(root / L"planted.dll", elsewhere / L"zl-of-no-system.dll");
    for (const wchar_t* name : {L"netapi32.dll", L"version.dll", L"userenv.dll", L"zl-of-no-system.dll"}) {
        EXPECT_EQ(launchFrom(install / L"zel" / L"library_probe.exe", {name}), 0U);
    }
    EXPECT_EQ(
        marksOf(L"library_probe.exe"),
        (std::vector<std::wstring>{L"elsewhere\\zl-of-no-system.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\netapi32.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\userenv.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\version.dll.loaded-by-library_probe.exe"}));
}

TEST_F(PlantedDll, StartsLoadNone) {
    EXPECT_GT(names.size(), endtoend::isWine() ? 100U : 40U);
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_EQ(launch({L"handed over"}), 0U) << log();
    EXPECT_EQ(launch({L"-dcommand_only", L"handed over"}), 0U) << log();
    stopPlatform();
    EXPECT_EQ(launch({L"-resetconfig", L"-console"}), 0U) << log();
    EXPECT_EQ(marksOf(launcherName), std::vector<std::wstring>());
}

TEST_F(PlantedDll, RefusedStartsLoadNone) {
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    endtoend::removeAll(base / L"win32" / L"x86_64" / L"eclipse.exe");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_EQ(marksOf(launcherName), std::vector<std::wstring>());
}

// contract.exe calls every function of the system interface.
TEST_F(PlantedDll, SystemInterfaceLoadsNone) {
    placeProgram(L"tests/contract.exe", install / L"zel" / L"contract.exe");
    EXPECT_EQ(launchFrom(install / L"zel" / L"contract.exe", {L"--gtest_brief=1"}), 0U);
    EXPECT_EQ(marksOf(L"contract.exe"), std::vector<std::wstring>());
}

}  // namespace
