#include "contract/children.h"

#include <map>
#include <vector>

#include "contract/contract.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/environment.h"
#include "platform/own_process.h"
#include "platform/pipes.h"
#include "support/process_start.h"

namespace contract {

namespace {

using Arguments = std::vector<std::wstring>;

constexpr std::uint32_t exitCodeOfTimeout = 0xDEAD;

// Drops the upper half of each unit, because the tests use only ASCII here.
std::string narrow(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += static_cast<char>(unit);
    }
    return bytes;
}

// Polls for at most 30 seconds.
void waitUntil(const std::function<bool()>& isDone) {
    for (int i = 0; i < 3000 && !isDone(); ++i) {
        platform::sleepMilliseconds(10);
    }
}

void writeWithoutFlush(const std::wstring& path) {
    platform::writeStream(platform::openStream(path, "w"), "unflushed");
}

void waitForRelease(const std::wstring& readyFile, const std::wstring& releaseFile) {
    write(readyFile, "");
    waitForFile(releaseFile);
}

int exitAtOnce(const Arguments& arguments) {
    return std::stoi(arguments.at(0));
}

int stay(const Arguments& arguments) {
    waitForRelease(arguments.at(1), arguments.at(2));
    return std::stoi(arguments.at(0));
}

int leaveUnflushed(const Arguments& arguments) {
    writeWithoutFlush(arguments.at(1));
    platform::exitProcess(std::stoi(arguments.at(0)));
}

int faultUnflushed(const Arguments& arguments) {
    writeWithoutFlush(arguments.at(0));
    platform::endWithAccessViolation();
}

int holdLock(const Arguments& arguments) {
    platform::Stream* stream = platform::openStream(arguments.at(0), "r+");
    if (stream == nullptr || !platform::lockStream(stream, 10)) {
        return 1;
    }
    waitForRelease(arguments.at(1), arguments.at(2));
    return 0;
}

int holdNamedSemaphore(const Arguments& arguments) {
    holdSemaphore(arguments.at(0));
    waitForRelease(arguments.at(1), arguments.at(2));
    return 0;
}

// Writes what the clients of this process's pipe have sent.
void writeServedTexts(const Arguments& arguments) {
    const auto count = static_cast<std::size_t>(std::stoi(arguments.at(3)));
    const std::vector<std::string> texts = servedTexts(arguments.at(0), count);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        write(arguments.at(2) + L"." + std::to_wstring(i + 1), texts[i]);
    }
}

int serveNamedPipe(const Arguments& arguments) {
    createPipe(arguments.at(0));
    servePipe(arguments.at(0));
    waitForRelease(arguments.at(1), arguments.at(2));
    writeServedTexts(arguments);
    return 0;
}

int holdNamedPipe(const Arguments& arguments) {
    createPipe(arguments.at(0));
    waitForRelease(arguments.at(1), arguments.at(2));
    if (arguments.at(3) != L"0") {
        servePipe(arguments.at(0));
        writeServedTexts(arguments);
    }
    return 0;
}

int sendToPipe(const Arguments& arguments) {
    const platform::Handle client =
        platform::createFile(arguments.at(0), platform::accessRead | platform::accessWrite, 0,
                             platform::openExistingFile, platform::attributeNormal);
    const std::string text(std::stoul(arguments.at(2)), 'x');
    for (unsigned long writes = std::stoul(arguments.at(1)); writes > 0; --writes) {
        if (!platform::writePipe(client, text)) {
            return static_cast<int>(platform::lastError());
        }
    }
    return 0;
}

int useConsole(const Arguments& arguments) {
    const std::wstring& title = arguments.at(0);
    takeConsole();
    if (!hasConsoleWindow()) {
        write(arguments.at(1), "terminal");
        return 0;
    }
    platform::setConsoleTitle(title);
    std::string results = narrow(platform::consoleTitle(4096));
    // A title takes a moment to reach the window.
    for (int i = 0; i < 100 && platform::findWindow(title) == platform::Window::none; ++i) {
        platform::sleepMilliseconds(40);
    }
    const platform::Window window = platform::findWindow(title);
    results += window != platform::Window::none ? " found" : " not found";
    platform::hideWindow(window);
    results += platform::findWindow(title) == window ? " kept" : " lost";
    platform::setConsoleTitle(L"another");
    for (const std::size_t capacity : {std::size_t{4096}, std::size_t{4}}) {
        results += ' ';
        results += narrow(platform::consoleTitle(capacity));
    }
    write(arguments.at(1), results);
    return 0;
}

int writeProcessId(const Arguments& arguments) {
    write(arguments.at(0), std::to_string(platform::currentProcessId()));
    return 0;
}

int startOrphan(const Arguments& arguments) {
    startChild(L"late \"" + arguments.at(0) + L"\"");
    return 0;
}

int writeLate(const Arguments& arguments) {
    platform::sleepMilliseconds(200);
    write(arguments.at(0), "late");
    return 0;
}

int writeArguments(const Arguments& arguments) {
    std::string text;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        text += narrow(arguments[i]) + "\n";
    }
    write(arguments.at(0), text);
    return 0;
}

int writeVariable(const Arguments& arguments) {
    write(arguments.at(1), narrow(platform::environmentValue(arguments.at(0)).value_or(L"(not set)")));
    return 0;
}

int writeDirectory(const Arguments& arguments) {
    write(arguments.at(0), unitBytes(platform::fullPathName(L".", 1000).value_or(L"(none)")));
    return 0;
}

}  // namespace

std::wstring childCommand(const std::wstring& arguments) {
    return childProgram() + L" --child " + arguments;
}

platform::ChildProcess startChild(const std::wstring& arguments) {
    std::optional<platform::ChildProcess> child;
    const std::uint32_t error = launchertest::startProcess([&] {
        child = platform::createProcess(childCommand(arguments), {});
        return child ? platform::errorSuccess : platform::lastError();
    });
    EXPECT_TRUE(child) << error;
    if (!child) {
        return {};
    }
    platform::closeHandle(child->thread);
    return *child;
}

bool waitForEnd(platform::Handle process) {
    waitUntil([&] { return platform::hasProcessEnded(process); });
    return platform::hasProcessEnded(process);
}

std::uint32_t waitForExitCode(platform::Handle process) {
    if (!waitForEnd(process)) {
        return exitCodeOfTimeout;
    }
    const std::uint32_t code = platform::processExitCode(process).value_or(exitCodeOfTimeout);
    platform::closeHandle(process);
    return code;
}

std::uint32_t runChild(const std::wstring& arguments) {
    return waitForExitCode(startChild(arguments).process);
}

void waitForFile(const std::wstring& path) {
    waitUntil([&] { return platform::fileAttributes(path).has_value(); });
}

Holder startHolder(const std::wstring& scratch, const std::wstring& kind, const std::wstring& what,
                   int clients) {
    Holder holder;
    std::wstring readyFile;
    for (int i = 1; readyFile.empty() || platform::fileAttributes(readyFile); ++i) {
        holder.releaseFile = scratch + L"\\release-" + std::to_wstring(i);
        readyFile = holder.releaseFile + L".ready";
    }
    std::wstring arguments = kind;
    for (const std::wstring& argument : {what, readyFile, holder.releaseFile, std::to_wstring(clients)}) {
        arguments += L" \"" + argument + L"\"";
    }
    const platform::ChildProcess child = startChild(arguments);
    holder.process = child.process;
    holder.processId = child.processId;
    waitForFile(readyFile);
    return holder;
}

void release(const Holder& holder, std::uint32_t exitCode) {
    write(holder.releaseFile, "");
    EXPECT_EQ(waitForExitCode(holder.process), exitCode);
}

int runAsChild() {
    static const std::map<std::wstring, int (*)(const Arguments&)> kinds = {
        {L"exit", exitAtOnce},
        {L"stay", stay},
        {L"leave", leaveUnflushed},
        {L"fault", faultUnflushed},
        {L"lock", holdLock},
        {L"pipe", serveNamedPipe},
        {L"semaphore", holdNamedSemaphore},
        {L"unread", holdNamedPipe},
        {L"send", sendToPipe},
        {L"console", useConsole},
        {L"id", writeProcessId},
        {L"orphan", startOrphan},
        {L"late", writeLate},
        {L"variable", writeVariable},
        {L"arguments", writeArguments},
        {L"directory", writeDirectory},
    };
    const Arguments all = platform::commandLineArguments();
    const auto kind = kinds.find(all.at(2));
    return kind != kinds.end() ? kind->second({all.begin() + 3, all.end()}) : 99;
}

}  // namespace contract
