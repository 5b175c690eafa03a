#include <windows.h>

#include "real_platform.h"

// The supervised run of a locked-down desktop, which is for users who are no administrators. Wine makes
// everybody one, so this program runs where the system's library for that question is switched off: a user
// whose groups nobody can tell counts as no administrator.
namespace {

using endtoend::Running;
using realplatform::contains;
using realplatform::RealPlatform;
using realplatform::Words;

bool canAskForGroups() {
    HMODULE library = LoadLibraryExW(L"netapi32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library != nullptr) {
        FreeLibrary(library);
    }
    return library != nullptr;
}

class RealSupervision : public RealPlatform {
protected:
    RealSupervision() { setProperty("install.configuration", "lockdown"); }
    ~RealSupervision() override {
        // Before the platform: its supervisor would start it again.
        if (supervisor.process != nullptr) {
            TerminateProcess(supervisor.process, 0);
            waitFor(supervisor);
        }
    }
    void SetUp() override {
        RealPlatform::SetUp();
        if (canAskForGroups() && endtoend::isUserAdministrator()) {
            GTEST_SKIP() << "the user of the tests is an administrator";
        }
    }

    void beginSupervised(const Words& words) {
        supervisor = begin(words);
        awaitSuccessorOf(0);
    }
    bool isSupervised() const { return isRunning(supervisor.processId); }

    Running supervisor;
};

TEST_F(RealSupervision, OutlastsARestartAndAnAccident) {
    beginSupervised({L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    const std::uint32_t first = platformNumber();

    tell({L"-exit", L"23"});
    awaitSuccessorOf(first);
    EXPECT_TRUE(isSupervised());
    EXPECT_EQ(platform().application, Words{L"hello"});
    EXPECT_EQ(launch({L"second"}), 0U) << log();
    EXPECT_TRUE(contains(handOff(1), L"second"));

    const std::uint32_t second = platformNumber();
    tell({L"-exit", L"5"});
    awaitSuccessorOf(second);
    EXPECT_TRUE(isSupervised());
    EXPECT_FALSE(isRunning(second));
    EXPECT_EQ(platform().application, Words{L"hello"});
}

}  // namespace
