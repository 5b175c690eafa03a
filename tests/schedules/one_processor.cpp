#include <gtest/gtest.h>
#include <sched.h>

// Only one process of a simulated machine runs at any time, and the turn passes from thread to thread
// thousands of times in a race. On one processor that costs half of what it does across two.
namespace {

class OneProcessor : public testing::Environment {
    void SetUp() override {
        cpu_set_t processors;
        CPU_ZERO(&processors);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
        sched_setaffinity(0, sizeof(processors), &processors);  // where it is refused, races just take longer
    }
};

[[maybe_unused]] const testing::Environment* const oneProcessor =
    testing::AddGlobalTestEnvironment(new OneProcessor);

}  // namespace
