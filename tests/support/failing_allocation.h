#pragma once

#include <cstddef>

namespace launchertest {

// While it lives, lets one allocation of its thread fail: the nth of at least so many bytes. Smaller
// ones, and those that come later, succeed, so that a message about the failure can be written.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t minimumBytes, int nth = 1);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace launchertest
