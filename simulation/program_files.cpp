#include "simulation/program_files.h"

#include <cstdint>

namespace simulation {

namespace {

// Offsets and values of the system's format for programs and libraries.
constexpr std::size_t headerOffsetPlace = 0x3C;
constexpr std::size_t machinePlace = 4;  // after the header's begin, as the next one
constexpr std::size_t characteristicsPlace = 22;
constexpr std::size_t headerSize = 24;
constexpr std::uint32_t machineX64 = 0x8664;
constexpr std::uint32_t isExecutable = 0x0002;
constexpr std::uint32_t isLibrary = 0x2000;

std::uint32_t numberAt(std::string_view bytes, std::size_t place, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = (number << 8U) | static_cast<unsigned char>(bytes[place + i - 1]);
    }
    return number;
}

void putNumber(std::string& bytes, std::size_t place, std::uint32_t number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes[place + i] = static_cast<char>(static_cast<unsigned char>((number >> (8 * i)) & 0xFFU));
    }
}

}  // namespace

ExecutableFile executableFileOf(std::string_view beginning) {
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
    const std::uint32_t characteristics = numberAt(beginning, header + characteristicsPlace, 2);
    if ((characteristics & isLibrary) != 0) {
        return ExecutableFile::library;
    }
    return (characteristics & isExecutable) != 0 ? ExecutableFile::program : ExecutableFile::none;
}

std::string smallestProgramFile() {
    constexpr std::size_t header = headerOffsetPlace + 4;
    std::string bytes(header + headerSize, '\0');
    bytes.replace(0, 2, "MZ");
    putNumber(bytes, headerOffsetPlace, header, 4);
    bytes.replace(header, 2, "PE");
    putNumber(bytes, header + machinePlace, machineX64, 2);
    putNumber(bytes, header + characteristicsPlace, isExecutable, 2);
    return bytes;
}

}  // namespace simulation
