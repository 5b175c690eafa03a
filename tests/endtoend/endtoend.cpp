#include "endtoend.h"

#include <windows.h>
// Needs the header above.
#include <lm.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>

#include "explained_start.h"
#include "held_files.h"
#include "logged_start.h"
#include "program_files.h"
#include "support/process_start.h"
#include "support/text.h"

namespace endtoend {

namespace {

// Bounds of waits for events; a busy machine may need most of them.
constexpr DWORD launcherMilliseconds = 120000;
constexpr DWORD platformMilliseconds = 60000;
constexpr DWORD pauseMilliseconds = 50;

std::wstring environmentText(const wchar_t* name) {
    wchar_t value[32767] = {};
    GetEnvironmentVariableW(name, value, 32767);
    return value;
}

// The argument in quotes, escaped so that the system's rules give it back unchanged.
std::wstring quoted(const std::wstring& argument) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') {
            text.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        text += unit;
    }
    return text.append(backslashes, L'\\') + L"\"";
}

// As the end of a command line, with a blank before each.
std::wstring tailOf(const Arguments& arguments) {
    std::wstring tail;
    for (const std::wstring& argument : arguments) {
        tail += L" " + quoted(argument);
    }
    return tail;
}

// The separator is looked for from position 1, because some variables have names such as `=C:`.
template <typename Text>
std::pair<Text, Text> splitAtEquals(const Text& line) {
    const std::size_t separator = line.find(static_cast<typename Text::value_type>('='), 1);
    return {line.substr(0, separator), separator == Text::npos ? Text() : line.substr(separator + 1)};
}

// This process's environment.
Variables ownVariables() {
    Variables variables;
    wchar_t* block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; *entry != L'\0'; entry += std::wstring(entry).size() + 1) {
        variables.insert(splitAtEquals(std::wstring(entry)));
    }
    FreeEnvironmentStringsW(block);
    return variables;
}

std::wstring environmentBlock(const Variables& variables) {
    std::wstring text;
    for (const auto& [name, value] : variables) {
        text += name + L"=" + value + L'\0';
    }
    return text + L'\0';
}

Variables variablesIn(const std::string& lines) {
    Variables variables;
    for (const std::wstring& line : linesOf(launchertest::withLineFeeds(lines))) {
        variables.insert(splitAtEquals(line));
    }
    return variables;
}

// What zelexplain's environment lists. It does not know the hidden variables, such as `=C:`.
explaintest::Lines changesOf(const Variables& before, const Variables& after) {
    std::map<std::wstring, std::wstring> set;
    std::vector<std::wstring> unset;
    for (const auto& [name, value] : after) {
        const auto old = before.find(name);
        if (!name.starts_with(L'=') && (old == before.end() || old->second != value)) {
            set[name] = value;
        }
    }
    for (const auto& [name, value] : before) {
        if (!name.starts_with(L'=') && after.count(name) == 0) {
            unset.push_back(name);
        }
    }
    return changedVariables(set, unset);
}

// Those of the simulated machine and of the platforms that have recorded theirs.
std::set<std::string> processIdsOf(const Contents& records) {
    std::set<std::string> ids = {"4096"};
    constexpr int firstSimulated = 7000;
    constexpr int lastSimulated = 8000;
    for (int id = firstSimulated; id <= lastSimulated; id += 4) {
        ids.insert(std::to_string(id));
    }
    for (const auto& [path, content] : records) {
        if (path.ends_with(L"\\start.txt")) {
            ids.insert(splitAtEquals(launchertest::splitLines(content).front()).second);
        }
    }
    return ids;
}

// The identity that an install has made for itself is the tick count. Here it is that of the simulated
// machine and that of this one.
std::set<std::string> madeIdentities(const std::string& launcherProperties) {
    std::set<std::string> identities = {"3600000"};
    for (const std::string& line : launchertest::splitLines(launcherProperties)) {
        const auto [key, value] = splitAtEquals(line);
        if (key == "zel.install.id") {
            identities.insert(value);
        }
    }
    return identities;
}

// In the system's language.
std::wstring nameOfAdministrators() {
    std::array<std::byte, SECURITY_MAX_SID_SIZE> id{};
    auto size = static_cast<DWORD>(id.size());
    std::array<wchar_t, UNLEN + 1> name{};
    std::array<wchar_t, UNLEN + 1> domain{};
    auto nameSize = static_cast<DWORD>(name.size());
    auto domainSize = static_cast<DWORD>(domain.size());
    SID_NAME_USE use = SidTypeUnknown;
    EXPECT_NE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, id.data(), &size), 0);
    EXPECT_NE(LookupAccountSidW(nullptr, id.data(), name.data(), &nameSize, domain.data(), &domainSize, &use),
              0);
    return name.data();
}

template <typename Function>
Function* functionOf(HMODULE library, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// The local groups that the machine lists for an account of its own with the user's name.
std::set<std::wstring> groupsOfUser(HMODULE library) {
    std::array<wchar_t, UNLEN + 1> user{};
    auto size = static_cast<DWORD>(user.size());
    BYTE* list = nullptr;
    DWORD count = 0;
    DWORD total = 0;
    std::set<std::wstring> groups;
    const bool isListed = GetUserNameW(user.data(), &size) != 0 &&
                          functionOf<decltype(NetUserGetLocalGroups)>(library, "NetUserGetLocalGroups")(
                              nullptr, user.data(), 0, LG_INCLUDE_INDIRECT, &list, MAX_PREFERRED_LENGTH,
                              &count, &total) == NERR_Success;
    if (isListed) {
        const auto* entries = reinterpret_cast<const LOCALGROUP_USERS_INFO_0*>(list);
        for (DWORD i = 0; i < count; ++i) {
            groups.insert(entries[i].lgrui0_name);
        }
        functionOf<decltype(NetApiBufferFree)>(library, "NetApiBufferFree")(list);
    }
    return groups;
}

// Wine links these names to the home directory of its user, where other programs write.
bool isLinkOutOfWine(const fs::path& path) {
    const std::set<std::wstring> names = {L"Desktop",  L"Documents", L"Downloads", L"Music",
                                          L"Pictures", L"Templates", L"Videos"};
    return names.count(path.filename().wstring()) != 0;
}

fs::path payloadFile(const fs::path& workspace, int number) {
    return workspace / L"standin" / (L"payload-" + std::to_wstring(number) + L".bin");
}

}  // namespace

// The nearest directory above this program that has zellauncher.exe.
fs::path builtPrograms() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    fs::path directory = fs::path(path).parent_path();
    while (!fs::exists(directory / L"zellauncher.exe") && directory.has_relative_path()) {
        directory = directory.parent_path();
    }
    return directory;
}

// Shares deletion, because the process that renamed the file into place may still have it open.
std::optional<std::string> contentOf(const fs::path& path) {
    HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    std::string content;
    std::array<char, 4096> buffer{};
    DWORD count = 0;
    while (ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) != 0 &&
           count > 0) {
        content.append(buffer.data(), count);
    }
    CloseHandle(file);
    return content;
}

std::string bytesOf(const fs::path& path) {
    const std::optional<std::string> content = contentOf(path);
    const DWORD error = content ? ERROR_SUCCESS : GetLastError();
    EXPECT_TRUE(content || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
        << path << " cannot be read, error " << error;
    return content.value_or("");
}

bool VariableOrder::operator()(const std::wstring& left, const std::wstring& right) const {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
}

EndToEnd::EndToEnd() : launcherName(environmentText(L"ZELLAUNCHER_PROGRAM")) {
    static int count = 0;
    if (launcherName.empty()) {
        launcherName = L"zellauncher.exe";
    }
    root = fs::path(environmentText(L"TEMP")) /
           (L"zl-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count));
    install = root / L"framework" / L"Client";
    base = install / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    userHome = root / L"home";
    std::error_code ignored;
    fs::remove_all(root, ignored);  // process ids are reused
    launcherProperties = {{"zel.install.id", "1234"},
                          {"zel.base.location", "${zel.home}/zel/eclipse/plugins/base_1.0"},
                          {"install.configuration", "user"},
                          {"jvm.location", "${zel.home}/jvm/bin/javaw.exe"},
                          {"product", "com.example.product"}};
    baseLines = {"application=com.example.app", "plugincustomization=${zel.home}/custom.ini",
                 "Xbootclasspath.append=${zel.home}/boot.jar"};
    jvmLines = {"-Xmx512m"};
}

EndToEnd::~EndToEnd() {
    for (const fs::path& directory : workspaces) {
        stopPlatform(directory);
    }
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

void EndToEnd::setProperty(const std::string& key, const std::string& value) {
    removeProperty(key);
    launcherProperties.emplace_back(key, value);
}

void EndToEnd::removeProperty(const std::string& key) {
    std::erase_if(launcherProperties, [&](const auto& property) { return property.first == key; });
}

void EndToEnd::placeProgram(const std::wstring& name, const fs::path& target) {
    fs::create_directories(target.parent_path());
    if (!fs::exists(target)) {
        copyOver(builtPrograms() / name, target);
    }
}

void EndToEnd::layOut() {
    const auto joined = [](const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\r\n";
        }
        return text;
    };
    isLaidOut = true;
    std::vector<std::string> launcherLines;
    for (const auto& [key, value] : launcherProperties) {
        launcherLines.push_back(key + "=" + value);
    }
    fs::create_directories(userHome);
    fs::create_directories(root / L"temp");
    placeProgram(launcherName, launcherPath());
    placeProgram(L"standin.exe", base / L"win32" / L"x86_64" / L"eclipse.exe");
    // Platforms live until their test ends them, unless the script says otherwise.
    write(base / L"win32" / L"x86_64" / L"standin.script", "live 120000\r\n" + joined(scriptLines));
    write(install / L"zel" / L"zellauncher.properties", joined(launcherLines));
    write(base / L"zelinstall.properties", joined(baseLines));
    write(base / L"config.ini", "seeded=base\r\n");
    write(base / L"config" / L"user" / L"config.ini", "seeded=user\r\n");
    write(base / L"config" / L"pbuilder" / L"config.ini", "seeded=pbuilder\r\n");
    write(base / L"platform.xml", "<config>\r\n<feature id=\"${jvm.feature.id}\"/>\r\n</config>\r\n");
    write(install / L"custom.ini", "");
    write(install / L"zel" / L"deploy" / L"jvm.properties", joined(jvmLines));
    write(install / L"jvm" / L"bin" / L"javaw.exe", "");
    write(install / L"jvm" / L"bin" / L"java.exe", "");
}

void EndToEnd::layOutExample() {
    isLaidOut = true;
    fs::create_directories(userHome);
    fs::create_directories(root / L"temp");
    // The target must not exist: libstdc++ takes two directories of one drive for the same one.
    fs::create_directories(install.parent_path());
    fs::copy(builtPrograms() / L"example-install", install, fs::copy_options::recursive);
    placeProgram(launcherName, launcherPath());
    placeProgram(L"standin.exe", base / L"win32" / L"x86_64" / L"eclipse.exe");
}

Running EndToEnd::begin(const Arguments& arguments) {
    return beginFrom(launcherPath(), arguments);
}

Running EndToEnd::beginFrom(const fs::path& program, const Arguments& arguments) {
    return beginCommand(quoted(program.wstring()) + tailOf(arguments));
}

Running EndToEnd::beginLine(const std::wstring& tail) {
    return beginCommand(quoted(launcherPath().wstring()) + L" " + tail);
}

Running EndToEnd::beginCommand(std::wstring command) {
    if (!isLaidOut) {
        layOut();
    }
    workspaces.push_back(workspace());
    return beginProcess(std::move(command), nullptr);
}

Variables EndToEnd::launcherVariables() const {
    Variables variables = ownVariables();
    variables[L"TEMP"] = (root / L"temp").wstring();
    variables[L"HOMEDRIVE"] = userHome.root_name().wstring();
    variables[L"HOMEPATH"] = userHome.wstring().substr(2);
    variables[L"USERPROFILE"] = userHome.wstring();
    variables[L"USERNAME"] = userName;
    for (const auto& [name, value] : environment) {
        variables[name] = value;
    }
    for (const std::wstring& name : missingVariables) {
        variables.erase(name);
    }
    return variables;
}

Running EndToEnd::beginProcess(std::wstring command, void* output) const {
    std::wstring block = environmentBlock(launcherVariables());
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    if (output != nullptr) {
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = output;
        start.hStdError = output;
    }
    PROCESS_INFORMATION process = {};
    const std::uint32_t error = launchertest::startProcess([&]() -> std::uint32_t {
        const BOOL isStarted =
            CreateProcessW(nullptr, command.data(), nullptr, nullptr, output != nullptr ? TRUE : FALSE,
                           CREATE_UNICODE_ENVIRONMENT, block.data(),
                           currentDirectory.empty() ? nullptr : currentDirectory.c_str(), &start, &process);
        return isStarted != 0 ? 0 : GetLastError();
    });
    if (error != 0) {
        ADD_FAILURE() << "CreateProcessW failed with error " << error << ": "
                      << launchertest::toUtf8(command);
        return {};
    }
    CloseHandle(process.hThread);
    return {process.hProcess, process.dwProcessId};
}

bool EndToEnd::hasEnded(const Running& running) {
    return WaitForSingleObject(running.process, 0) == WAIT_OBJECT_0;
}

std::optional<std::uint64_t> EndToEnd::positionInLockFile(const Running& running) const {
    return positionIn(running.process, workspace() / L".zel.lock");
}

bool EndToEnd::hasComeToTheLock(const Running& running) const {
    bool hasCome = false;
    eventually([&] {
        hasCome = positionInLockFile(running).has_value();
        return hasCome || hasEnded(running);
    });
    return hasCome;
}

bool EndToEnd::hasReadTheLockFile(const Running& running) const {
    bool hasRead = false;
    eventually([&] {
        hasRead = positionInLockFile(running).value_or(0) > 0;
        return hasRead || hasEnded(running);
    });
    return hasRead;
}

Status EndToEnd::waitFor(const Running& running) {
    Status status;
    DWORD code = 0;
    if (running.process != nullptr &&
        WaitForSingleObject(running.process, launcherMilliseconds) == WAIT_OBJECT_0 &&
        GetExitCodeProcess(running.process, &code) != 0) {
        status = code;
    }
    if (running.process != nullptr) {
        if (!status) {
            TerminateProcess(running.process, 1);
        }
        CloseHandle(running.process);
    }
    return status;
}

Status EndToEnd::launch(const Arguments& arguments) {
    return launchTail(launcherPath(), tailOf(arguments));
}

Status EndToEnd::launchLine(const std::wstring& tail) {
    return launchTail(launcherPath(), L" " + tail);
}

Status EndToEnd::launchTail(const fs::path& program, const std::wstring& tail) {
    if (!isLaidOut) {
        layOut();
    }
    if (!environmentText(L"ZELLAUNCHER_EXPLAIN").empty()) {
        return launchExplained(program, tail);
    }
    const LoggedStart start(root);
    const Status status = waitFor(beginCommand(quoted(program.wstring()) + tail));
    for (const std::string& difference : start.differences(status, hasLog ? 1 : 0)) {
        ADD_FAILURE() << difference;
    }
    return status;
}

std::wstring EndToEnd::runningPlatform() const {
    for (const fs::path& directory : platformDirectories(root)) {
        if (isPlatformRunning(directory)) {
            const std::wstring pipe = pipeName(directory);
            const bool isMissing = !pipe.empty() && WaitNamedPipeW(pipe.c_str(), 1) == 0 &&
                                   GetLastError() == ERROR_FILE_NOT_FOUND;
            return isMissing ? L"ends-at-once" : L"running";
        }
    }
    return L"none";
}

std::string EndToEnd::explain(const fs::path& program, const std::wstring& tail) const {
    const fs::path file = root.wstring() + L".json";
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    HANDLE output = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    const std::wstring command =
        quoted((builtPrograms() / L"zelexplain.exe").wstring()) + L" start " + quoted(install.wstring()) +
        L" --json --program " + quoted(program.wstring()) + L" --administrator " +
        (isUserAdministrator() ? L"yes" : L"no") + L" --platform " + runningPlatform() + L" --" + tail;
    EXPECT_EQ(waitFor(beginProcess(command, output)), 0U);
    CloseHandle(output);
    const std::string text = bytesOf(file);
    removeAll(file);
    return text;
}

Status EndToEnd::launchExplained(const fs::path& program, const std::wstring& tail) {
    const Contents records = recordsOf(root);
    const ExplainedStart start = readExplanation(explain(program, tail), contentsOf(root));
    const LoggedStart loggedStart(root);
    const Status status = waitFor(beginCommand(quoted(program.wstring()) + tail));
    const auto newStart = [&] { return newPlatform(records, recordsOf(root)); };
    const auto newPayload = [&] { return newEntry(records, recordsOf(root), L"payload-"); };
    if (status == 0U && start.said.outcome != "prepared") {
        EXPECT_TRUE(eventually([&] { return newStart() || newPayload(); }));
    }
    const Contents newRecords = recordsOf(root);
    std::set<std::string> numbers = processIdsOf(newRecords);
    const bool hasIdentity =
        std::any_of(launcherProperties.begin(), launcherProperties.end(),
                    [](const auto& property) { return property.first == "zel.install.id"; });
    if (!hasIdentity) {
        numbers.merge(madeIdentities(bytesOf(install / L"zel" / L"zellauncher.properties")));
    }
    explaintest::Differences differences(numbers);
    explaintest::Side real;
    real.status = static_cast<std::int32_t>(status.value_or(0));
    real.outcome = status == 0U ? "prepared" : "refused";
    if (const auto platform = newStart()) {
        real.command = newRecords.at(*platform + L"command.txt");
        real.outcome = isProvisioning(real.command) ? "provisioned" : "started";
        real.environment =
            changesOf(launcherVariables(), variablesIn(newRecords.at(*platform + L"environment.txt")));
        differences.compare("environment", start.said.environment, real.environment);
    } else if (const auto payload = newPayload()) {
        const std::wstring text = launchertest::pipeText(*payload);
        real.outcome = "handedOver";
        real.command = launchertest::toUtf8(text.substr(0, text.find(L'\0')));
    }
    differences.compare("outcome", start.said.outcome, real.outcome);
    differences.compare("status", std::to_string(start.said.status), std::to_string(real.status));
    differences.compare("command", real.command.empty() ? "" : start.said.command, real.command);
    compareContents(differences, start, contentsOf(root));
    // Without a log file, the start says nothing that could be compared.
    differences.compare(
        "log", withoutSystemTexts(start.logPath.empty() ? explaintest::Lines() : start.said.log),
        withoutSystemTexts(logLines(start.logPath)), explaintest::Differences::Order::matters);
    for (const std::string& difference : loggedStart.differences(status, hasLog ? 1 : 0, real.outcome)) {
        ADD_FAILURE() << difference;
    }
    reportDifferences(differences, ++explainedStarts);
    return status;
}

Status EndToEnd::launchFrom(const fs::path& program, const Arguments& arguments) {
    const bool isLauncher =
        program.parent_path() == install / L"zel" && program.filename().wstring().starts_with(L"zellauncher");
    return isLauncher ? launchTail(program, tailOf(arguments)) : waitFor(beginFrom(program, arguments));
}

fs::path EndToEnd::workspace() const {
    return userHome / L"Mivel" / L"ZEL" / L"1234" / userName;
}

std::wstring EndToEnd::workspaceArgument() const {
    return userHome.wstring() + L"/Mivel/ZEL/1234/" + userName;
}

std::string EndToEnd::log() const {
    return read(workspace() / L"logs" / L"zellauncher.log");
}

std::string EndToEnd::tempLog() const {
    return read(root / L"temp" / L"zellauncher.log");
}

std::vector<std::string> EndToEnd::stampedLogs(const fs::path& directory) {
    std::vector<std::string> logs;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (entry.path().filename().wstring().starts_with(L"zellauncher_")) {
            logs.push_back(read(entry.path()));
        }
    }
    return logs;
}

std::string EndToEnd::lockLog() const {
    const std::vector<std::string> logs = stampedLogs(root / L"temp");
    return logs.size() == 1 ? logs.front() : std::string();
}

std::string EndToEnd::read(const fs::path& path) {
    return launchertest::withLineFeeds(bytesOf(path));
}

void EndToEnd::write(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    replaceContent(path, content);
}

// The standin writes running.txt when its other records are complete.
void EndToEnd::awaitRecords(const fs::path& directory) {
    const fs::path records = directory / L"standin";
    EXPECT_TRUE(eventually(
        [&] { return fs::exists(records / L"running.txt") || fs::exists(records / L"fault.txt"); }));
}

void EndToEnd::removeRecords(const fs::path& directory) {
    const std::string fault = bytesOf(directory / L"standin" / L"fault.txt");
    EXPECT_EQ(fault, "") << "the standin cannot follow this command of its script";
    removeAll(directory / L"standin");
}

Arguments EndToEnd::platformArguments(const fs::path& directory) const {
    awaitRecords(directory);
    return linesOf(read(directory / L"standin" / L"arguments.txt"));
}

std::wstring EndToEnd::platformCommand(const fs::path& directory) const {
    awaitRecords(directory);
    return launchertest::fromUtf8(read(directory / L"standin" / L"command.txt"));
}

Variables EndToEnd::platformEnvironment() const {
    awaitRecords(workspace());
    return variablesIn(read(workspace() / L"standin" / L"environment.txt"));
}

std::map<std::string, std::string> EndToEnd::platformStart() const {
    awaitRecords(workspace());
    std::map<std::string, std::string> entries;
    for (const std::string& line : launchertest::splitLines(read(workspace() / L"standin" / L"start.txt"))) {
        entries.insert(splitAtEquals(line));
    }
    return entries;
}

bool EndToEnd::hasArgument(const std::wstring& argument) const {
    return contains(platformArguments(), argument);
}

std::wstring EndToEnd::argumentAfter(const std::wstring& option) const {
    return argumentAfter(option, platformArguments());
}

std::wstring EndToEnd::argumentAfter(const std::wstring& option, const Arguments& arguments) {
    const auto found = std::find(arguments.begin(), arguments.end(), option);
    return found == arguments.end() || found + 1 == arguments.end() ? std::wstring() : *(found + 1);
}

bool EndToEnd::hasPayload(int number) const {
    return fs::exists(payloadFile(workspace(), number));
}

std::wstring EndToEnd::payload(int number) const {
    EXPECT_TRUE(eventually([&] { return hasPayload(number); })) << "payload " << number;
    const std::string bytes = bytesOf(payloadFile(workspace(), number));
    EXPECT_EQ(bytes.size() % sizeof(wchar_t), 0U);
    return launchertest::pipeText(bytes);
}

Arguments EndToEnd::handedOver(int number) const {
    return linesOfPayload(payload(number));
}

void* EndToEnd::openRecordedProcess(const fs::path& directory, std::uint32_t rights) const {
    std::istringstream record(bytesOf(directory / L".zel.main"));
    std::uint32_t processId = 0;
    record >> processId;
    return processId == 0 ? nullptr : openProcess(processId, rights);
}

void* EndToEnd::openProcess(std::uint32_t processId, std::uint32_t rights) const {
    return openProcessOf(processId, rights, programDirectories());
}

bool EndToEnd::isPlatformRunning(const fs::path& directory) const {
    HANDLE process = openRecordedProcess(directory, SYNCHRONIZE);
    if (process == nullptr) {
        return false;
    }
    const bool isRunning = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return isRunning;
}

void EndToEnd::askPlatform(const std::string& request, const fs::path& directory) {
    write(directory / ("standin." + request), "");
}

void EndToEnd::stopPlatform(const fs::path& directory) {
    HANDLE process = openRecordedProcess(directory, SYNCHRONIZE);
    if (process != nullptr) {
        askPlatform("stop", directory);
        WaitForSingleObject(process, platformMilliseconds);
        CloseHandle(process);
    }
    removeAll(directory / L"standin.stop");
    removeRecords(directory);
}

void EndToEnd::crashPlatform() {
    HANDLE process = openRecordedProcess(workspace(), PROCESS_TERMINATE | SYNCHRONIZE);
    ASSERT_NE(process, nullptr);
    EXPECT_NE(TerminateProcess(process, 1), 0);
    EXPECT_EQ(WaitForSingleObject(process, platformMilliseconds), WAIT_OBJECT_0);
    CloseHandle(process);
    removeRecords(workspace());
}

std::string EndToEnd::whyNoSupervision() {
    const std::optional<ForeignPlatform> other = findForeignPlatform(environmentText(L"TEMP"));
    return other ? "another eclipse.exe runs: process " + std::to_string(other->processId) + " " +
                       launchertest::toUtf8(other->program.wstring())
                 : std::string();
}

bool EndToEnd::isLockFree() const {
    constexpr DWORD lockedBytes = 100;
    HANDLE file = CreateFileW((workspace() / L".zel.lock").c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND;
    }
    const bool isFree = LockFile(file, 0, 0, lockedBytes, 0) != 0;
    CloseHandle(file);
    return isFree;
}

void EndToEnd::pause() {
    Sleep(pauseMilliseconds);
}

std::wstring EndToEnd::pipeName(const fs::path& directory) {
    const Arguments lines = linesOf(read(directory / L".pipe"));
    return lines.empty() ? std::wstring() : lines.front();
}

PipeClient::PipeClient(const std::wstring& name) {
    WaitNamedPipeW(name.c_str(), platformMilliseconds);
    HANDLE handle = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    pipe = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

bool PipeClient::write(const std::wstring& text) {
    DWORD written = 0;
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return WriteFile(pipe, text.c_str(), size, &written, nullptr) != 0 && written == size;
}

void PipeClient::close() {
    if (pipe != nullptr) {
        CloseHandle(pipe);
        pipe = nullptr;
    }
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

bool contains(const Arguments& arguments, const std::wstring& argument) {
    return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
}

bool containsInOrder(const Arguments& arguments, const Arguments& part) {
    return std::search(arguments.begin(), arguments.end(), part.begin(), part.end()) != arguments.end();
}

Arguments linesOf(const std::string& text) {
    Arguments lines;
    for (const std::string& line : launchertest::splitLines(text)) {
        lines.push_back(launchertest::fromUtf8(line));
    }
    return lines;
}

Arguments linesOfPayload(const std::wstring& text) {
    EXPECT_EQ(text.find(L'\0'), text.size() - 1);
    Arguments lines(1);
    for (const wchar_t unit : text) {
        if (unit == L'\n') {
            lines.emplace_back();
        } else if (unit != L'\0') {
            lines.back() += unit;
        }
    }
    return lines;
}

Tree treeOf(const fs::path& directory) {
    Tree tree;
    const fs::recursive_directory_iterator end;
    for (fs::recursive_directory_iterator walk(directory); walk != end; ++walk) {
        std::error_code ignored;  // the system may delete a file meanwhile
        std::wstring& line = tree[walk->path()];
        if (walk->is_regular_file(ignored)) {
            line = std::to_wstring(walk->file_size(ignored)) + L" " +
                   std::to_wstring(walk->last_write_time(ignored).time_since_epoch().count());
        } else if (isLinkOutOfWine(walk->path())) {
            walk.disable_recursion_pending();
        }
    }
    return tree;
}

std::wstring forward(const fs::path& path) {
    return path.generic_wstring();
}

std::wstring backward(const fs::path& path) {
    return fs::path(path).make_preferred().wstring();
}

bool isWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool isUserAdministrator() {
    HMODULE library = LoadLibraryExW(L"netapi32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) {
        return false;
    }
    const bool isMember = groupsOfUser(library).count(nameOfAdministrators()) != 0;
    FreeLibrary(library);
    return isMember;
}

}  // namespace endtoend
