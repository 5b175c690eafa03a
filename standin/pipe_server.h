#pragma once

#include <string>

namespace standin {

// Makes the pipe and serves it on a thread of its own for as long as the process lives: each text that
// a client writes becomes a file `payload-<n>.bin` in the directory. False when the pipe cannot be made.
bool startPipeServer(const std::wstring& pipeName, const std::wstring& directory);

}  // namespace standin
