#include "kiosk/exit_data.h"

#include <string>

#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/process_wide.h"

namespace zellauncher {

namespace {

PROCESS_WIDE std::wstring exitDataPath;

void appendFileName() {
    exitDataPath += std::wstring(L"\\") + exitDataName;
}

}  // namespace

void settleExitDataPath() {
    exitDataPath = platform::environmentValue(L"HOMEPATH").value_or(L"");
}

bool exitDataExists() {
    appendFileName();
    // Left open until the process ends.
    return openFile(exitDataPath, "r").stream != nullptr;
}

void removeExitData() {
    appendFileName();
    TextStream file = openFile(exitDataPath, "r");
    if (file.stream != nullptr) {
        closeTextStream(file);
        platform::deleteFile(exitDataPath);
    }
}

bool isExitData(const wchar_t* word) {
    TextStream file = openFile(exitDataPath, "r+");
    std::wstring line;
    scanLine(file, LineBlanks::keepLeading, line);
    closeTextStream(file);
    return equalIgnoringCase(line, word);
}

}  // namespace zellauncher
