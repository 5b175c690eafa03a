#include "endtoend.h"
#include "held_files.h"

namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Kinds : public EndToEnd {
protected:
    // Starts in the user's own workspace and expects it to be seeded from this template of config.ini.
    void expectKind(const std::string& value, const std::string& template_) {
        setProperty("install.configuration", value);
        EXPECT_EQ(launch(), 0U) << log() << tempLog();
        EXPECT_TRUE(hasArgument(L"-Dzel.install.config=" + std::wstring(value.begin(), value.end())));
        EXPECT_TRUE(hasArgument(L"-vmargs"));
        EXPECT_EQ(read(workspace() / L".config" / L"config.ini"), "seeded=" + template_ + "\n");
        EXPECT_TRUE(fs::exists(workspace() / L".config" / L"org.eclipse.update" / L"platform.xml"));
    }
};

TEST_F(Kinds, ServiceStartsJavaDirectly) {
    setProperty("install.configuration", "service");
    layOut();
    endtoend::removeAll(install / L"jvm" / L"bin" / L"javaw.exe");
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", install / L"jvm" / L"bin" / L"javaw.exe");
    EXPECT_EQ(launch({L"-data", (root / L"other").wstring()}), 0U) << tempLog();
    EXPECT_FALSE(fs::exists(root / L"other"));
    const fs::path area = install / L"eclipse" / L".workspace";
    const Arguments arguments = platformArguments(area);
    EXPECT_EQ(arguments.at(0), install.generic_wstring() + L"/jvm/bin/javaw.exe");
    EXPECT_TRUE(contains(arguments, L"org.eclipse.core.launcher.Main"));
    EXPECT_FALSE(contains(arguments, L"-vmargs"));
    EXPECT_TRUE(contains(arguments, L"-nosplash"));
    EXPECT_TRUE(fs::exists(install / L"eclipse" / L".config" / L"zelinstall.properties"));
    EXPECT_EQ(read(install / L"eclipse" / L".config" / L"config.ini"), "seeded=base\n");
    EXPECT_FALSE(fs::exists(userHome / L"Mivel"));
    stopPlatform(area);
}

// For other users the launcher would stay and supervise the platform.
TEST_F(Kinds, LockdownOfAnAdministratorStarts) {
    if (!endtoend::isUserAdministrator()) {
        GTEST_SKIP() << "needs a user whom the machine lists as an administrator";
    }
    expectKind("lockdown", "user");
    EXPECT_TRUE(isPlatformRunning());
}

TEST_F(Kinds, UserStarts) {
    expectKind("user", "user");
}

TEST_F(Kinds, SerialMultiuserStarts) {
    expectKind("serial.multiuser", "base");
}

TEST_F(Kinds, MultiuserStarts) {
    expectKind("multiuser", "user");
}

TEST_F(Kinds, UnknownKindIsFatal) {
    setProperty("install.configuration", "User");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with(
        "ZLNCH0025E: The platform zel.install.id must be provided for this configuration!\n"));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Kinds, UserpbCreatesItsIdentity) {
    setProperty("install.configuration", "userpb");
    removeProperty("zel.install.id");
    setProperty("zel.data", "${env.USERPROFILE}/own");
    EXPECT_EQ(launch(), 0U) << tempLog();
    const std::string properties = read(install / L"zel" / L"zellauncher.properties");
    EXPECT_TRUE(contains(properties, "\nzel.install.id="));
    EXPECT_EQ(read(userHome / L"own" / L".config" / L"config.ini"), "seeded=pbuilder\n");
    EXPECT_FALSE(fs::exists(userHome / L"own" / L".config" / L"org.eclipse.update"));
    stopPlatform(userHome / L"own");
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(read(install / L"zel" / L"zellauncher.properties"), properties);
    stopPlatform(userHome / L"own");
}

}  // namespace
