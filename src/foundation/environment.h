#pragma once

#include <string>

namespace zellauncher {

// Reads an environment variable into `value`. Not set: the debug line ZLNCH0081I, `value` is
// emptied and the result is null; otherwise the result points to the characters of `value`.
const wchar_t* getEnvironmentVariable(const std::wstring& name, std::wstring& value);

}  // namespace zellauncher
