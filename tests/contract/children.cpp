#include "contract/children.h"

#include <vector>

#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/environment.h"
#include "platform/process.h"

namespace contract {

namespace {

// The cases use no characters beyond the narrow ones.
std::string narrow(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += static_cast<char>(unit);
    }
    return bytes;
}

void writeWithoutFlush(const std::wstring& path) {
    platform::writeStream(platform::openStream(path, "w"), "unflushed");
}

int holdLock(const std::vector<std::wstring>& words) {
    platform::Stream* stream = platform::openStream(words.at(3), "r+");
    if (stream == nullptr || !platform::lockStream(stream, 10)) {
        return 1;
    }
    write(words.at(4), "");
    waitForFile(words.at(5));
    return 0;
}

int holdNamedSemaphore(const std::vector<std::wstring>& words) {
    holdSemaphore(words.at(3));
    write(words.at(4), "");
    waitForFile(words.at(5));
    return 0;
}

int serveNamedPipe(const std::vector<std::wstring>& words) {
    servePipe(words.at(3));
    write(words.at(4), "");
    waitForFile(words.at(5));
    const auto count = static_cast<std::size_t>(std::stoi(words.at(6)));
    const std::vector<std::string> texts = servedTexts(words.at(3), count);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        write(words.at(5) + L"." + std::to_wstring(i + 1), texts[i]);
    }
    return 0;
}

// A title takes a moment to reach the window.
platform::Window findInTime(const std::wstring& title) {
    for (int i = 0; i < 100 && platform::findWindow(title) == platform::Window::none; ++i) {
        platform::sleepMilliseconds(40);
    }
    return platform::findWindow(title);
}

int useConsole(const std::vector<std::wstring>& words) {
    const std::wstring& title = words.at(3);
    takeConsole();
    platform::setConsoleTitle(title);
    std::string seen = narrow(platform::consoleTitle(4096));
    const platform::Window window = findInTime(title);
    seen += window != platform::Window::none ? " found" : " not found";
    platform::hideWindow(window);
    seen += platform::findWindow(title) == window ? " kept" : " lost";
    platform::setConsoleTitle(L"another");
    for (const std::size_t capacity : {std::size_t{4096}, std::size_t{4}}) {
        seen += ' ';
        seen += narrow(platform::consoleTitle(capacity));
    }
    write(words.at(4), seen);
    return 0;
}

int writeLate(const std::vector<std::wstring>& words) {
    platform::sleepMilliseconds(200);
    write(words.at(3), "late");
    return 0;
}

int writeWords(const std::vector<std::wstring>& words) {
    std::string text;
    for (std::size_t i = 4; i < words.size(); ++i) {
        text += narrow(words[i]) + "\n";
    }
    write(words.at(3), text);
    return 0;
}

}  // namespace

std::wstring childProgram() {
    const std::wstring command = childCommand(0, 0);
    return command.substr(0, command.find(L'"', 1) + 1);
}

platform::Handle startChild(const std::wstring& words) {
    platform::ChildProcess child;
    EXPECT_TRUE(platform::createProcess(childProgram() + L" --as " + words, {}, child))
        << platform::lastError();
    platform::closeHandle(child.thread);
    return child.process;
}

bool waitForEnd(platform::Handle process) {
    for (int i = 0; i < 3000 && !platform::hasProcessEnded(process); ++i) {
        platform::sleepMilliseconds(10);
    }
    return platform::hasProcessEnded(process);
}

std::uint32_t endOf(platform::Handle process) {
    if (!waitForEnd(process)) {
        return 0xDEAD;
    }
    const std::uint32_t code = platform::processExitCode(process).value_or(0xDEAD);
    platform::closeHandle(process);
    return code;
}

void waitForFile(const std::wstring& path) {
    for (int i = 0; i < 3000 && !platform::fileAttributes(path); ++i) {
        platform::sleepMilliseconds(10);
    }
}

Holder startHolder(const std::wstring& scratch, const std::wstring& kind, const std::wstring& what,
                   int count) {
    const auto quoted = [](const std::wstring& word) { return L" \"" + word + L"\""; };
    Holder holder;
    for (int i = 1; holder.go.empty() || platform::fileAttributes(holder.go + L".ready"); ++i) {
        holder.go = scratch + L"\\go-" + std::to_wstring(i);
    }
    const std::wstring ready = holder.go + L".ready";
    holder.process =
        startChild(kind + quoted(what) + quoted(ready) + quoted(holder.go) + L" " + std::to_wstring(count));
    waitForFile(ready);
    return holder;
}

void letGo(const Holder& holder) {
    write(holder.go, "");
    EXPECT_EQ(endOf(holder.process), 0U);
}

int runChildAs() {
    const std::vector<std::wstring> words = platform::commandLineArguments();
    const std::wstring& kind = words.at(2);
    if (kind == L"exit") {
        return std::stoi(words.at(3));
    }
    if (kind == L"leave") {
        writeWithoutFlush(words.at(4));
        platform::exitProcess(std::stoi(words.at(3)));
    }
    if (kind == L"fault") {
        writeWithoutFlush(words.at(3));
        platform::endWithAccessViolation();
    }
    if (kind == L"lock") {
        return holdLock(words);
    }
    if (kind == L"semaphore") {
        return holdNamedSemaphore(words);
    }
    if (kind == L"pipe") {
        return serveNamedPipe(words);
    }
    if (kind == L"console") {
        return useConsole(words);
    }
    if (kind == L"number") {
        write(words.at(3), std::to_string(platform::currentProcessId()));
        return 0;
    }
    if (kind == L"orphan") {
        startChild(L"late \"" + words.at(3) + L"\"");
        return 0;
    }
    if (kind == L"late") {
        return writeLate(words);
    }
    if (kind == L"words") {
        return writeWords(words);
    }
    if (kind == L"variable") {
        write(words.at(4), narrow(platform::environmentValue(words.at(3)).value_or(L"(not set)")));
        return 0;
    }
    if (kind == L"where") {
        write(words.at(3), narrow(platform::fullPathName(L".", 1000).value_or(L"(none)")));
        return 0;
    }
    return 99;
}

}  // namespace contract
