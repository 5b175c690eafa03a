#include "scenarios/story.h"

#include <algorithm>

#include "launch/entry.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/streams.h"
#include "properties/arguments.h"
#include "properties/property_reader.h"
#include "support/text.h"

namespace scenarios {

namespace {

void serve(const std::wstring& pipe, const PlatformBehaviour& behaviour) {
    if (behaviour.servesPipe && behaviour.frozenMilliseconds == 0) {
        simulation::servePipe(pipe);
    } else if (behaviour.servesPipe) {
        simulation::servePipeWithoutReading(pipe, behaviour.pipeBuffer);
    }
}

::testing::AssertionResult resultFor(bool isSuccess, std::string_view text) {
    return (isSuccess ? ::testing::AssertionSuccess() : ::testing::AssertionFailure()) << "\nthe text is:\n"
                                                                                       << text;
}

}  // namespace

StartRunner startRunner;

int runPlatform(PlatformBehaviour behaviour) {
    constexpr std::uint32_t step = 100;
    const zellauncher::Arguments arguments = platform::commandLineArguments();
    const std::wstring* data = zellauncher::argumentAfter(L"-data", arguments);
    const std::wstring directory = data != nullptr ? *data : std::wstring();
    platform::sleepMilliseconds(behaviour.publishAfterMilliseconds);
    std::wstring pipe = L"\\\\.\\pipe\\";
    if (behaviour.publishes) {
        const std::string leaf = "platform-" + std::to_string(platform::currentProcessId());
        const std::wstring wideLeaf(leaf.begin(), leaf.end());
        simulation::holdSemaphore(L"Global\\" + wideLeaf + L"sem");
        pipe += wideLeaf;
        serve(pipe, behaviour);
        platform::Stream* pipeFile = platform::openStream(directory + L"\\.pipe", "w");
        if (pipeFile != nullptr) {
            platform::writeStream(pipeFile, "\\\\.\\pipe\\" + leaf + "\r\n");
            platform::closeStream(pipeFile);
        }
    }
    for (std::uint32_t lived = 0; lived < behaviour.livesMilliseconds; lived += step) {
        if (behaviour.frozenMilliseconds != 0 && lived == behaviour.frozenMilliseconds) {
            simulation::readPipe(pipe);
        }
        if (platform::fileAttributes(directory + L"\\platform.stop")) {
            break;
        }
        platform::sleepMilliseconds(step);
    }
    if (!behaviour.crashArgument.empty() && zellauncher::hasArgument(behaviour.crashArgument, arguments)) {
        const std::wstring crashed = directory + L"\\platform.crashed";
        if (!platform::fileAttributes(crashed)) {
            platform::closeStream(platform::openStream(crashed, "w"));
            return 1;
        }
    }
    return behaviour.exitCode;
}

void PropertyFile::set(const std::string& key, const std::string& value) {
    const std::string text = key + "=" + value;
    for (Line& line : lines) {
        if (line.key == key) {
            line.text = text;
            return;
        }
    }
    lines.push_back({key, text});
}

void PropertyFile::remove(const std::string& key) {
    std::erase_if(lines, [&](const Line& line) { return line.key == key; });
}

void PropertyFile::addLine(const std::string& line) {
    lines.push_back({"", line});
}

std::string PropertyFile::content() const {
    std::string text;
    for (const Line& line : lines) {
        text.append(line.text).append("\r\n");
    }
    return text;
}

Story::Story(std::uint64_t seed) : machine(seed) {
    launcherProperties.set("zel.install.id", "1234");
    launcherProperties.set("zel.base.location", "${zel.home}/zel/eclipse/plugins/base_1.0");
    launcherProperties.set("install.configuration", "user");
    launcherProperties.set("jvm.location", "${zel.home}/jvm/bin/javaw.exe");
    launcherProperties.set("product", "com.example.product");
    baseProperties.set("application", "com.example.app");
    baseProperties.set("plugincustomization", "${zel.home}/custom.ini");
    baseProperties.set("Xbootclasspath.append", "${zel.home}/boot.jar");
    jvmProperties.addLine("-Xmx512m");
    // Every Windows has a logon shell.
    machine.setRegistryText(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon", L"Shell",
                            L"explorer.exe");
}

void Story::layOut() {
    isLaidOut = true;
    const std::wstring installPath = installDir;
    const std::wstring basePath = base;
    machine.makeDirectory(L"C:\\Temp");
    machine.makeDirectory(L"C:\\Users\\ann");
    machine.writeFile(launcher, "");
    machine.writeFile(installPath + L"\\zel\\zellauncher.properties", launcherProperties.content());
    machine.writeFile(basePath + L"\\zelinstall.properties", baseProperties.content());
    machine.writeFile(basePath + L"\\config.ini", "osgi.bundles=example\r\n");
    machine.writeFile(basePath + L"\\platform.xml",
                      "<config>\r\n<feature id=\"${jvm.feature.id}\"/>\r\n</config>\r\n");
    machine.writeFile(installPath + L"\\custom.ini", "");
    machine.writeFile(installPath + L"\\zel\\deploy\\jvm.properties", jvmProperties.content());
    machine.writeFile(installPath + L"\\jvm\\bin\\javaw.exe", "");
    machine.writeFile(installPath + L"\\jvm\\bin\\java.exe", "");
    machine.installProgram(nativeLauncher, [this] { return runPlatform(platform); });
}

simulation::ProcessId Story::begin(const std::vector<std::wstring>& arguments) {
    if (!isLaidOut) {
        layOut();
    }
    return beginProgram(launcher, arguments);
}

simulation::ProcessId Story::beginProgram(const std::wstring& program,
                                          const std::vector<std::wstring>& arguments) {
    std::vector<std::wstring> commandLine = {program};
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    return machine.start(commandLine, [] { return zellauncher::wmain(); });
}

simulation::ProcessEnd Story::launchFrom(const std::wstring& program,
                                         const std::vector<std::wstring>& arguments) {
    return runProgram(program, arguments);
}

simulation::ProcessEnd Story::launch(const std::vector<std::wstring>& arguments) {
    if (!isLaidOut) {
        layOut();
    }
    return runProgram(launcher, arguments);
}

simulation::ProcessEnd Story::runProgram(const std::wstring& program,
                                         const std::vector<std::wstring>& arguments) {
    const auto begins = [&] { return beginProgram(program, arguments); };
    std::vector<std::wstring> commandLine = {program};
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    return startRunner ? startRunner(machine, platform, commandLine, begins) : machine.waitFor(begins());
}

void Story::closePlatform() {
    ASSERT_FALSE(machine.startedProcesses().empty());
    const simulation::ProcessId child = machine.startedProcesses().back().id;
    machine.writeFile(inWorkspace(L"platform.stop"), "");
    machine.waitFor(child);
    machine.remove(inWorkspace(L"platform.stop"));
}

std::string Story::logAt(const std::wstring& path) const {
    return launchertest::withLineFeeds(machine.readFile(path).value_or(""));
}

std::string Story::log() const {
    return logAt(inWorkspace(L"logs\\zellauncher.log"));
}

std::string Story::tempLog() const {
    return logAt(L"C:\\Temp\\zellauncher.log");
}

std::string Story::lastDebugLog() const {
    return logAt(machine.tree(inWorkspace(L"logs")).back());
}

::testing::AssertionResult Story::logHas(const std::string& line) const {
    return contains("\n" + log(), "\n" + line + "\n");
}

std::vector<std::wstring> Story::payloads() const {
    std::vector<std::wstring> texts;
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        const std::wstring name = L"\\\\.\\pipe\\platform-" + std::to_wstring(child.id);
        for (const std::string& bytes : machine.pipePayloads(name)) {
            texts.push_back(launchertest::pipeText(bytes));
        }
    }
    return texts;
}

std::wstring Story::command() const {
    const auto& started = machine.startedProcesses();
    return started.empty() ? std::wstring() : started.back().commandLine;
}

std::vector<std::wstring> Story::elements() const {
    std::vector<std::wstring> all;
    bool isQuoted = false;
    bool isOpen = false;
    for (const wchar_t unit : command()) {
        if (unit == L' ' && !isQuoted) {
            isOpen = false;
            continue;
        }
        if (!isOpen) {
            all.emplace_back();
            isOpen = true;
        }
        isQuoted = (unit == L'"') != isQuoted;
        all.back() += unit;
    }
    return all;
}

bool Story::hasElement(const std::wstring& element) const {
    const std::vector<std::wstring> all = elements();
    return std::find(all.begin(), all.end(), element) != all.end();
}

std::map<std::wstring, std::wstring> Story::childEnvironment() const {
    const auto& started = machine.startedProcesses();
    return started.empty() ? std::map<std::wstring, std::wstring>() : started.back().environment;
}

std::wstring Story::inWorkspace(const std::wstring& name) const {
    return std::wstring(workspace) + L"\\" + name;
}

std::wstring Story::inConfig(const std::wstring& name) const {
    return inWorkspace(L".config\\" + name);
}

std::optional<std::string> Story::workspaceFile(const std::wstring& name) const {
    return machine.readFile(inWorkspace(name));
}

std::optional<std::string> Story::configFile(const std::wstring& name) const {
    return machine.readFile(inConfig(name));
}

std::optional<std::wstring> Story::valueIn(const std::wstring& path, const std::wstring& key) {
    std::optional<std::wstring> value;
    machine.run({launcher}, [&] {
        zellauncher::PropertyList list;
        zellauncher::loadPropertyFile(path, list);
        if (const std::wstring* found = zellauncher::lookupProperty(key, list)) {
            value = *found;
        }
        return 0;
    });
    return value;
}

::testing::AssertionResult contains(std::string_view text, std::string_view part) {
    return resultFor(text.find(part) != std::string_view::npos, text);
}

::testing::AssertionResult contains(std::wstring_view text, std::wstring_view part) {
    return resultFor(text.find(part) != std::wstring_view::npos, launchertest::toUtf8(text));
}

::testing::AssertionResult endsWith(std::string_view text, std::string_view end) {
    return resultFor(text.ends_with(end), text);
}

}  // namespace scenarios
