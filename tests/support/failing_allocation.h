#pragma once

#include <cstddef>

namespace launchertest {

// While it lives, one allocation of its thread fails: the nth of at least `minimumBytes`. Smaller and
// later ones succeed, so that a message about the failure can be written.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t minimumBytes, int nth = 1);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace launchertest
