#pragma once

#include <string>
#include <vector>

#include "explain/log/log_reading.h"

namespace explain {

struct ReadLogFile {
    std::string file;  // as given, or the directory as given and the path below it; UTF-8
    LogReading reading;
};

struct SkippedFile {
    std::string file;
    std::string reason;
};

struct LogFiles {
    std::vector<ReadLogFile> logs;
    std::vector<SkippedFile> skipped;
    bool hasDirectory = false;
};

// Reads these files, and every file below these directories (UTF-8), in the order of their names. Links to
// directories are not followed. A path that does not exist throws CannotExplain.
LogFiles readLogFiles(const std::vector<std::string>& paths);

}  // namespace explain
