#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulation/machine.h"

// A test that runs launcher code as a process of a simulated machine.
namespace launchertest {

// What one run of a body left.
class Outcome {
public:
    std::string log;  // the log file with line feeds, without the empty first line

    // How the process ended. A test whose body does not return must look at this, at isFatal or call
    // expectFatal; otherwise the fixture fails it.
    simulation::ProcessEnd processEnd() const;
    // The process ended with -1, as after a fatal message.
    bool isFatal() const;
    // The process ended with -1, and its log ends with this message, which may have several lines. It is
    // compared whole.
    void expectFatal(const std::string& message) const;

    std::string lastLine() const;
    bool logHas(const std::string& line) const;  // as a whole line
    std::size_t linesBeginningWith(const std::string& beginning) const;

private:
    friend class OnMachine;
    simulation::ProcessEnd end;
    bool hasBodyReturned = false;
    std::shared_ptr<bool> isEndChecked = std::make_shared<bool>(false);
};

class OnMachine : public ::testing::Test {
protected:
    simulation::Machine machine;

    // Runs the body as a process of the machine, C:\Apps\framework\Client\zel\zellauncher.exe, with an
    // open log and the debug flag on.
    Outcome run(const std::function<void()>& body);
    // The same with the debug flag off.
    Outcome runQuietly(const std::function<void()>& body);

    // Fails the test if a body ended early and the test did not look at the end, because its
    // expectations were skipped then.
    void TearDown() override;

private:
    std::vector<Outcome> outcomes;

    Outcome runWithLog(const std::function<void()>& body, bool isDebug);
};

// The texts, each with a line feed after it.
std::string lines(const std::vector<std::string>& texts);

}  // namespace launchertest
