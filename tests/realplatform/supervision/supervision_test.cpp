#include <windows.h>

#include "real_platform.h"

// Supervision of a platform on a locked-down desktop, which administrators do not get. Under Wine every user
// is one, so CTest runs this program without netapi32.dll: the launcher then cannot read the user's groups
// and assumes an ordinary user.
namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::Running;
using realplatform::RealPlatform;

class RealSupervision : public RealPlatform {
protected:
    RealSupervision() { setProperty("install.configuration", "lockdown"); }
    ~RealSupervision() override {
        // First the supervisor, because it would restart the platform.
        if (supervisor.process != nullptr) {
            TerminateProcess(supervisor.process, 0);
            waitFor(supervisor);
        }
    }
    void SetUp() override {
        RealPlatform::SetUp();
        if (endtoend::isUserAdministrator()) {
            GTEST_SKIP() << "needs a user whom the machine does not list as an administrator";
        }
        if (!whyNoSupervision().empty()) {
            GTEST_SKIP() << whyNoSupervision();
        }
    }

    void beginSupervised(const Arguments& arguments) {
        supervisor = begin(arguments);
        awaitSuccessorOf(0);
    }
    bool isSupervised() const { return isRunning(supervisor.processId); }

    Running supervisor;
};

TEST_F(RealSupervision, SupervisorStaysAfterRestartAndCrash) {
    beginSupervised({L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    const std::uint32_t first = jvmProcessId();

    send({L"-exit", L"23"});
    awaitSuccessorOf(first);
    EXPECT_TRUE(isSupervised());
    EXPECT_EQ(platform().application, Arguments{L"hello"});
    EXPECT_EQ(launch({L"second"}), 0U) << log();
    EXPECT_TRUE(contains(handOff(1), L"second"));

    const std::uint32_t second = jvmProcessId();
    send({L"-exit", L"5"});
    awaitSuccessorOf(second);
    EXPECT_TRUE(isSupervised());
    EXPECT_FALSE(isRunning(second));
    EXPECT_EQ(platform().application, Arguments{L"hello"});
}

}  // namespace
