#include <windows.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "endtoend.h"
#include "support/text.h"

// The two programs: zellauncher.exe, which has a console, and zellauncherw.exe, which has none.
namespace {

using endtoend::EndToEnd;
using endtoend::Running;
using endtoend::Status;
namespace fs = std::filesystem;

constexpr const wchar_t* consoleProgram = L"zellauncher.exe";
constexpr const wchar_t* windowlessProgram = L"zellauncherw.exe";

// The exit statuses of console_probe.exe.
constexpr std::uint32_t hasNone = 10;
constexpr std::uint32_t hasConsole = 11;

class Programs : public EndToEnd {
protected:
    Programs() { use(consoleProgram); }

    // The next starts are by this program.
    void use(const wchar_t* name) {
        launcherName = name;
        placeProgram(launcherName, launcherPath());
    }
    // What the probe, which has no console itself, sees of a launcher that waits for its platform.
    Status probe(const wchar_t* name) {
        use(name);
        scriptLines = {"publish-on-request"};
        layOut();
        placeProgram(L"console_probe.exe", root / L"console_probe.exe");
        const fs::path request = root / L"console_probe.look";
        const Running running =
            beginFrom(root / L"console_probe.exe", {request.wstring(), launcherPath().wstring()});
        platformArguments();
        write(request, "");
        EXPECT_TRUE(eventually([&] { return !fs::exists(request); }));
        askPlatform("publish");
        const Status seen = waitFor(running);
        EXPECT_TRUE(isPlatformRunning()) << log() << tempLog();
        return seen;
    }
    void placePlatform(const wchar_t* name) {
        placeProgram(name, base / L"win32" / L"x86_64" / L"eclipse.exe");
    }
    // The program that args.properties names, in which a backslash is an escape.
    fs::path restartProgram() const {
        const std::string state = read(workspace() / L".config" / L"args.properties");
        const std::string line = state.substr(0, state.find('\n'));
        std::wstring path;
        for (std::size_t i = std::strlen("arg0="); i < line.size(); ++i) {
            i += line[i] == '\\' ? 1U : 0U;
            path += static_cast<wchar_t>(line.at(i));
        }
        return path;
    }
};

// Where a field of the optional header is in the file.
std::size_t offsetInOptionalHeader(const std::string& file, std::size_t field) {
    LONG header = 0;
    std::memcpy(&header, file.data() + offsetof(IMAGE_DOS_HEADER, e_lfanew), sizeof(header));
    return static_cast<std::size_t>(header) + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + field;
}

template <typename Value>
Value takeField(std::string& file, std::size_t field) {
    Value value = 0;
    char* place = file.data() + offsetInOptionalHeader(file, field);
    std::memcpy(&value, place, sizeof(value));
    std::memset(place, 0, sizeof(value));
    return value;
}

// The signature of a released program is at its end.
void removeSignature(std::string& file) {
    constexpr std::size_t entry = offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory) +
                                  IMAGE_DIRECTORY_ENTRY_SECURITY * sizeof(IMAGE_DATA_DIRECTORY);
    const auto begin = takeField<DWORD>(file, entry + offsetof(IMAGE_DATA_DIRECTORY, VirtualAddress));
    takeField<DWORD>(file, entry + offsetof(IMAGE_DATA_DIRECTORY, Size));
    file.resize(begin == 0 ? file.size() : begin);
}

// What Windows reads of a program for installers and for Explorer.
class VersionResource {
public:
    explicit VersionResource(const fs::path& program)
        : data(GetFileVersionInfoSizeW(program.c_str(), nullptr), '\0') {
        EXPECT_NE(GetFileVersionInfoW(program.c_str(), 0, static_cast<DWORD>(data.size()), data.data()), 0);
    }
    VS_FIXEDFILEINFO numbers() const {
        VS_FIXEDFILEINFO numbers = {};
        const auto [value, size] = query(L"\\");
        EXPECT_EQ(size, sizeof(numbers));
        std::memcpy(&numbers, value, std::min<std::size_t>(size, sizeof(numbers)));
        return numbers;
    }
    std::wstring text(const std::wstring& name) const {
        const auto [value, size] = query(L"\\StringFileInfo\\040904B0\\" + name);
        return size == 0 ? std::wstring() : std::wstring(static_cast<const wchar_t*>(value));
    }

private:
    std::pair<const void*, UINT> query(const std::wstring& path) const {
        void* value = nullptr;
        UINT size = 0;
        return VerQueryValueW(data.data(), path.c_str(), &value, &size) != 0
                   ? std::pair<const void*, UINT>(value, size)
                   : std::pair<const void*, UINT>();
    }

    std::string data;
};

TEST_F(Programs, DifferOnlyInTheSubsystem) {
    std::string console = endtoend::bytesOf(endtoend::builtPrograms() / consoleProgram);
    std::string windowless = endtoend::bytesOf(endtoend::builtPrograms() / windowlessProgram);
    removeSignature(console);
    removeSignature(windowless);
    constexpr std::size_t subsystem = offsetof(IMAGE_OPTIONAL_HEADER64, Subsystem);
    constexpr std::size_t checksum = offsetof(IMAGE_OPTIONAL_HEADER64, CheckSum);
    ASSERT_EQ(console.size(), windowless.size());
    EXPECT_EQ(takeField<WORD>(console, subsystem), IMAGE_SUBSYSTEM_WINDOWS_CUI);
    EXPECT_EQ(takeField<WORD>(windowless, subsystem), IMAGE_SUBSYSTEM_WINDOWS_GUI);
    takeField<DWORD>(console, checksum);  // over the whole file, the subsystem included
    takeField<DWORD>(windowless, checksum);
    EXPECT_TRUE(console == windowless);
}

// Otherwise two builds of one release would differ.
TEST_F(Programs, HoldNoTimeOfTheirBuild) {
    for (const wchar_t* name : {consoleProgram, windowlessProgram}) {
        const std::string file = endtoend::bytesOf(endtoend::builtPrograms() / name);
        DWORD stamp = 0;
        constexpr std::size_t fromTheOptionalHeader =
            offsetof(IMAGE_NT_HEADERS64, OptionalHeader) -
            (offsetof(IMAGE_NT_HEADERS64, FileHeader) + offsetof(IMAGE_FILE_HEADER, TimeDateStamp));
        std::memcpy(&stamp, file.data() + offsetInOptionalHeader(file, 0) - fromTheOptionalHeader,
                    sizeof(stamp));
        EXPECT_EQ(stamp, 0U);
    }
}

// An installer replaces a program by the numbers of its version, and Explorer shows the texts.
TEST_F(Programs, NameThemselvesAndTheirVersion) {
    const VersionResource resource(endtoend::builtPrograms() / consoleProgram);
    const VS_FIXEDFILEINFO numbers = resource.numbers();
    EXPECT_NE(numbers.dwFileVersionMS, 0U);
    EXPECT_EQ(resource.text(L"FileVersion"), std::to_wstring(HIWORD(numbers.dwFileVersionMS)) + L"." +
                                                 std::to_wstring(LOWORD(numbers.dwFileVersionMS)) + L"." +
                                                 std::to_wstring(HIWORD(numbers.dwFileVersionLS)) + L"." +
                                                 std::to_wstring(LOWORD(numbers.dwFileVersionLS)));
    for (const wchar_t* name :
         {L"CompanyName", L"FileDescription", L"LegalCopyright", L"ProductName", L"ProductVersion"}) {
        EXPECT_NE(resource.text(name), L"") << launchertest::toUtf8(name);
    }
}

TEST_F(Programs, HaveAnIcon) {
    for (const wchar_t* name : {consoleProgram, windowlessProgram}) {
        const fs::path file = endtoend::builtPrograms() / name;
        HMODULE program = LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
        EXPECT_NE(FindResourceW(program, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(14)),
                  nullptr);  // RT_GROUP_ICON
        FreeLibrary(program);
    }
}

TEST_F(Programs, WindowlessStartHasNoConsoleAndNeitherHasItsPlatform) {
    placePlatform(L"standinw.exe");
    EXPECT_EQ(probe(windowlessProgram), hasNone);
    EXPECT_EQ(platformStart()["console"], "no");
}

// The control: the probe sees the console that the system gives to a console program.
TEST_F(Programs, ConsoleStartHasAConsole) {
    EXPECT_EQ(probe(consoleProgram), hasConsole);
}

// Such as the java.exe of -consoleLog: its output has to appear somewhere.
TEST_F(Programs, ConsolePlatformOfAWindowlessStartHasAConsoleOfItsOwn) {
    placePlatform(L"standin.exe");
    EXPECT_EQ(probe(windowlessProgram), hasNone);
    EXPECT_EQ(platformStart()["console"], "yes");
}

TEST_F(Programs, EitherHandsOverToThePlatformOfTheOther) {
    use(windowlessProgram);
    EXPECT_EQ(launch({L"one"}), 0U) << log();
    use(consoleProgram);
    EXPECT_EQ(launch({L"two"}), 0U) << log();
    EXPECT_EQ(handedOver(1).at(2), L"two");
    stopPlatform();
    EXPECT_EQ(launch({L"three"}), 0U) << log();
    use(windowlessProgram);
    EXPECT_EQ(launch({L"four"}), 0U) << log();
    EXPECT_EQ(handedOver(1).at(2), L"four");
}

// A platform starts the program that args.properties names.
TEST_F(Programs, RestartUsesTheProgramThatTheUserStarted) {
    use(windowlessProgram);
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(restartProgram(), launcherPath());
    const std::wstring processId = launchertest::fromUtf8(platformProcessId());
    stopPlatform();
    EXPECT_EQ(launchFrom(restartProgram(), {L"-restart", L"-zel_old_pid", processId}), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_EQ(restartProgram(), launcherPath());
    stopPlatform();
    use(consoleProgram);
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(restartProgram(), launcherPath());
}

// A prompt passes the name as the user typed it.
TEST_F(Programs, RestartUsesTheProgramThatAPromptFound) {
    use(consoleProgram);
    use(windowlessProgram);
    layOut();
    currentDirectory = install / L"zel";
    EXPECT_EQ(launchFrom(_wgetenv(L"ComSpec"), {L"/c", L"zellauncherw", L"hello"}), 0U) << tempLog();
    EXPECT_TRUE(hasArgument(L"hello"));
    EXPECT_EQ(restartProgram(), launcherPath());
}

}  // namespace
