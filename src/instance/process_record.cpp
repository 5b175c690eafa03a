#include "instance/process_record.h"

#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/text_stream.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"

namespace zellauncher {

PROCESS_WIDE std::uint32_t recordedProcessId = 0;

namespace {

void writeOwnerRecord(std::uint32_t processId) {
    rewindTextStream(lockFileStream);
    const std::int64_t number = static_cast<std::int32_t>(processId);
    const bool isWritten = putText(lockFileStream, formatText(L"%ld          ", {number})) >= 0;
    flushTextStream(lockFileStream);
    if (!isWritten) {
        logDebug("ZLNCH0051E: Unable to write to platform lock file");
    }
}

}  // namespace

bool recordPlatformProcess(std::uint32_t processId) {
    recordedProcessId = processId;
    if (isMainProcess) {
        writeMainRecord(processId);
        writeOwnerRecord(processId);
    }
    // The lock is held meanwhile, so the next launcher finds a platform that can take its command.
    return waitForPipeFile();
}

void writeMainRecord(std::uint32_t processId) {
    const ForcedLog forced;
    TextStream record = openFile(mainRecordPath, "w+");
    if (record.stream == nullptr) {
        logDebug("ZLNCH00XXI: Unable to open zel.main file");
    } else {
        const bool isWritten = putText(record, formatText(L"%lu     ", {std::uint64_t{processId}})) >= 0;
        if (!closeTextStream(record) || !isWritten) {
            logDebug("ZLNCH00XXI: Unable to write pid to zel.main file");
        }
    }
}

}  // namespace zellauncher
