#include "guard/program_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>

namespace guard {

ProgramFile::ProgramFile(const std::string& name) {
    constexpr std::size_t headerSize = 1024;
    std::ifstream file(name, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() < headerSize) {
        ADD_FAILURE() << name << " is missing";
        bytes.resize(headerSize);
    }
}

void ProgramFile::countImports(const std::string& name, Counts& counts) const {
    std::uint64_t libraries = 0;
    std::uint64_t functions = 0;
    constexpr std::size_t descriptorSize = 20;
    for (std::size_t at = offsetOf(number(header() + 144)); number(at + 12) != 0; at += descriptorSize) {
        ++libraries;
        for (std::size_t entry = offsetOf(number(at)); number(entry) != 0; entry += 8) {
            ++functions;
        }
    }
    counts[name + "-imported-libraries"] = libraries;
    counts[name + "-imported-functions"] = functions;
}

bool ProgramFile::contains(const std::string& text) const {
    std::string wide;
    for (const char character : text) {
        wide += {character, '\0'};
    }
    const auto isSame = [](unsigned char left, unsigned char right) {
        return std::tolower(left) == std::tolower(right);
    };
    const auto has = [&](const std::string& form) {
        return std::search(bytes.begin(), bytes.end(), form.begin(), form.end(), isSame) != bytes.end();
    };
    return has(text) || has(wide);
}

std::size_t ProgramFile::offsetOf(std::uint32_t address) const {
    const std::size_t sections = header() + 24 + part(header() + 20);
    constexpr std::size_t sectionSize = 40;
    for (std::size_t i = 0; i < part(header() + 6); ++i) {
        const std::size_t section = sections + i * sectionSize;
        const std::uint32_t begin = number(section + 12);
        if (address >= begin && address < begin + number(section + 16)) {
            return number(section + 20) + (address - begin);
        }
    }
    return bytes.size();
}

}  // namespace guard
