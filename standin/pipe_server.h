#pragma once

#include <string>

namespace standin {

// Creates the pipe and serves it on a thread until the process ends. Each text from a client becomes a
// file `payload-<n>.bin` in the directory. False if the pipe cannot be created.
bool startPipeServer(const std::wstring& pipeName, const std::wstring& directory);

}  // namespace standin
