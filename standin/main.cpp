#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "pipe_server.h"
#include "records.h"
#include "script.h"

namespace {

constexpr DWORD pollMilliseconds = 50;

std::wstring ownDirectory() {
    wchar_t path[32768] = {};
    GetModuleFileNameW(nullptr, path, 32768);
    return std::filesystem::path(path).parent_path().wstring();
}

std::wstring workspaceOf(int count, wchar_t** words) {
    for (int i = 1; i + 1 < count; ++i) {
        if (std::wstring_view(words[i]) == L"-data") {
            return words[i + 1];
        }
    }
    return ownDirectory();
}

// The sign of life first, then the pipe, then the file that tells of both.
void publish(const std::wstring& workspace, const std::wstring& records) {
    const std::wstring leaf = L"standin-" + std::to_wstring(GetCurrentProcessId());
    const std::wstring pipeName = L"\\\\.\\pipe\\" + leaf;
    CreateSemaphoreW(nullptr, 0, 1, (L"Global\\" + leaf + L"sem").c_str());  // kept to the end
    if (standin::startPipeServer(pipeName, records)) {
        std::string line(pipeName.begin(), pipeName.end());
        standin::writeRecord(workspace, L".pipe", line + "\r\n");
    }
}

bool isToldToStop(const std::wstring& workspace) {
    return DeleteFileW((workspace + L"\\standin.stop").c_str()) != 0;
}

}  // namespace

extern "C" int wmain(int count, wchar_t** words) {
    const std::wstring workspace = workspaceOf(count, words);
    const std::wstring records = workspace + L"\\standin";
    const standin::Script script = standin::readScript(ownDirectory() + L"\\standin.script");
    const ULONGLONG begin = GetTickCount64();
    standin::writeStartRecords(records);
    standin::writeRecord(records, L"running.txt", "");
    bool isPublished = !script.publishes;
    while (GetTickCount64() - begin < script.livesMilliseconds && !isToldToStop(workspace)) {
        if (!isPublished && GetTickCount64() - begin >= script.publishAfterMilliseconds) {
            publish(workspace, records);
            isPublished = true;
        }
        Sleep(pollMilliseconds);
    }
    return static_cast<int>(script.exitCode);
}
