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
    std::string changes;
    for (const auto& [name, count] : counts) {
        const auto allowed = former.find(name);
        if (allowed == former.end()) {
            changes += name + " is not in the file.\n";
        } else if (count > allowed->second) {
            changes += name + " has grown from " + std::to_string(allowed->second) + " to " +
                       std::to_string(count) + ".\n";
        }
    }
    for (const auto& [name, count] : former) {
        if (!counts.contains(name)) {
            changes += name + " is in the file, but not counted any more.\n";
        }
    }
    if (!changes.empty()) {
        ADD_FAILURE() << changes
                      << "If that is meant, run this test with ZELLAUNCHER_RECORD_COUNTS=1, which writes "
                      << file
                      << " anew (allocations with the build `native`), and commit the file with the reason.";
    }
}

}  // namespace guard
