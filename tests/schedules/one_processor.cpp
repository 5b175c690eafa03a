#include <gtest/gtest.h>
#include <sched.h>

// Runs this program on one processor. Only one process of a simulated machine runs at any time, and it
// changes thousands of times in a race; from thread to thread across two processors that takes twice as
// long.
namespace {

class OneProcessor : public testing::Environment {
    void SetUp() override {
        cpu_set_t processors;
        CPU_ZERO(&processors);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
        sched_setaffinity(0, sizeof(processors), &processors);  // without it the races are only slower
    }
};

[[maybe_unused]] const testing::Environment* const oneProcessor =
    testing::AddGlobalTestEnvironment(new OneProcessor);

}  // namespace
