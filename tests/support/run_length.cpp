#include "support/run_length.h"

#include <cstdlib>
#include <string_view>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BUILT_WITH_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define BUILT_WITH_SANITIZER
#endif

namespace launchertest {

bool isLongRun() {
    const char* value = std::getenv("ZELLAUNCHER_LONG");
    const std::string_view text = value != nullptr ? value : "";
    return !text.empty() && text != "0";
}

bool isSanitized() {
#ifdef BUILT_WITH_SANITIZER
    return true;
#else
    return false;
#endif
}

}  // namespace launchertest
