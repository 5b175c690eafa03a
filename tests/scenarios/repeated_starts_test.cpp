#include <gtest/gtest.h>

#include "platform/files.h"
#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// What goes wrong only at the second or third start, because of what the first one wrote.
class RepeatedStarts : public Story {
protected:
    RepeatedStarts() { launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann"); }

    // Starts and closes the platform three times. Returns how many of the starts renewed the configuration.
    int startThreeTimes() {
        int renewals = 0;
        for (std::size_t start = 1; start <= 3; ++start) {
            EXPECT_STARTED(launch());
            EXPECT_EQ(machine.startedProcesses().size(), start);
            renewals += start > 1 && !machine.exists(inConfig(L"mark")) ? 1 : 0;
            closePlatform();
            machine.writeFile(inConfig(L"mark"), "");
        }
        return renewals;
    }
    std::optional<std::wstring> recordedIdentity() {
        return valueIn(inConfig(L"zelinstall.properties"), L"zel.install.id");
    }
};

// The recorded line is a format of its own, so the conversion is lost.
TEST_F(RepeatedStarts, IdentityWithAPercentSignIsRenewedEachTime) {
    launcherProperties.set("zel.install.id", "50%d");
    EXPECT_EQ(startThreeTimes(), 2);
    EXPECT_EQ(recordedIdentity(), L"50");
    launcherProperties.set("zel.install.id", "50%%");
    layOut();
    EXPECT_STARTED(launch());
    EXPECT_EQ(recordedIdentity(), L"50%");
}

// The recorded line is not escaped, so the backslash is lost.
TEST_F(RepeatedStarts, IdentityWithABackslashIsRenewedEachTime) {
    launcherProperties.set("zel.install.id", "a\\\\b");
    EXPECT_EQ(startThreeTimes(), 2);
    EXPECT_EQ(recordedIdentity(), L"ab");
}

// The backslash joins the next line to the recorded one, so the property `vm` is lost, too.
TEST_F(RepeatedStarts, IdentityThatEndsInABackslashIsRenewedEachTime) {
    launcherProperties.set("zel.install.id", "a\\\\");
    EXPECT_EQ(startThreeTimes(), 2);
    EXPECT_EQ(recordedIdentity(), L"avm=${zel.home}/jvm/bin/javaw.exe");
}

class RepeatedReadOnlyTemplates : public RepeatedStarts {
protected:
    RepeatedReadOnlyTemplates() {
        layOut();
        const std::wstring basePath = base;
        for (const wchar_t* name : {L"\\config.ini", L"\\zelinstall.properties", L"\\platform.xml"}) {
            machine.setAttributes(basePath + name, ::platform::attributeReadOnly);
        }
    }
};

TEST_F(RepeatedReadOnlyTemplates, ServeEveryStart) {
    EXPECT_EQ(startThreeTimes(), 0);
}

}  // namespace
