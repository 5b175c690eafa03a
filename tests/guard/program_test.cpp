#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

#include "guard/counts.h"

// The size of each program, and what the system binds for it before its first line runs.
namespace {

// A program file, whose format is that of 64-bit Windows.
class ProgramFile {
public:
    explicit ProgramFile(const std::string& name) {
        std::ifstream file(name, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
        if (bytes.size() < headerSize) {
            ADD_FAILURE() << name << " is missing";
            bytes.resize(headerSize);
        }
    }

    std::uint64_t size() const { return bytes.size(); }

    // Adds the libraries and functions of the import table.
    void countImports(const std::string& name, guard::Counts& counts) const {
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

private:
    static constexpr std::size_t headerSize = 1024;

    std::uint32_t number(std::size_t at) const { return part(at) | part(at + 2) << 16U; }
    std::uint32_t part(std::size_t at) const {
        return at + 1 < bytes.size() ? byte(at) | byte(at + 1) << 8U : 0U;
    }
    std::uint32_t byte(std::size_t at) const { return static_cast<unsigned char>(bytes[at]); }
    std::size_t header() const { return number(0x3C); }

    // Where an address of the loaded program is in the file.
    std::size_t offsetOf(std::uint32_t address) const {
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

    std::string bytes;
};

TEST(Guard, NoProgramIsLargerOrImportsMore) {
    guard::Counts counts;
    for (const char* name : {"zellauncher", "zellauncherw"}) {
        const ProgramFile program(std::string(name) + ".exe");
        counts[std::string(name) + "-bytes"] = program.size();
        program.countImports(name, counts);
    }
    EXPECT_LE(counts["zellauncher-bytes"], 400'000U);
    guard::expectNoGrowth(GUARD_DIRECTORY "/programs.txt", counts);
}

}  // namespace
