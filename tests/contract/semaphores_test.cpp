#include "contract/children.h"
#include "contract/contract.h"
#include "platform/interprocess.h"

namespace {

using contract::Holder;
using contract::letGo;
using contract::startHolder;
using namespace platform;

constexpr std::uint32_t access = accessReadControl | accessSemaphoreModifyState;

// A platform shows that it lives by a semaphore, which goes with the last handle of it.
class Semaphores : public contract::Contract {
protected:
    const std::wstring name = L"Global\\zl-contract-life";

    // Whether somebody has it: opens it and gives it back.
    bool isThere() const {
        const Handle handle = openSemaphore(name, access);
        closeHandle(handle);
        return handle != Handle::none;
    }
};

TEST_F(Semaphores, ASemaphoreIsFoundByItsName) {
    onMachine([&] {
        const Handle handle = openSemaphore(L"Global\\contract", access);
        EXPECT_NE(handle, Handle::none);
        closeHandle(handle);
        EXPECT_EQ(openSemaphore(L"Global\\contract-never", access), Handle::none);
        EXPECT_EQ(lastError(), errorFileNotFound);
        EXPECT_EQ(openSemaphore(L"Global\\CONTRACT", access), Handle::none);  // names of objects have a case
    });
}

TEST_F(Semaphores, OneOfAnotherUserIsThereAndNotOpened) {
    onMachine([&] {
        EXPECT_FAILS(openSemaphore(L"Global\\contract-denied", access) != Handle::none, errorAccessDenied);
    });
}

TEST_F(Semaphores, ItGoesWithItsProcess) {
    onMachine([&] {
        EXPECT_FALSE(isThere());
        const Holder platform = startHolder(scratch, L"semaphore", name);
        EXPECT_TRUE(isThere());
        EXPECT_TRUE(isThere());
        letGo(platform);
        EXPECT_FAILS(isThere(), errorFileNotFound);
    });
}

TEST_F(Semaphores, WhoeverHasOpenedItKeepsItAlive) {
    onMachine([&] {
        const Holder platform = startHolder(scratch, L"semaphore", name);
        const Handle kept = openSemaphore(name, access);
        letGo(platform);
        EXPECT_TRUE(isThere());
        closeHandle(kept);
        EXPECT_FALSE(isThere());
    });
}

TEST_F(Semaphores, TwoHandlesAreGivenBackOneByOne) {
    onMachine([&] {
        const Holder platform = startHolder(scratch, L"semaphore", name);
        const Handle one = openSemaphore(name, access);
        const Handle other = openSemaphore(name, access);
        EXPECT_NE(one, other);
        letGo(platform);
        closeHandle(one);
        EXPECT_TRUE(isThere());
        closeHandle(other);
        EXPECT_FALSE(isThere());
    });
}

}  // namespace
