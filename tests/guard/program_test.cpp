#include <gtest/gtest.h>

#include <string>

#include "guard/counts.h"
#include "guard/program_file.h"

// The size of each program, and what the system binds for it before its first line runs.
namespace {

TEST(Guard, NoProgramIsLargerOrImportsMore) {
    guard::Counts counts;
    for (const char* name : {"zellauncher", "zellauncherw"}) {
        const guard::ProgramFile program(std::string(name) + ".exe");
        counts[std::string(name) + "-bytes"] = program.size();
        program.countImports(name, counts);
    }
    EXPECT_LE(counts["zellauncher-bytes"], 400'000U);
    guard::expectNoGrowth(GUARD_DIRECTORY "/programs.txt", counts);
}

}  // namespace
