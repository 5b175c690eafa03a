#include "foundation/memory.h"

#include <new>
#include <stdexcept>

#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

bool tryReserve(std::wstring& text, std::size_t length) {
    try {
        text.reserve(length);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        return false;
    }
}

}  // namespace

std::wstring newString(std::size_t length) {
    std::wstring text;
    if (!tryReserve(text, length)) {
        failOutOfMemory();
    }
    return text;
}

void failOutOfMemory() {
    logFatalF("ZLNCH0004E: newString malloc failed. %ls", formatLastError());
}

void reserveOrFail(std::wstring& text, std::size_t length, const char* message) {
    if (!tryReserve(text, length)) {
        logFatal(message);
    }
}

}  // namespace zellauncher
