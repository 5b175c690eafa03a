#pragma once

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Directories and files of the install that no command names. False if there is nothing to start.
bool checkLayout(const StartOptions& options, Findings& findings);
void checkTemplates(const InstallReading& reading, const StartOptions& options, const World& world,
                    Findings& findings);

// The files that the platform's command names, and what the native launcher and the framework need beside
// them.
void checkCommandFiles(const InstallReading& reading, const StartOptions& options, const World& world,
                       const Explanation& start, Findings& findings);

}  // namespace explain
