#pragma once

#include <string>
#include <string_view>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// What the launcher appends to a property file.
enum class Appended {
    nothing,
    identity,      // zel.install.id, to the file itself
    linesOfACopy,  // to each user's copy of the template
};

// Encoding and dialect of a property file, which has this name in the findings.
void checkPropertyText(const std::string& name, const InstallFile& file, Appended appended,
                       Findings& findings);

}  // namespace explain
