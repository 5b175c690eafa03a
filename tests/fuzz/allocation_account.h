#pragma once

#include <cstddef>

namespace fuzz {

// What was allocated since it was made, by all threads of this program: so that the memory that an input
// takes can be held against its size.
class AllocationAccount {
public:
    AllocationAccount();
    // Most that was in use at one moment, above what was at the start.
    std::size_t peakBytes() const;
};

}  // namespace fuzz
