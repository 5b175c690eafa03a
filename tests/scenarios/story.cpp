#include "scenarios/story.h"

#include <algorithm>

#include "launch/entry.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/streams.h"
#include "properties/property_reader.h"

namespace scenarios {

namespace {

std::string withLineFeeds(const std::string& bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\r' || i + 1 >= bytes.size() || bytes[i + 1] != '\n') {
            text += bytes[i];
        }
    }
    return text;
}

std::wstring wordBehind(const std::vector<std::wstring>& words, const std::wstring& option) {
    const auto found = std::find(words.begin(), words.end(), option);
    return found == words.end() || found + 1 == words.end() ? std::wstring() : *(found + 1);
}

// The program of the platform: it publishes its endpoint in the workspace that its command names,
// holds its semaphore, and lives until its time is over or somebody asks it to end.
int runPlatform(const PlatformBehaviour behaviour) {
    constexpr std::uint32_t step = 100;
    const std::wstring directory = wordBehind(platform::commandLineArguments(), L"-data");
    platform::sleepMilliseconds(behaviour.publishAfterMilliseconds);
    if (behaviour.publishes) {
        const std::string leaf = "platform-" + std::to_string(platform::currentProcessId());
        const std::wstring wideLeaf(leaf.begin(), leaf.end());
        simulation::holdSemaphore(L"Global\\" + wideLeaf + L"sem");
        if (behaviour.servesPipe) {
            simulation::servePipe(L"\\\\.\\pipe\\" + wideLeaf);
        }
        platform::Stream* endpoint = platform::openStream(directory + L"\\.pipe", "w");
        if (endpoint != nullptr) {
            platform::writeStream(endpoint, "\\\\.\\pipe\\" + leaf + "\r\n");
            platform::closeStream(endpoint);
        }
    }
    for (std::uint32_t lived = 0; lived < behaviour.livesMilliseconds; lived += step) {
        if (platform::fileAttributes(directory + L"\\platform.stop")) {
            break;
        }
        platform::sleepMilliseconds(step);
    }
    return behaviour.exitCode;
}

}  // namespace

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
    // Every Windows machine names its logon shell.
    machine.setRegistryText(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon", L"Shell",
                            L"explorer.exe");
}

void Story::layOut() {
    isLaidOut = true;
    const std::wstring homePath = home;
    const std::wstring basePath = base;
    machine.makeDirectory(L"C:\\Temp");
    machine.makeDirectory(L"C:\\Users\\ann");
    machine.writeFile(launcher, "");
    machine.writeFile(homePath + L"\\zel\\zellauncher.properties", launcherProperties.content());
    machine.writeFile(basePath + L"\\zelinstall.properties", baseProperties.content());
    machine.writeFile(basePath + L"\\config.ini", "osgi.bundles=example\r\n");
    machine.writeFile(basePath + L"\\platform.xml",
                      "<config>\r\n<feature id=\"${jvm.feature.id}\"/>\r\n</config>\r\n");
    machine.writeFile(homePath + L"\\custom.ini", "");
    machine.writeFile(homePath + L"\\zel\\deploy\\jvm.properties", jvmProperties.content());
    installVm(homePath + L"\\jvm\\bin\\javaw.exe");
    installVm(homePath + L"\\jvm\\bin\\java.exe");
    machine.installProgram(nativeLauncher, [this] { return runPlatform(platform); });
}

simulation::ProcessId Story::begin(const std::vector<std::wstring>& words) {
    if (!isLaidOut) {
        layOut();
    }
    return beginProgram(launcher, words);
}

simulation::ProcessId Story::beginProgram(const std::wstring& program,
                                          const std::vector<std::wstring>& words) {
    std::vector<std::wstring> commandLine = {program};
    commandLine.insert(commandLine.end(), words.begin(), words.end());
    return machine.start(commandLine, [] { return zellauncher::wmain(); });
}

simulation::ProcessEnd Story::launchFrom(const std::wstring& program,
                                         const std::vector<std::wstring>& words) {
    return machine.waitFor(beginProgram(program, words));
}

simulation::ProcessEnd Story::launch(const std::vector<std::wstring>& words) {
    return machine.waitFor(begin(words));
}

void Story::closePlatform() {
    ASSERT_FALSE(machine.startedProcesses().empty());
    const simulation::ProcessId child = machine.startedProcesses().back().id;
    machine.writeFile(inWorkspace(L"platform.stop"), "");
    machine.waitFor(child);
    machine.remove(inWorkspace(L"platform.stop"));
}

std::string Story::logAt(const std::wstring& path) const {
    return withLineFeeds(machine.readFile(path).value_or(""));
}

std::string Story::log() const {
    return logAt(inWorkspace(L"logs\\zellauncher.log"));
}

std::string Story::tempLog() const {
    return logAt(L"C:\\Temp\\zellauncher.log");
}

bool Story::logHas(const std::string& line) const {
    return ("\n" + log()).find("\n" + line + "\n") != std::string::npos;
}

std::vector<std::wstring> Story::payloads() const {
    std::vector<std::wstring> texts;
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        const std::wstring name = L"\\\\.\\pipe\\platform-" + std::to_wstring(child.id);
        for (const std::string& bytes : machine.pipePayloads(name)) {
            std::wstring text;
            for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
                const auto low = static_cast<unsigned char>(bytes[i]);
                const auto high = static_cast<unsigned char>(bytes[i + 1]);
                text += static_cast<wchar_t>(low + high * 256);
            }
            texts.push_back(text);
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

std::wstring Story::elementBehind(const std::wstring& option) const {
    return wordBehind(elements(), option);
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

void Story::installVm(const std::wstring& path) {
    machine.writeFile(path, "");
}

}  // namespace scenarios
