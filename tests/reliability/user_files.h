#pragma once

#include <string>
#include <vector>

#include "reliability/scenario.h"

namespace reliability {

// The user's files that are neither in place, nor in the configuration's backup, nor in the workspace as
// the `.old` copy of a renewal.
std::vector<std::wstring> lostFiles(const Stage& stage, const std::vector<Stage::UserFile>& userFiles);

}  // namespace reliability
