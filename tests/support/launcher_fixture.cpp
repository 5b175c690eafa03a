#include "support/launcher_fixture.h"

#include "foundation/log_channel.h"

namespace launchertest {

namespace {

constexpr const wchar_t* program = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
constexpr const wchar_t* logDirectory = L"C:\\TestLog";

std::string withLineFeeds(const std::string& bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool lineEnd = bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n';
        if (!lineEnd) text += bytes[i];
    }
    return text;
}

Outcome runWithLog(simulation::Machine& machine, const std::function<void()>& body, bool debug) {
    machine.makeDirectory(L"C:\\Temp");
    machine.makeDirectory(logDirectory);
    machine.writeFile(program, "");
    Outcome outcome;
    outcome.end = machine.run({program}, [&] {
        EXPECT_TRUE(zellauncher::openLog(logDirectory));
        zellauncher::setLogDebug(debug);
        body();
        return 0;
    });
    outcome.log = withLineFeeds(machine.readFile(L"C:\\TestLog\\zellauncher.log").value_or(""));
    if (outcome.log.starts_with("\n")) outcome.log.erase(0, 1);
    return outcome;
}

}  // namespace

bool Outcome::isFatal() const {
    return end.kind == simulation::EndKind::exited && end.status == 0xFFFFFFFFU;
}

std::string Outcome::lastLine() const {
    if (log.empty()) return {};
    const std::size_t end_ = log.back() == '\n' ? log.size() - 1 : log.size();
    const std::size_t before = log.rfind('\n', end_ == 0 ? 0 : end_ - 1);
    const std::size_t start = before == std::string::npos ? 0 : before + 1;
    return log.substr(start, end_ - start);
}

bool Outcome::logHas(const std::string& line) const {
    return ("\n" + log).find("\n" + line + "\n") != std::string::npos;
}

Outcome OnMachine::run(const std::function<void()>& body) {
    return runWithLog(machine, body, true);
}

Outcome OnMachine::runQuietly(const std::function<void()>& body) {
    return runWithLog(machine, body, false);
}

std::string lines(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += text + "\n";
    return all;
}

}  // namespace launchertest
