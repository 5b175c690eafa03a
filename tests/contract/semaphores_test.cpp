#include "platform/semaphores.h"

#include "contract/children.h"
#include "contract/contract.h"

// Named semaphores of other processes.
namespace contract {
namespace {

using namespace platform;

constexpr std::uint32_t access = accessReadControl | accessSemaphoreModifyState;

class Semaphores : public Contract {
protected:
    const std::wstring name = L"Global\\zl-contract-life";

    bool exists() const {
        const Handle handle = openSemaphore(name, access);
        closeHandle(handle);
        return handle != Handle::none;
    }
};

TEST_F(Semaphores, SemaphoreIsFoundByItsExactName) {
    onMachine([&] {
        const Handle handle = openSemaphore(L"Global\\contract", access);
        EXPECT_NE(handle, Handle::none);
        closeHandle(handle);
        EXPECT_FAILS(openSemaphore(L"Global\\contract-never", access), errorFileNotFound);
        // Unlike file names, names of kernel objects are case-sensitive.
        EXPECT_EQ(openSemaphore(L"Global\\CONTRACT", access), Handle::none);
    });
}

TEST_F(Semaphores, InaccessibleSemaphoreIsAccessDenied) {
    onMachine([&] { EXPECT_FAILS(openSemaphore(L"Global\\contract-denied", access), errorAccessDenied); });
}

TEST_F(Semaphores, SemaphoreEndsWithItsProcess) {
    onMachine([&] {
        EXPECT_FALSE(exists());
        const Holder holder = startHolder(scratch, L"semaphore", name);
        EXPECT_TRUE(exists());
        EXPECT_TRUE(exists());
        release(holder);
        EXPECT_FAILS(exists(), errorFileNotFound);
    });
}

TEST_F(Semaphores, OpenHandleKeepsTheSemaphore) {
    onMachine([&] {
        const Holder holder = startHolder(scratch, L"semaphore", name);
        const Handle handle = openSemaphore(name, access);
        release(holder);
        EXPECT_TRUE(exists());
        closeHandle(handle);
        EXPECT_FALSE(exists());
    });
}

TEST_F(Semaphores, LastHandleEndsTheSemaphore) {
    onMachine([&] {
        const Holder holder = startHolder(scratch, L"semaphore", name);
        const Handle first = openSemaphore(name, access);
        const Handle second = openSemaphore(name, access);
        EXPECT_NE(first, second);
        release(holder);
        closeHandle(first);
        EXPECT_TRUE(exists());
        closeHandle(second);
        EXPECT_FALSE(exists());
    });
}

}  // namespace
}  // namespace contract
