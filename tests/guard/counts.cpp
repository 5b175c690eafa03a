#include "guard/counts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace guard {

namespace {

Counts recorded(const std::string& file) {
    Counts counts;
    std::ifstream lines(file);
    std::string name;
    for (std::uint64_t count = 0; lines >> name >> count;) {
        counts[name] = count;
    }
    return counts;
}

void record(const std::string& file, const Counts& counts) {
    std::ofstream lines(file, std::ios::binary);
    for (const auto& [name, count] : counts) {
        lines << name << ' ' << count << '\n';
    }
    ASSERT_TRUE(lines.flush()) << file;
}

}  // namespace

void expectNoGrowth(const std::string& file, const Counts& counts) {
    if (std::getenv("ZELLAUNCHER_RECORD_COUNTS") != nullptr) {
        record(file, counts);
        return;
    }
    const Counts former = recorded(file);
    const std::string remedy =
        "\nIf that is meant, run this test with ZELLAUNCHER_RECORD_COUNTS=1, which writes the file " + file +
        " anew, and commit the file with the reason.";
    for (const auto& [name, count] : counts) {
        const auto allowed = former.find(name);
        if (allowed == former.end()) {
            ADD_FAILURE() << name << " is not in the file." << remedy;
        } else {
            EXPECT_LE(count, allowed->second) << name << " has grown." << remedy;
        }
    }
    for (const auto& [name, count] : former) {
        EXPECT_TRUE(counts.contains(name)) << name << " is in the file, but not counted any more." << remedy;
    }
}

}  // namespace guard
