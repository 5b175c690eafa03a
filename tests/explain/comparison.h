#pragma once

#include <functional>
#include <string>
#include <vector>

#include "simulation/machine.h"

// Whether zelexplain is right about a start that a simulated machine performs.
namespace explaintest {

struct ComparedStart {
    simulation::ProcessEnd end;
    bool isCompared = false;               // false if the machine has failures that no directory can show
    std::vector<std::string> differences;  // none if the tool is right
};

struct StartToCompare {
    std::string name;                     // of the explanation's JSON in explained/
    std::vector<std::wstring> arguments;  // with the program
    std::function<simulation::ProcessId()> begin;
    bool servesPipe = true;  // the running platform, if there is one
};

// Copies the machine's files to real directories, lets zelexplain explain the start there, performs it on
// the machine, and compares both: outcome, status, message, command with each element, environment, files,
// directories and log. Process ids and times are masked.
ComparedStart compareStart(simulation::Machine& machine, const StartToCompare& start);

// Lets zelexplain explain the start on a copy of the machine's files, as text, JSON, page and redacted page.
// Returns what is wrong with that; empty if nothing is.
std::string explainOn(const simulation::Machine& machine, const StartToCompare& start);

}  // namespace explaintest
