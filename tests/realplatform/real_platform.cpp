#include "real_platform.h"

#include <windows.h>
// shellapi.h needs the header above.
#include <shellapi.h>

#include "held_files.h"
#include "support/text.h"

namespace realplatform {

namespace {

// Long enough for a JVM on a busy machine.
constexpr int startSeconds = 60;
constexpr DWORD endMilliseconds = 60000;

Facts factsOf(const std::string& text) {
    Facts facts;
    for (const std::string& line : launchertest::splitLines(text)) {
        const std::size_t separator = line.find('=', 1);
        facts.emplace(line.substr(0, separator),
                      separator == std::string::npos ? "" : line.substr(separator + 1));
    }
    return facts;
}

endtoend::Variables variablesOf(const std::string& text) {
    endtoend::Variables variables;
    for (const auto& [name, value] : factsOf(text)) {
        variables.emplace(launchertest::fromUtf8(name), launchertest::fromUtf8(value));
    }
    return variables;
}

Arguments splitCommand(const std::wstring& command) {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(command.c_str(), &count);
    Arguments list(arguments, arguments + count);
    LocalFree(arguments);
    return list;
}

// The test kit copies it out of its own directory, whose path a property file may be unable to hold.
fs::path preparedParts() {
    const wchar_t* directory = _wgetenv(L"ZELLAUNCHER_REAL_PLATFORM");
    return directory != nullptr ? fs::path(directory) : endtoend::builtPrograms() / L"real-platform";
}

void placeFile(const fs::path& source, const fs::path& target) {
    fs::create_directories(target.parent_path());
    endtoend::copyOver(source, target);
}

}  // namespace

RealPlatform::RealPlatform() : parts(preparedParts()) {
    setProperty("product", "com.example.platform.product");
    setProperty("osgi.splashPath", "file:/C:/splash");
    baseLines = {"application=com.example.platform.main", "plugincustomization=${zel.home}/custom.ini",
                 "Xbootclasspath.append=${zel.home}/boot.jar", "library.path.prepend=${zel.home}/bin",
                 // The framework looks for its bundles here.
                 "-Dosgi.install.area=${zel.home}/zel/eclipse",
                 // A platform whose test has crashed ends after two minutes.
                 "-Dcom.example.platform.idleSeconds=120"};
    jvmLines = {"-Xmx64m", "-Dgreeting=hello", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1"};
    runJvmBeside();
}

RealPlatform::~RealPlatform() {
    endPlatform();
}

void RealPlatform::SetUp() {
    if (!fs::exists(parts / L"made")) {
        GTEST_SKIP() << "cmake/real-platform.sh has not been run";
    }
}

void RealPlatform::setJvm(const std::string& program) {
    setProperty("jvm.location", launchertest::toUtf8(jvmDirectory()) + "/" + program);
}

void RealPlatform::layOut() {
    EndToEnd::layOut();
    endtoend::removeAll(install / L"jvm");
    const fs::path example =
        endtoend::builtPrograms() / L"example-install" / L"zel" / L"eclipse" / L"plugins";
    for (const fs::path& configuration : {base / L"config" / L"user" / L"config.ini", base / L"config.ini"}) {
        placeFile(example / L"base_1.0" / L"config" / L"user" / L"config.ini", configuration);
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(parts / L"install")) {
        if (entry.is_regular_file()) {
            placeFile(entry.path(), install / fs::relative(entry.path(), parts / L"install"));
        }
    }
}

void RealPlatform::expectStart(const Arguments& arguments) {
    EXPECT_EQ(launch(arguments), 0U) << log() << tempLog();
    EXPECT_TRUE(eventually([&] { return hasRun(L"platform"); }, startSeconds)) << log();
}

bool RealPlatform::hasRun(const std::wstring& name) const {
    return fs::exists(platformWorkspace() / name / L"running.txt");
}

StartReport RealPlatform::readReport(const std::wstring& name) const {
    const fs::path records = platformWorkspace() / name;
    StartReport report;
    report.properties = factsOf(read(records / L"properties.txt"));
    report.environment = variablesOf(read(records / L"environment.txt"));
    report.summary = factsOf(read(records / L"platform.txt"));
    report.framework = endtoend::linesOf(read(records / L"arguments.txt"));
    report.application = endtoend::linesOf(read(records / L"application-arguments.txt"));
    report.command = splitCommand(launchertest::fromUtf8(read(records / L"command.txt")));
    return report;
}

fs::path RealPlatform::handOffFile(int number) const {
    return platformWorkspace() / L"platform" / (L"payload-" + std::to_wstring(number) + L".bin");
}

bool RealPlatform::hasHandOff(int number) const {
    return fs::exists(handOffFile(number));
}

Arguments RealPlatform::handOff(int number) const {
    EXPECT_TRUE(eventually([&] { return hasHandOff(number); })) << "text " << number;
    return endtoend::linesOfPayload(launchertest::pipeText(endtoend::bytesOf(handOffFile(number))));
}

std::uint32_t RealPlatform::jvmProcessId() const {
    const Facts facts = factsOf(read(platformWorkspace() / L"platform" / L"platform.txt"));
    const auto pid = facts.find("pid");
    return pid == facts.end() ? 0 : static_cast<std::uint32_t>(std::stoul(pid->second));
}

std::uint32_t RealPlatform::recordedProcessId() const {
    const std::string record = read(platformWorkspace() / L".zel.main");
    return record.empty() ? 0 : static_cast<std::uint32_t>(std::stoul(record));
}

bool RealPlatform::isRunning(std::uint32_t processId) const {
    HANDLE process = openProcess(processId, SYNCHRONIZE);
    if (process == nullptr) {
        return false;
    }
    const bool isAlive = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return isAlive;
}

void RealPlatform::awaitEndOf(std::uint32_t processId) {
    HANDLE process = openProcess(processId, SYNCHRONIZE | PROCESS_TERMINATE);
    if (process == nullptr) {
        return;
    }
    if (WaitForSingleObject(process, endMilliseconds) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "process " << processId << " does not end";
        TerminateProcess(process, 1);
    }
    CloseHandle(process);
}

void RealPlatform::crash(std::uint32_t processId) {
    HANDLE process = openProcess(processId, PROCESS_TERMINATE | SYNCHRONIZE);
    ASSERT_NE(process, nullptr);
    EXPECT_NE(TerminateProcess(process, 1), 0);
    EXPECT_EQ(WaitForSingleObject(process, endMilliseconds), WAIT_OBJECT_0);
    CloseHandle(process);
    endtoend::removeAll(platformWorkspace() / L"platform");
}

void RealPlatform::awaitSuccessorOf(std::uint32_t processId) {
    EXPECT_TRUE(eventually(
        [&] {
            const std::uint32_t current = jvmProcessId();
            return current != 0 && current != processId && hasRun(L"platform");
        },
        startSeconds))
        << log();
}

void RealPlatform::send(const Arguments& arguments) {
    std::wstring text = L"test";
    for (const std::wstring& argument : arguments) {
        text += L"\n" + argument;
    }
    endtoend::PipeClient client(pipeName(platformWorkspace()));
    EXPECT_TRUE(client.isConnected() && client.write(text));
}

void RealPlatform::endPlatform() {
    const std::uint32_t platform = jvmProcessId();
    const std::uint32_t recorded = recordedProcessId();
    if (platform != 0 && isRunning(platform)) {
        send({L"-exit", L"0"});
        awaitEndOf(platform);
    }
    if (recorded != 0) {
        awaitEndOf(recorded);
    }
    endtoend::removeAll(platformWorkspace() / L"platform");
}

}  // namespace realplatform
