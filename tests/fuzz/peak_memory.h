#pragma once

#include <cstddef>

namespace fuzz {

// Measures the memory that the threads of this program allocate from its construction on, to compare it
// with the size of the input.
class PeakMemory {
public:
    PeakMemory();
    // The most that was in use at one moment, above what was in use at the construction.
    std::size_t bytes() const;
};

}  // namespace fuzz
