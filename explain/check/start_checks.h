#pragma once

#include <optional>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Starts the launcher on simulated machines as its users will: a first start, a hand-off, a later start, one
// after an upgrade, and provisioning. What the findings say already is repaired on the machines, so that it
// does not hide the rest. Returns the length of the platform's command, if there is one.
std::optional<std::size_t> checkStarts(const InstallReading& reading, const StartOptions& options,
                                       Findings& findings);

// Instead of the message of a start that never ends.
inline constexpr const char* waitsWithoutLimit = "the launcher waits without limit";

// The longest command that the system can start.
inline constexpr std::size_t longestCommand = 32766;

}  // namespace explain
