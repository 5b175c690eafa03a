#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/target.h"

namespace fuzz {

void expect(bool holds, const std::string& what) {
    if (!holds) {
        std::fprintf(stderr, "check failed: %s\n", what.c_str());
        std::abort();
    }
}

}  // namespace fuzz

// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::runInput(std::string(data, data + size));
    return 0;
}
