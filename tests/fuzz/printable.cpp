#include "fuzz/printable.h"

#include <cstdio>

namespace fuzz {

std::string printable(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        if (unit >= 0x20 && unit < 0x7F) {
            bytes += static_cast<char>(unit);
            continue;
        }
        char escaped[16];
        std::snprintf(escaped, sizeof escaped, "<%04X>", static_cast<unsigned>(unit));
        bytes += escaped;
    }
    return bytes;
}

}  // namespace fuzz
