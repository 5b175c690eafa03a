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

// Encoding of the files that others than the launcher read: config.ini, platform.xml, and the .ini file
// beside the native platform launcher. `world` is a machine that shows the install.
void checkOtherTexts(const InstallReading& reading, const StartOptions& options, const World& world,
                     Findings& findings);

}  // namespace explain
