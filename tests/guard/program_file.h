#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "guard/counts.h"

namespace guard {

// A program file, whose format is that of 64-bit Windows. A missing file fails the test and imports nothing.
class ProgramFile {
public:
    explicit ProgramFile(const std::string& name);

    std::uint64_t size() const { return bytes.size(); }
    // Adds what the system binds before the program's first line runs: `<name>-imported-libraries` and
    // `<name>-imported-functions`.
    void countImports(const std::string& name, Counts& counts) const;
    // True if the file has this text, in characters of one or two bytes and in any case.
    bool contains(const std::string& text) const;

private:
    std::uint32_t number(std::size_t at) const { return part(at) | part(at + 2) << 16U; }
    std::uint32_t part(std::size_t at) const {
        return at + 1 < bytes.size() ? byte(at) | byte(at + 1) << 8U : 0U;
    }
    std::uint32_t byte(std::size_t at) const { return static_cast<unsigned char>(bytes[at]); }
    std::size_t header() const { return number(0x3C); }
    // Where an address of the loaded program is in the file.
    std::size_t offsetOf(std::uint32_t address) const;

    std::string bytes;
};

}  // namespace guard
