#pragma once

#include <optional>
#include <string>

namespace zellauncher {

// The value of an environment variable. If it is not set, logs the debug line ZLNCH0081I.
std::optional<std::wstring> getEnvironmentVariable(const std::wstring& name);

}  // namespace zellauncher
