#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/target.h"

// One test for each file of the target's corpus, and for each file in `costly`, which would slow down a
// fuzzer that starts with them.
namespace fuzz {

void expect(bool holds, const std::string& what) {
    EXPECT_TRUE(holds) << what;
}

namespace {

std::vector<std::filesystem::path> corpusFiles() {
    std::vector<std::filesystem::path> files;
    for (const char* directory : {FUZZ_CORPUS, FUZZ_COSTLY}) {
        if (std::filesystem::exists(directory)) {
            for (const auto& entry : std::filesystem::directory_iterator(directory)) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string testNameOf(const ::testing::TestParamInfo<std::filesystem::path>& info) {
    std::string name = info.param.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

class CorpusInput : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(CorpusInput, Passes) {
    runInput(contentOf(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, CorpusInput, ::testing::ValuesIn(corpusFiles()), testNameOf);

}  // namespace

}  // namespace fuzz
