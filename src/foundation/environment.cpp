#include "foundation/environment.h"

#include <optional>

#include "foundation/log_channel.h"
#include "platform/environment.h"

namespace zellauncher {

const wchar_t* getEnvironmentVariable(const std::wstring& name, std::wstring& value) {
    const std::optional<std::wstring> found = platform::environmentValue(name);
    if (!found) {
        logDebugF(L"ZLNCH0081I:  Environmental variable '%s' is not set", name);
        value.clear();
        return nullptr;
    }
    value = *found;
    return value.c_str();
}

}  // namespace zellauncher
