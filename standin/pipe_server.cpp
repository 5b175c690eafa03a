#include "pipe_server.h"

#include <windows.h>

#include <thread>

#include "records.h"

namespace standin {

namespace {

HANDLE makeInstance(const std::wstring& pipeName) {
    return CreateNamedPipeW(pipeName.c_str(), PIPE_ACCESS_DUPLEX,
                            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES, 65536,
                            65536, 0, nullptr);
}

// A text ends with a two-byte NUL, or when the client closes the pipe.
bool isWhole(const std::string& text) {
    return text.size() >= 2 && text.size() % 2 == 0 && text[text.size() - 1] == '\0' &&
           text[text.size() - 2] == '\0';
}

std::string readText(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    DWORD count = 0;
    while (!isWhole(text) && ReadFile(pipe, buffer, sizeof(buffer), &count, nullptr) != 0 && count > 0) {
        text.append(buffer, count);
    }
    return text;
}

// Also true if the client connected before, or has already closed its end; its text can still be read.
bool waitForClient(HANDLE pipe) {
    return ConnectNamedPipe(pipe, nullptr) != 0 || GetLastError() == ERROR_PIPE_CONNECTED ||
           GetLastError() == ERROR_NO_DATA;
}

void serve(HANDLE pipe, const std::wstring& pipeName, const std::wstring& directory) {
    for (int number = 1; pipe != INVALID_HANDLE_VALUE; ++number) {
        const bool isConnected = waitForClient(pipe);
        HANDLE next = makeInstance(pipeName);  // a client may come while this one is read
        if (isConnected) {
            writeRecord(directory, L"payload-" + std::to_wstring(number) + L".bin", readText(pipe));
        }
        DisconnectNamedPipe(pipe);
        CloseHandle(pipe);
        pipe = next;
    }
}

}  // namespace

bool startPipeServer(const std::wstring& pipeName, const std::wstring& directory) {
    HANDLE pipe = makeInstance(pipeName);
    if (pipe == INVALID_HANDLE_VALUE) {
        return false;
    }
    std::thread(serve, pipe, pipeName, directory).detach();
    return true;
}

}  // namespace standin
