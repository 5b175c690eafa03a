#include "foundation/own_program.h"

#include <cstddef>
#include <optional>

#include "foundation/file_tests.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::size_t pathCapacity = 260;

bool isUsable(std::wstring& path, const std::optional<std::wstring>& candidate) {
    path = candidate.value_or(path);
    return candidate && isExecutableFile(path);
}

}  // namespace

bool findOwnProgram(std::wstring& path, const std::wstring& wordZero) {
    path = wordZero;
    return isUsable(path, platform::fullPathName(wordZero, pathCapacity)) ||
           isUsable(path, platform::moduleFileName(pathCapacity));
}

}  // namespace zellauncher
