#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "endtoend.h"

// The real zellauncher.exe with a real platform: a JVM for Windows, the native platform launcher, the OSGi
// framework and the example platform of this directory.
namespace realplatform {

namespace fs = std::filesystem;

using Facts = std::map<std::string, std::string>;
using Words = std::vector<std::wstring>;

// What one run of the platform saw of its start and wrote down.
struct StartReport {
    Facts properties;   // of the system, as Java has them
    Facts environment;  // of its process
    Facts summary;      // framework, java, pid, product, workspace, configuration, memory, boot
    Words framework;    // the words that the framework got
    Words application;  // those of them that are the application's
    Words command;      // the command line of the process, cut by the system's rules
};

class RealPlatform : public endtoend::EndToEnd {
protected:
    RealPlatform();
    ~RealPlatform() override;  // ends the platform of this test
    void SetUp() override;     // skips the test where the parts of the platform cannot be had
    void layOut() override;

    // How the native launcher runs the JVM: as a process of its own, or loaded into the own process.
    void runJvmBeside() { setJvm("bin/javaw.exe"); }
    void runJvmInside() { setJvm("bin/server/jvm.dll"); }
    std::wstring jvmDirectory() const { return endtoend::forward(parts) + L"/jvm"; }

    // A start after which the platform runs.
    void expectStart(const Words& words = {});
    StartReport platform() const { return readReport(L"platform"); }
    StartReport provisioning() const { return readReport(L"provisioning"); }
    bool hasRun(const std::wstring& name) const;
    Words handOff(int number) const;  // the words of the n-th text that came, from 1 on; waits for it
    bool hasHandOff(int number) const;

    std::uint32_t platformNumber() const;  // of the process that the platform runs in
    std::uint32_t recordedNumber() const;  // of the process that the launcher started
    static bool isRunning(std::uint32_t number);
    void awaitEndOf(std::uint32_t number);
    void crash(std::uint32_t number);
    // Waits until the platform runs in another process than in this one.
    void awaitSuccessorOf(std::uint32_t number);

    // Hands words over as a launcher would; the platform does what they ask.
    void tell(const Words& words);
    void endPlatform();  // and waits for that; what it wrote down is removed

    fs::path parts;  // what the build made of the parts
    fs::path place;  // the workspace where the platform runs, unless it is the usual one

private:
    void setJvm(const std::string& program);
    fs::path platformWorkspace() const { return place.empty() ? workspace() : place; }
    fs::path handOffFile(int number) const;
    StartReport readReport(const std::wstring& name) const;
};

bool contains(const Words& words, const std::wstring& word);
std::wstring wordAfter(const Words& words, const std::wstring& word);  // empty without that word
std::string utf8(const std::wstring& text);

}  // namespace realplatform
