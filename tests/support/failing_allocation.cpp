#include "support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t failingBytes = 0;
thread_local int untilFailure = 0;  // 0: none fails

bool isDue(std::size_t size) {
    return untilFailure > 0 && size >= failingBytes && --untilFailure == 0;
}

}  // namespace

namespace launchertest {

FailingAllocation::FailingAllocation(std::size_t minimumBytes, int nth) {
    failingBytes = minimumBytes;
    untilFailure = nth;
}

FailingAllocation::~FailingAllocation() {
    untilFailure = 0;
}

}  // namespace launchertest

// This test program's own allocation functions; all others of the library end in these.
void* operator new(std::size_t size) {
    void* memory = isDue(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
