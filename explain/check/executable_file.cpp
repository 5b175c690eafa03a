#include "explain/check/executable_file.h"

#include <cstddef>
#include <cstdint>

#include "simulation/program_files.h"

namespace explain {

namespace {

constexpr std::size_t headerOffsetPlace = 0x3C;
constexpr std::size_t machinePlace = 4;  // after the header's begin, as the next one
constexpr std::size_t characteristicsPlace = 22;
constexpr std::size_t headerSize = 24;
constexpr std::uint32_t machineX64 = 0x8664;
constexpr std::uint32_t isLibrary = 0x2000;

std::uint32_t numberAt(std::string_view bytes, std::size_t place, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = (number << 8U) | static_cast<unsigned char>(bytes[place + i - 1]);
    }
    return number;
}

}  // namespace

// The simulated machine says what it can start; the rest is for the message.
ExecutableFile executableFileOf(std::string_view beginning) {
    if (simulation::isProgramFile(beginning)) {
        return ExecutableFile::program;
    }
    if (beginning.size() < headerOffsetPlace + 4 || !beginning.starts_with("MZ")) {
        return ExecutableFile::none;
    }
    const std::size_t header = numberAt(beginning, headerOffsetPlace, 4);
    if (header > beginning.size() || beginning.size() - header < headerSize ||
        beginning.substr(header, 4) != std::string_view("PE\0\0", 4)) {
        return ExecutableFile::none;
    }
    if (numberAt(beginning, header + machinePlace, 2) != machineX64) {
        return ExecutableFile::otherProcessor;
    }
    const bool isDll = (numberAt(beginning, header + characteristicsPlace, 2) & isLibrary) != 0;
    return isDll ? ExecutableFile::library : ExecutableFile::none;
}

}  // namespace explain
