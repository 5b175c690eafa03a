#pragma once

#include <string>
#include <string_view>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Encoding and dialect of a property file, which has this name in the findings. `isTemplate`: the launcher
// appends lines to a copy of it.
void checkPropertyText(const std::string& name, const InstallFile& file, bool isTemplate, Findings& findings);

}  // namespace explain
