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
// The drive whose root is tried too; empty if the home path is a directory.
PROCESS_WIDE std::wstring homeDrive;

void appendFileName() {
    exitDataPath += std::wstring(L"\\") + exitDataName;
}

bool canRead(const std::wstring& path) {
    // Left open until the process ends.
    return openFile(path, "r").stream != nullptr;
}

}  // namespace

void settleExitDataPath() {
    exitDataPath = platform::environmentValue(L"HOMEPATH").value_or(L"");
    if (exitDataPath == L"\\") {
        exitDataPath.clear();  // two backslashes would begin the name of a server
        homeDrive = platform::environmentValue(L"HOMEDRIVE").value_or(L"");
    }
}

bool exitDataExists() {
    appendFileName();
    if (canRead(exitDataPath)) {
        return true;
    }
    if (homeDrive.empty() || !canRead(homeDrive + exitDataPath)) {
        return false;
    }
    exitDataPath.insert(0, homeDrive);
    homeDrive.clear();
    return true;
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
