#pragma once

#include <string>

#include "explain/log/log_files.h"

namespace explain {

// Each log in full if files were given; a table of outcomes and causes for a directory.
std::string writeLogs(const LogFiles& files);

std::string writeLogsJson(const LogFiles& files);

}  // namespace explain
