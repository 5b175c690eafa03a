// A platform that does only what the launcher requires of one; see README.md.

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include "liveness_semaphore.h"
#include "pipe_server.h"
#include "records.h"
#include "script.h"

namespace {

constexpr DWORD pollMilliseconds = 50;
constexpr int faultyScriptStatus = 2;

std::wstring ownDirectory() {
    wchar_t path[32768] = {};
    GetModuleFileNameW(nullptr, path, 32768);
    return std::filesystem::path(path).parent_path().wstring();
}

// The argument after -data, or the directory of this program without one.
std::wstring workspaceOf(const std::vector<std::wstring>& arguments) {
    for (std::size_t i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == L"-data") {
            return arguments[i + 1];
        }
    }
    return ownDirectory();
}

// The pipe file comes last, because launchers use the semaphore and the pipe as soon as it exists.
void publish(const std::wstring& workspace, const std::wstring& records, const standin::Script& script) {
    const std::wstring leaf = L"standin-" + std::to_wstring(GetCurrentProcessId());
    const std::wstring pipeName = L"\\\\.\\pipe\\" + leaf;
    standin::createLivenessSemaphore(leaf, script.semaphore);
    if (!script.servesPipe || standin::startPipeServer(pipeName, records)) {
        const std::string line(pipeName.begin(), pipeName.end());
        std::string content;
        for (std::uint32_t i = 0; i < script.blankLines; ++i) {
            content += "\r\n";
        }
        standin::writeRecord(workspace, L".pipe", content + line + "\r\n");
    }
}

// A request is a file that a test creates.
bool takeRequest(const std::wstring& workspace, const wchar_t* name) {
    return DeleteFileW((workspace + L"\\" + name).c_str()) != 0;
}

void live(const standin::Script& script, const std::wstring& workspace, const std::wstring& records) {
    using Publishing = standin::Script::Publishing;
    const ULONGLONG begin = GetTickCount64();
    bool isPublished = script.publishing == Publishing::never;
    while (GetTickCount64() - begin < script.livesMilliseconds && !takeRequest(workspace, L"standin.stop")) {
        if (!isPublished &&
            (script.publishing == Publishing::atOnce || takeRequest(workspace, L"standin.publish"))) {
            publish(workspace, records, script);
            isPublished = true;
        }
        Sleep(pollMilliseconds);
    }
}

}  // namespace

extern "C" int wmain() {
    const std::wstring workspace = workspaceOf(standin::commandLineArguments());
    const std::wstring records = workspace + L"\\standin";
    const standin::Script script = standin::readScript(ownDirectory() + L"\\standin.script");
    standin::removeRecord(records, L"running.txt");
    standin::removeRecord(records, L"ended.txt");
    standin::writeStartRecords(records);
    if (!script.fault.empty()) {
        standin::writeRecord(records, L"fault.txt", script.fault);
        return faultyScriptStatus;
    }
    standin::writeRecord(records, L"running.txt", "");
    live(script, workspace, records);
    standin::writeRecord(records, L"ended.txt", "exit=" + std::to_string(script.exitCode) + "\n");
    return static_cast<int>(script.exitCode);
}
