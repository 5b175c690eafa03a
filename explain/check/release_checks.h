#pragma once

#include <string>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Compares what users get copies of with the release in the directory `previous`.
void checkPreviousRelease(const InstallReading& reading, const StartOptions& options,
                          const std::string& previous, Findings& findings);

}  // namespace explain
