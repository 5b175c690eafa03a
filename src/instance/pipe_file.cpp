#include "instance/pipe_file.h"

#include <cstdint>

#include "foundation/explanation.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "foundation/waiting.h"
#include "platform/clock.h"

namespace zellauncher {

PROCESS_WIDE std::wstring endpointFilePath;
PROCESS_WIDE std::wstring pipeName;

namespace {

constexpr int waitSeconds = 15;
constexpr int removalAttempts = 10;
constexpr std::uint32_t removalPauseMilliseconds = 100;

PROCESS_WIDE bool isPipeFileAside = false;

std::wstring crashedPipeFilePath() {
    return endpointFilePath + crashedPipeFileSuffix;
}

}  // namespace

std::optional<std::wstring> readPipeName() {
    if (!pipeName.empty()) {
        return pipeName;
    }
    if (!fileExists(endpointFilePath)) {
        return std::nullopt;
    }
    TextStream file = openFile(endpointFilePath, "r");
    if (file.stream == nullptr) {
        return std::nullopt;
    }
    std::wstring line;
    scanLine(file, LineBlanks::skipLeading, line);
    closeTextStream(file);
    if (line.empty()) {
        return std::nullopt;  // the platform has created the file but not written it yet
    }
    pipeName = line;
    return line;
}

bool waitForPipeFile() {
    explainWait("the platform's .pipe", waitSeconds * 1000);
    for (int pass = 0; pass < waitSeconds; ++pass) {
        if (fileExists(endpointFilePath)) {
            if (isPipeFileAside) {
                isPipeFileAside = false;
                deleteFile(crashedPipeFilePath());
            }
            return true;
        }
        sleepSeconds(1);
    }
    return false;
}

bool hasStalePipeFile() {
    return fileExists(endpointFilePath) || fileExists(crashedPipeFilePath());
}

// A leftover `.pipe` would be mistaken for the new platform's, so the lock would be released too
// early. Two things can keep it for a moment: a launcher that waits for a restart reads it without
// the lock, and a stopped start may have left a `.pipe.deleteme`, which blocks the first deletion.
void removeStalePipeFile() {
    if (fileExists(crashedPipeFilePath())) {
        deleteFile(crashedPipeFilePath());
    }
    explainWait("the removal of a stale .pipe", removalAttempts * removalPauseMilliseconds);
    for (int attempt = 1; attempt <= removalAttempts; ++attempt) {
        const bool isDeleted = deleteFile(endpointFilePath);
        if (!fileExists(endpointFilePath)) {
            return;
        }
        if (!isDeleted) {
            platform::sleepMilliseconds(removalPauseMilliseconds);
        }
    }
}

void setPipeFileAside() {
    for (int attempt = 1; attempt <= removalAttempts && fileExists(endpointFilePath); ++attempt) {
        if (fileExists(crashedPipeFilePath())) {
            deleteFile(crashedPipeFilePath());
        }
        isPipeFileAside = moveFile(endpointFilePath, crashedPipeFilePath());
        if (!isPipeFileAside) {
            platform::sleepMilliseconds(removalPauseMilliseconds);
        }
    }
}

}  // namespace zellauncher
