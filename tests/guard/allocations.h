#pragma once

#include <cstdint>
#include <functional>

namespace guard {

// How often the launcher's code calls `operator new` while the body runs: each call whose innermost caller in
// a namespace of this project is in `zellauncher`. What the simulated machine and the tests allocate for it
// is not counted. What a text costs because it knows its source is counted, although only the simulated
// machine has that.
std::uint64_t launcherAllocations(const std::function<void()>& body);

}  // namespace guard
