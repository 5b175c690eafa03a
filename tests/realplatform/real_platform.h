#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "endtoend.h"

// Runs the real zellauncher.exe with a real platform: a Windows JVM, the native platform launcher, the OSGi
// framework and the example platform in platform/.
namespace realplatform {

namespace fs = std::filesystem;

using endtoend::Arguments;
using Facts = std::map<std::string, std::string>;

// What the platform recorded at its start.
struct StartReport {
    Facts properties;                 // Java's system properties
    endtoend::Variables environment;  // of the platform's process
    Facts summary;                    // framework, java, pid, product, workspace, configuration, memory, boot
    Arguments framework;              // those that the framework got
    Arguments application;            // the part of them that the framework gave to the application
    Arguments command;                // the process's command line, split by the system's rules
};

class RealPlatform : public endtoend::EndToEnd {
protected:
    RealPlatform();
    ~RealPlatform() override;  // ends the platform of this test
    void SetUp() override;     // skips the test if the parts of the platform are missing
    void layOut() override;
    std::vector<fs::path> programDirectories() const override { return {root, parts}; }

    // The native platform launcher starts the JVM as a second process, or loads it into its own.
    void runJvmBeside() { setJvm("bin/javaw.exe"); }
    void runJvmInside() { setJvm("bin/server/jvm.dll"); }
    std::wstring jvmDirectory() const { return endtoend::forward(parts) + L"/jvm"; }

    // Starts the launcher and waits until the platform runs.
    void expectStart(const Arguments& arguments = {});
    StartReport platform() const { return readReport(L"platform"); }
    StartReport provisioning() const { return readReport(L"provisioning"); }
    bool hasRun(const std::wstring& name) const;
    // The lines of the n-th text from the pipe, from 1 on; waits for it.
    Arguments handOff(int number) const;
    bool hasHandOff(int number) const;

    std::uint32_t jvmProcessId() const;       // 0 if the platform has not run
    std::uint32_t recordedProcessId() const;  // in .zel.main
    bool isRunning(std::uint32_t processId) const;
    void awaitEndOf(std::uint32_t processId);
    void crash(std::uint32_t processId);
    // Waits until the platform runs in another process than this one.
    void awaitSuccessorOf(std::uint32_t processId);

    // Sends the arguments through the pipe; the platform does what they ask.
    void send(const Arguments& arguments);
    // Ends the platform, waits for that and deletes its records.
    void endPlatform();

    fs::path parts;  // the directory that cmake/real-platform.sh fills
    fs::path place;  // the platform's workspace; empty means the default one

private:
    void setJvm(const std::string& program);
    fs::path platformWorkspace() const { return place.empty() ? workspace() : place; }
    fs::path handOffFile(int number) const;
    StartReport readReport(const std::wstring& name) const;
};

}  // namespace realplatform
