#include "platform/session.h"

#include "contract/contract.h"
#include "platform/clock.h"

namespace {

using namespace platform;

// What the supervision of a locked-down desktop believes.
class Session : public contract::Contract {};

TEST_F(Session, ThePrivilegeToShutDownIsEnabledAndTakenBack) {
    onMachine([&] {
        const Handle token = openOwnToken();
        ASSERT_NE(token, Handle::none);
        const Privilege privilege = findPrivilege(L"SeShutdownPrivilege");
        EXPECT_NE(privilege, Privilege::none);
        adjustPrivilege(token, privilege, true);
        EXPECT_EQ(lastError(), errorSuccess);
        adjustPrivilege(token, privilege, false);
        EXPECT_EQ(lastError(), errorSuccess);
        closeHandle(token);
    });
}

TEST_F(Session, APrivilegeThatDoesNotExistIsNotFoundAndNotGiven) {
    onMachine([&] {
        EXPECT_EQ(findPrivilege(L"SeNeverPrivilege"), Privilege::none);
        EXPECT_EQ(lastError(), 1313U);
        const Handle token = openOwnToken();
        adjustPrivilege(token, Privilege::none, true);
        EXPECT_EQ(lastError(), 1300U);
        closeHandle(token);
    });
}

TEST_F(Session, WithoutATokenNoPrivilegeIsGiven) {
    onMachine([&] {
        adjustPrivilege(Handle::none, findPrivilege(L"SeShutdownPrivilege"), true);
        EXPECT_EQ(lastError(), errorInvalidHandle);
    });
}

// Without one the call costs nothing that a user could notice.
TEST_F(Session, WordsForADebuggerThatIsNotThereAreLost) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        for (int i = 0; i < 100; ++i) {
            sendToDebugger(L"nobody listens");
        }
        EXPECT_LT(tickCount() - before, 5000U);
    });
}

}  // namespace
