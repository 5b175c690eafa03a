// bench_read_properties <file>: for each line of its input, reads the property file with the launcher's
// reader and prints `<nanoseconds> <bytes of memory> <entries>`. The memory is the most that was allocated at
// one moment, without what the allocator itself adds.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "properties/property_list.h"
#include "properties/property_reader.h"

namespace {

struct Allocations {
    std::size_t now = 0;
    std::size_t most = 0;
};
Allocations allocations;

std::int64_t ticks() {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

std::int64_t ticksPerSecond() {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

}  // namespace

// Each block begins with its size.
constexpr std::size_t header = 16;

void* operator new(std::size_t size) {
    char* block = static_cast<char*>(std::malloc(size + header));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *reinterpret_cast<std::size_t*>(block) = size;
    allocations.now += size;
    allocations.most = allocations.now > allocations.most ? allocations.now : allocations.most;
    return block + header;
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr) {
        char* block = static_cast<char*>(memory) - header;
        allocations.now -= *reinterpret_cast<std::size_t*>(block);
        std::free(block);
    }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

int wmain(int count, wchar_t* arguments[]) {
    if (count != 2) {
        return 1;
    }
    const std::wstring file = arguments[1];
    const std::int64_t perSecond = ticksPerSecond();
    char line[8];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        zellauncher::PropertyList list;
        allocations.most = allocations.now;
        const std::size_t before = allocations.now;
        const std::int64_t begin = ticks();
        zellauncher::loadPropertyFile(file, list);
        const double seconds = static_cast<double>(ticks() - begin) / static_cast<double>(perSecond);
        std::printf("%.0f %llu %llu\n", seconds * 1e9,
                    static_cast<unsigned long long>(allocations.most - before),
                    static_cast<unsigned long long>(list.size()));
        std::fflush(stdout);
    }
    return 0;
}
