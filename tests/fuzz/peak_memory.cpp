#include "fuzz/peak_memory.h"

#include <atomic>

// Allocations are counted by the hooks of the address sanitizer if the program has it, otherwise by the
// program's own allocation functions.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define COUNTED_BY_SANITIZER
#endif
#endif

#ifdef COUNTED_BY_SANITIZER
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>

#include <cstdlib>
#include <new>
#endif

namespace {

// Only one thread of a simulated machine runs at any time, but the end of one and the begin of the next
// overlap, so these are atomic.
std::atomic<long long> bytesInUse = 0;
std::atomic<long long> mostInUse = 0;

void countAllocated(std::size_t size) {
    const long long now = bytesInUse += static_cast<long long>(size);
    if (now > mostInUse) {
        mostInUse = now;
    }
}

void countFreed(std::size_t size) {
    bytesInUse -= static_cast<long long>(size);
}

#ifdef COUNTED_BY_SANITIZER

void onAllocated(const volatile void* /*memory*/, std::size_t size) {
    countAllocated(size);
}

void onFreed(const volatile void* memory) {
    if (memory != nullptr) {
        countFreed(__sanitizer_get_allocated_size(memory));
    }
}

[[maybe_unused]] const int hooks = __sanitizer_install_malloc_and_free_hooks(onAllocated, onFreed);

#endif

}  // namespace

namespace fuzz {

PeakMemory::PeakMemory() {
    bytesInUse = 0;
    mostInUse = 0;
}

std::size_t PeakMemory::bytes() const {
    return static_cast<std::size_t>(mostInUse);
}

}  // namespace fuzz

#ifndef COUNTED_BY_SANITIZER

void* operator new(std::size_t size) {
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    countAllocated(malloc_usable_size(memory));
    return memory;
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr) {
        countFreed(malloc_usable_size(memory));
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

#endif
