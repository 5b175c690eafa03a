#include "real_platform.h"

#include <windows.h>
// shellapi.h needs the header above.
#include <shellapi.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

namespace realplatform {

namespace {

// A JVM on a busy machine takes its time.
constexpr int startBoundSeconds = 60;
constexpr DWORD endBoundMilliseconds = 60000;

Facts factsOf(const std::string& text) {
    Facts facts;
    for (const std::string& line : endtoend::linesOf(text)) {
        const std::size_t separator = line.find('=', 1);
        facts.emplace(line.substr(0, separator),
                      separator == std::string::npos ? "" : line.substr(separator + 1));
    }
    return facts;
}

Words wordsOf(const std::string& text) {
    Words words;
    for (const std::string& line : endtoend::linesOf(text)) {
        words.push_back(endtoend::wide(line));
    }
    return words;
}

Words commandWordsOf(const std::wstring& command) {
    int count = 0;
    wchar_t** words = CommandLineToArgvW(command.c_str(), &count);
    Words list(words, words + count);
    LocalFree(words);
    return list;
}

// In place of what is there.
void placeFile(const fs::path& source, const fs::path& target) {
    fs::create_directories(target.parent_path());
    fs::remove(target);
    fs::copy_file(source, target);
}

}  // namespace

RealPlatform::RealPlatform() : parts(endtoend::builtPrograms() / L"real-platform") {
    setProperty("product", "com.example.platform.product");
    setProperty("osgi.splashPath", "file:/C:/splash");
    baseLines = {"application=com.example.platform.main", "plugincustomization=${zel.home}/custom.ini",
                 "Xbootclasspath.append=${zel.home}/boot.jar", "library.path.prepend=${zel.home}/bin",
                 // The framework looks for its bundles here.
                 "-Dosgi.install.area=${zel.home}/zel/eclipse",
                 // No platform outlives the test that started it by long.
                 "-Dcom.example.platform.idleSeconds=120"};
    jvmLines = {"-Xmx64m", "-Dgreeting=hello", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1"};
    runJvmBeside();
}

RealPlatform::~RealPlatform() {
    endPlatform();
}

void RealPlatform::SetUp() {
    if (!fs::exists(parts / L"made")) {
        GTEST_SKIP() << "the parts of the real platform are not there";
    }
}

void RealPlatform::setJvm(const std::string& program) {
    setProperty("jvm.location", utf8(jvmDirectory()) + "/" + program);
}

void RealPlatform::layOut() {
    EndToEnd::layOut();
    fs::remove_all(home / L"jvm");
    const fs::path example =
        endtoend::builtPrograms() / L"example-install" / L"zel" / L"eclipse" / L"plugins";
    for (const fs::path& configuration : {base / L"config" / L"user" / L"config.ini", base / L"config.ini"}) {
        placeFile(example / L"base_1.0" / L"config" / L"user" / L"config.ini", configuration);
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(parts / L"install")) {
        if (entry.is_regular_file()) {
            placeFile(entry.path(), home / fs::relative(entry.path(), parts / L"install"));
        }
    }
}

void RealPlatform::expectStart(const Words& words) {
    EXPECT_EQ(launch(words), 0U) << log() << tempLog();
    EXPECT_TRUE(eventually([&] { return hasRun(L"platform"); }, startBoundSeconds)) << log();
}

bool RealPlatform::hasRun(const std::wstring& name) const {
    return fs::exists(platformWorkspace() / name / L"running.txt");
}

StartReport RealPlatform::readReport(const std::wstring& name) const {
    const fs::path records = platformWorkspace() / name;
    StartReport report;
    report.properties = factsOf(read(records / L"properties.txt"));
    report.environment = factsOf(read(records / L"environment.txt"));
    report.summary = factsOf(read(records / L"platform.txt"));
    report.framework = wordsOf(read(records / L"arguments.txt"));
    report.application = wordsOf(read(records / L"application-arguments.txt"));
    report.command = commandWordsOf(endtoend::wide(read(records / L"command.txt")));
    return report;
}

fs::path RealPlatform::handOffFile(int number) const {
    return platformWorkspace() / L"platform" / (L"payload-" + std::to_wstring(number) + L".bin");
}

bool RealPlatform::hasHandOff(int number) const {
    return fs::exists(handOffFile(number));
}

Words RealPlatform::handOff(int number) const {
    EXPECT_TRUE(eventually([&] { return hasHandOff(number); })) << "text " << number;
    const std::string bytes = endtoend::bytesOf(handOffFile(number));
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    EXPECT_EQ(text.find(L'\0'), text.size() - 1);
    Words words(1);
    for (const wchar_t unit : text) {
        if (unit == L'\n') {
            words.emplace_back();
        } else if (unit != L'\0') {
            words.back() += unit;
        }
    }
    return words;
}

std::uint32_t RealPlatform::platformNumber() const {
    const Facts facts = factsOf(read(platformWorkspace() / L"platform" / L"platform.txt"));
    const auto pid = facts.find("pid");
    return pid == facts.end() ? 0 : static_cast<std::uint32_t>(std::stoul(pid->second));
}

std::uint32_t RealPlatform::recordedNumber() const {
    const std::string record = read(platformWorkspace() / L".zel.main");
    return record.empty() ? 0 : static_cast<std::uint32_t>(std::stoul(record));
}

bool RealPlatform::isRunning(std::uint32_t number) {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, number);
    if (process == nullptr) {
        return false;
    }
    const bool isThere = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return isThere;
}

void RealPlatform::awaitEndOf(std::uint32_t number) {
    HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, number);
    if (process == nullptr) {
        return;
    }
    if (WaitForSingleObject(process, endBoundMilliseconds) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "process " << number << " does not end";
        TerminateProcess(process, 1);
    }
    CloseHandle(process);
}

void RealPlatform::crash(std::uint32_t number) {
    HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, number);
    ASSERT_NE(process, nullptr);
    EXPECT_NE(TerminateProcess(process, 1), 0);
    EXPECT_EQ(WaitForSingleObject(process, endBoundMilliseconds), WAIT_OBJECT_0);
    CloseHandle(process);
    fs::remove_all(platformWorkspace() / L"platform");
}

void RealPlatform::awaitSuccessorOf(std::uint32_t number) {
    EXPECT_TRUE(eventually(
        [&] {
            const std::uint32_t now = platformNumber();
            return now != 0 && now != number && hasRun(L"platform");
        },
        startBoundSeconds))
        << log();
}

void RealPlatform::tell(const Words& words) {
    std::wstring text = L"test";
    for (const std::wstring& word : words) {
        text += L"\n" + word;
    }
    endtoend::PipeClient client(pipeName(platformWorkspace()));
    EXPECT_TRUE(client.isConnected() && client.write(text));
}

void RealPlatform::endPlatform() {
    const std::uint32_t platform = platformNumber();
    const std::uint32_t recorded = recordedNumber();
    if (platform != 0 && isRunning(platform)) {
        tell({L"-exit", L"0"});
        awaitEndOf(platform);
    }
    if (recorded != 0) {
        awaitEndOf(recorded);
    }
    std::error_code ignored;
    fs::remove_all(platformWorkspace() / L"platform", ignored);
}

bool contains(const Words& words, const std::wstring& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::wstring wordAfter(const Words& words, const std::wstring& word) {
    const auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() || std::next(found) == words.end() ? std::wstring() : *std::next(found);
}

std::string utf8(const std::wstring& text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                           nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), length, nullptr,
                        nullptr);
    return bytes;
}

}  // namespace realplatform
