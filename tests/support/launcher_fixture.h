#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "simulation/machine.h"

// A test of launcher code on a machine of its own.
namespace launchertest {

struct Outcome {
    simulation::ProcessEnd end;
    std::string log;  // the log file with line feeds, the empty line at its head left out

    // Ended by a fatal message, whose text is the last line of the log.
    bool isFatal() const;
    std::string lastLine() const;
    bool logHas(const std::string& line) const;  // a whole line
};

class OnMachine : public ::testing::Test {
protected:
    simulation::Machine machine;

    // Runs the body as a process of the machine, C:\Apps\framework\Client\zel\zellauncher.exe, with
    // a log that is open from its start and the debug flag on.
    Outcome run(const std::function<void()>& body);
    // The same with the debug flag off.
    Outcome runQuietly(const std::function<void()>& body);
};

// Text with a line feed behind each line.
std::string lines(const std::vector<std::string>& texts);

}  // namespace launchertest
