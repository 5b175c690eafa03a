#include "support/launcher_fixture.h"

#include "foundation/log_channel.h"
#include "support/text.h"

namespace launchertest {

namespace {

constexpr const wchar_t* program = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
constexpr const wchar_t* logDirectory = L"C:\\TestLog";

}  // namespace

simulation::ProcessEnd Outcome::processEnd() const {
    *isEndChecked = true;
    return end;
}

bool Outcome::isFatal() const {
    const simulation::ProcessEnd checked = processEnd();
    return checked.kind == simulation::EndKind::exited && checked.status == 0xFFFFFFFFU;
}

void Outcome::expectFatal(const std::string& message) const {
    EXPECT_TRUE(isFatal()) << log;
    EXPECT_TRUE(("\n" + log).ends_with("\n" + message + "\n")) << "expected at the end of the log:\n"
                                                               << message << "\nbut the log is:\n"
                                                               << log;
}

std::string Outcome::lastLine() const {
    const std::vector<std::string> all = splitLines(log);
    return all.empty() ? std::string() : all.back();
}

bool Outcome::logHas(const std::string& line) const {
    return ("\n" + log).find("\n" + line + "\n") != std::string::npos;
}

std::size_t Outcome::linesBeginningWith(const std::string& beginning) const {
    return countLinesBeginningWith(log, beginning);
}

Outcome OnMachine::run(const std::function<void()>& body) {
    return runWithLog(body, true);
}

Outcome OnMachine::runQuietly(const std::function<void()>& body) {
    return runWithLog(body, false);
}

Outcome OnMachine::runWithLog(const std::function<void()>& body, bool isDebug) {
    machine.makeDirectory(L"C:\\Temp");
    machine.makeDirectory(logDirectory);
    machine.writeFile(program, "");
    Outcome outcome;
    outcome.end = machine.run({program}, [&] {
        EXPECT_TRUE(zellauncher::openLog(logDirectory));
        zellauncher::setLogDebug(isDebug);
        body();
        outcome.hasBodyReturned = true;
        return 0;
    });
    outcome.log = withLineFeeds(machine.readFile(L"C:\\TestLog\\zellauncher.log").value_or(""));
    if (outcome.log.starts_with("\n")) {
        outcome.log.erase(0, 1);
    }
    outcomes.push_back(outcome);
    return outcome;
}

void OnMachine::TearDown() {
    for (const Outcome& outcome : outcomes) {
        EXPECT_TRUE(outcome.hasBodyReturned || *outcome.isEndChecked)
            << "the process ended inside the body, and the test did not expect that: " << outcome.lastLine();
    }
}

std::string lines(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + "\n";
    }
    return all;
}

}  // namespace launchertest
