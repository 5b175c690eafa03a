#include "instance/process_record.h"

#include "foundation/file_tests.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/text_stream.h"
#include "foundation/waiting.h"
#include "instance/platform_lock.h"
#include "launch/launch_state.h"

namespace zellauncher {

namespace {

constexpr int endpointWaitSeconds = 15;

void writeOwnerRecord(std::uint32_t processId) {
    rewindTextStream(lockFileStream);
    const std::int64_t number = static_cast<std::int32_t>(processId);
    const bool isWritten = putText(lockFileStream, formatText(L"%ld          ", {number})) >= 0;
    if (!flushTextStream(lockFileStream) || !isWritten) {
        logDebug("ZLNCH0051E: Unable to write to platform lock file");
    }
}

// The lock is held meanwhile, so the next launcher in line finds everything that it needs.
void waitForEndpoint() {
    for (int pass = 0; pass < endpointWaitSeconds; ++pass) {
        if (fileExists(endpointFilePath)) {
            return;
        }
        sleepSeconds(1);
    }
}

}  // namespace

void recordPlatformProcess(std::uint32_t processId) {
    if (isMainProcess) {
        writeMainRecord(processId);
        writeOwnerRecord(processId);
    }
    waitForEndpoint();
}

void writeMainRecord(std::uint32_t processId) {
    bool saved = false;
    swapLogDebug(true, saved);
    TextStream record;
    openFile(record, mainRecordPath, "w+");
    if (record.stream == nullptr) {
        logDebug("ZLNCH00XXI: Unable to open zel.main file");
    } else {
        const bool isWritten = putText(record, formatText(L"%lu     ", {std::uint64_t{processId}})) >= 0;
        if (!closeTextStream(record) || !isWritten) {
            logDebug("ZLNCH00XXI: Unable to write pid to zel.main file");
        }
    }
    setLogDebug(saved);
}

}  // namespace zellauncher
