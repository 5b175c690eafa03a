#include "support/summary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace launchertest {

namespace {

std::string reasonOf(const testing::TestResult& result) {
    for (int i = 0; i < result.total_part_count(); ++i) {
        if (result.GetTestPartResult(i).skipped()) {
            std::string reason = result.GetTestPartResult(i).message();
            std::replace(reason.begin(), reason.end(), '\n', ' ');
            return reason;
        }
    }
    return {};
}

class Summary : public testing::EmptyTestEventListener {
public:
    explicit Summary(std::filesystem::path target) : file(std::move(target)) {}

    void OnTestEnd(const testing::TestInfo& test) override {
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        if (test.result()->Failed()) {
            lines += "failed " + name + "\n";
        } else if (test.result()->Skipped()) {
            lines += "skipped " + name + " " + reasonOf(*test.result()) + "\n";
        }
    }
    void OnTestProgramEnd(const testing::UnitTest& program) override {
        std::ofstream stream(file, std::ios::binary);
        stream << "counts " << program.successful_test_count() << " " << program.failed_test_count() << " "
               << program.skipped_test_count() << "\n"
               << lines;
    }

private:
    std::filesystem::path file;
    std::string lines;
};

}  // namespace

void writeSummaryAtEnd() {
    constexpr const wchar_t* variable = L"ZELLAUNCHER_TEST_SUMMARY";
    const wchar_t* file = _wgetenv(variable);
    if (file != nullptr) {
        testing::UnitTest::GetInstance()->listeners().Append(new Summary(file));
        _wputenv_s(variable, L"");  // not for test programs that a test starts
    }
}

}  // namespace launchertest
