#include "support/run_length.h"

#include <cstdlib>
#include <string_view>

namespace launchertest {

bool isLongRun() {
    const char* value = std::getenv("ZELLAUNCHER_LONG");
    const std::string_view text = value != nullptr ? value : "";
    return !text.empty() && text != "0";
}

}  // namespace launchertest
