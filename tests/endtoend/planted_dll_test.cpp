#include <windows.h>

#include <algorithm>

#include "endtoend.h"

// Somebody has put a library of every name that the system has beside the launcher, into the install,
// beside the platform and into the current directory. Each of them leaves a mark when it is loaded,
// with the name of the program that did it.
namespace {

using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

constexpr const wchar_t* overridesKey = L"Software\\Wine\\AppDefaults\\";

bool isWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// What every Windows takes from its own directory, whatever lies beside a program; a program finds no
// other among the imports of the launcher. Wine keeps no such list, so these are not planted.
bool isTakenFromTheSystemAlone(const std::wstring& name) {
    const wchar_t* names[] = {L"kernel32.dll", L"kernelbase.dll", L"msvcrt.dll", L"ntdll.dll"};
    return std::any_of(std::begin(names), std::end(names), [&](const wchar_t* other) {
        return CompareStringOrdinal(name.c_str(), -1, other, -1, TRUE) == CSTR_EQUAL;
    });
}

std::vector<std::wstring> systemLibraries() {
    wchar_t directory[MAX_PATH] = {};
    GetSystemDirectoryW(directory, MAX_PATH);
    std::vector<std::wstring> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::wstring name = entry.path().filename().wstring();
        if (name.ends_with(L".dll") && !isTakenFromTheSystemAlone(name)) {
            names.push_back(name);
        }
    }
    return names;
}

class PlantedDll : public EndToEnd {
protected:
    const std::vector<std::wstring> names = systemLibraries();
    const std::vector<std::wstring> programs = {L"zellauncher.exe", L"library_probe.exe", L"contract.exe"};
    fs::path elsewhere;  // the current directory of the launchers

    void SetUp() override {
        preferFilesToWinesOwn();
        elsewhere = root / L"elsewhere";
        layOut();
        placeProgram(L"planted.dll", root / L"planted.dll");
        for (const fs::path& directory : {home, home / L"zel", base, home / L"jvm" / L"bin", elsewhere}) {
            plantIn(directory, names);
        }
        // Beside the platform none that the stand-in for it needs itself.
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
            fs::create_hard_link(root / L"planted.dll", directory / name);
        }
    }
    // The marks that this program left anywhere.
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
    // Wine puts libraries of its own in the place of what it finds, unless it is told not to.
    void preferFilesToWinesOwn() const {
        for (const std::wstring& program : programs) {
            HKEY key = nullptr;
            if (!isWine() ||
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

// The control: a program that is not careful finds them, beside itself and in the current directory.
TEST_F(PlantedDll, ACarelessProgramLoadsThem) {
    placeProgram(L"library_probe.exe", home / L"zel" / L"library_probe.exe");
    fs::copy_file(root / L"planted.dll", elsewhere / L"zl-of-no-system.dll");
    for (const wchar_t* name : {L"netapi32.dll", L"version.dll", L"userenv.dll", L"zl-of-no-system.dll"}) {
        EXPECT_EQ(launchFrom(home / L"zel" / L"library_probe.exe", {name}), 0U);
    }
    EXPECT_EQ(
        marksOf(L"library_probe.exe"),
        (std::vector<std::wstring>{L"elsewhere\\zl-of-no-system.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\netapi32.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\userenv.dll.loaded-by-library_probe.exe",
                                   L"framework\\Client\\zel\\version.dll.loaded-by-library_probe.exe"}));
}

TEST_F(PlantedDll, NoStartLoadsOne) {
    EXPECT_GT(names.size(), 100U);
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_EQ(launch({L"handed over"}), 0U) << log();
    EXPECT_EQ(launch({L"-dcommand_only", L"handed over"}), 0U) << log();
    stopPlatform();
    EXPECT_EQ(launch({L"-resetconfig", L"-console"}), 0U) << log();
    EXPECT_EQ(marksOf(L"zellauncher.exe"), std::vector<std::wstring>());
}

TEST_F(PlantedDll, NoRefusalLoadsOne) {
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    fs::remove(base / L"win32" / L"x86_64" / L"eclipse.exe");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_EQ(marksOf(L"zellauncher.exe"), std::vector<std::wstring>());
}

// The program that calls every operation by which the launcher reaches the system.
TEST_F(PlantedDll, NothingThatTheLauncherAsksOfTheSystemLoadsOne) {
    placeProgram(L"tests/contract.exe", home / L"zel" / L"contract.exe");
    EXPECT_EQ(launchFrom(home / L"zel" / L"contract.exe", {L"--gtest_brief=1"}), 0U);
    EXPECT_EQ(marksOf(L"contract.exe"), std::vector<std::wstring>());
}

}  // namespace
