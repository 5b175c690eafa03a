#pragma once

#include <string>
#include <vector>

#include "reliability/scenario.h"

namespace reliability {

// The user's files that are neither in their place, nor in the backup of the configuration, nor beside
// it as the copies that a renewal makes of them.
std::vector<std::wstring> lostFiles(const Stage& stage, const std::vector<Stage::UserFile>& userFiles);

}  // namespace reliability
