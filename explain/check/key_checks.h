#pragma once

#include <string>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Keys that are missing, misspelt, there twice or in the wrong file.
void checkKeys(const InstallReading& reading, const StartOptions& options, Findings& findings);

// A key of the template as a user's copy has it: without a last part that names an operating system. The
// launcher drops the lines of other systems; their keys lose that part as well.
std::wstring withoutSystem(const std::wstring& key);

}  // namespace explain
