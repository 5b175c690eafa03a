#include "platform/session.h"

#include "contract/contract.h"
#include "platform/clock.h"

namespace contract {
namespace {

using namespace platform;

constexpr ErrorCode errorNotAllAssigned = 1300;
constexpr ErrorCode errorNoSuchPrivilege = 1313;

class Session : public Contract {};

TEST_F(Session, ShutdownPrivilegeIsEnabledAndDisabled) {
    onMachine([&] {
        const Handle token = openOwnToken();
        ASSERT_NE(token, Handle::none);
        const Privilege privilege = findPrivilege(L"SeShutdownPrivilege");
        EXPECT_NE(privilege, Privilege::none);
        const bool isEnabled = adjustPrivilege(token, privilege, PrivilegeState::enabled);
        if (!isEnabled && lastError() == errorNotAllAssigned) {
            GTEST_SKIP() << "the user may not shut this machine down";
        }
        EXPECT_TRUE(isEnabled) << lastError();
        EXPECT_TRUE(adjustPrivilege(token, privilege, PrivilegeState::disabled)) << lastError();
        closeHandle(token);
    });
}

TEST_F(Session, UnknownPrivilegeIsNeitherFoundNorEnabled) {
    onMachine([&] {
        EXPECT_FAILS(findPrivilege(L"SeNeverPrivilege"), errorNoSuchPrivilege);
        const Handle token = openOwnToken();
        EXPECT_FAILS(adjustPrivilege(token, Privilege::none, PrivilegeState::enabled), errorNotAllAssigned);
        closeHandle(token);
    });
}

TEST_F(Session, PrivilegeNeedsAToken) {
    onMachine([&] {
        const Privilege privilege = findPrivilege(L"SeShutdownPrivilege");
        EXPECT_FAILS(adjustPrivilege(Handle::none, privilege, PrivilegeState::enabled), errorInvalidHandle);
    });
}

TEST_F(Session, DebuggerTextsAreQuickWithoutADebugger) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        for (int i = 0; i < 100; ++i) {
            sendToDebugger(L"nobody listens");
        }
        EXPECT_LT(tickCount() - before, 5000U);
    });
}

}  // namespace
}  // namespace contract
