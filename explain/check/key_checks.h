#pragma once

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Keys that are missing, misspelt, there twice or in the wrong file.
void checkKeys(const InstallReading& reading, const StartOptions& options, Findings& findings);

}  // namespace explain
