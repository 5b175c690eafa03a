#include "foundation/environment.h"

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "platform/environment.h"

namespace zellauncher {

std::optional<std::wstring> getEnvironmentVariable(const std::wstring& name) {
    std::optional<std::wstring> value = platform::environmentValue(name);
    explainVariable(name, value);
    if (!value) {
        logDebugF(L"ZLNCH0081I:  Environmental variable '%s' is not set", name);
    }
    return value;
}

}  // namespace zellauncher
