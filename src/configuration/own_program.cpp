#include "configuration/own_program.h"

#include <cstddef>
#include <optional>

#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::size_t pathCapacity = 260;

bool tryCandidate(OwnProgram& program, const std::optional<std::wstring>& candidate) {
    program.path = candidate.value_or(program.path);
    program.isFound = candidate && isExecutableFile(program.path);
    return program.isFound;
}

}  // namespace

OwnProgram findOwnProgram(const std::wstring& programArgument) {
    OwnProgram program{programArgument};
    if (!tryCandidate(program, platform::fullPathName(programArgument, pathCapacity))) {
        tryCandidate(program, platform::moduleFileName(pathCapacity));
    }
    return program;
}

std::wstring locateProgram(const std::wstring& programArgument) {
    const OwnProgram program = findOwnProgram(programArgument);
    if (!program.isFound) {
        logFatalF("ZLNCH0047E: Unable to locate %ls", program.path);
    }
    return program.path;
}

}  // namespace zellauncher
