#include <algorithm>

#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Kinds : public EndToEnd {
protected:
    // A start in the user's own workspace, seeded from the templates of the kind.
    void expectKind(const std::string& value, const std::string& template_) {
        setProperty("install.configuration", value);
        EXPECT_EQ(launch(), 0U) << log() << tempLog();
        EXPECT_TRUE(hasWord(L"-Dzel.install.config=" + std::wstring(value.begin(), value.end())));
        EXPECT_TRUE(hasWord(L"-vmargs"));
        EXPECT_EQ(read(workspace() / L".config" / L"config.ini"), "seeded=" + template_ + "\n");
        EXPECT_TRUE(fs::exists(workspace() / L".config" / L"org.eclipse.update" / L"platform.xml"));
    }
};

TEST_F(Kinds, AServiceStartsJavaItself) {
    setProperty("install.configuration", "service");
    layOut();
    fs::remove(home / L"jvm" / L"bin" / L"javaw.exe");
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", home / L"jvm" / L"bin" / L"javaw.exe");
    EXPECT_EQ(launch({L"-data", (root / L"other").wstring()}), 0U) << tempLog();
    EXPECT_FALSE(fs::exists(root / L"other"));
    const fs::path area = home / L"eclipse" / L".workspace";
    const std::vector<std::wstring> words = platformWords(area);
    EXPECT_EQ(words.at(0), home.generic_wstring() + L"/jvm/bin/javaw.exe");
    EXPECT_NE(std::find(words.begin(), words.end(), L"org.eclipse.core.launcher.Main"), words.end());
    EXPECT_EQ(std::find(words.begin(), words.end(), L"-vmargs"), words.end());
    EXPECT_NE(std::find(words.begin(), words.end(), L"-nosplash"), words.end());
    EXPECT_TRUE(fs::exists(home / L"eclipse" / L".config" / L"zelinstall.properties"));
    EXPECT_EQ(read(home / L"eclipse" / L".config" / L"config.ini"), "seeded=base\n");
    EXPECT_FALSE(fs::exists(userHome / L"Mivel"));
    stopPlatform(area);
}

// For anybody else the launcher would stay beside the platform and supervise it.
TEST_F(Kinds, Lockdown) {
    if (!endtoend::isUserAdministrator()) {
        GTEST_SKIP() << "the user of the tests is no administrator";
    }
    expectKind("lockdown", "user");
    EXPECT_TRUE(isPlatformRunning());
}

TEST_F(Kinds, User) {
    expectKind("user", "user");
}

TEST_F(Kinds, SerialMultiuser) {
    expectKind("serial.multiuser", "base");
}

TEST_F(Kinds, Multiuser) {
    expectKind("multiuser", "user");
}

TEST_F(Kinds, AnUnknownKindIsRefused) {
    setProperty("install.configuration", "User");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with(
        "ZLNCH0025E: The platform zel.install.id must be provided for this configuration!\n"));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Kinds, UserpbMakesItsIdentity) {
    setProperty("install.configuration", "userpb");
    removeProperty("zel.install.id");
    setProperty("zel.data", "${env.USERPROFILE}/own");
    EXPECT_EQ(launch(), 0U) << tempLog();
    const std::string properties = read(home / L"zel" / L"zellauncher.properties");
    EXPECT_TRUE(contains(properties, "\nzel.install.id="));
    EXPECT_EQ(read(userHome / L"own" / L".config" / L"config.ini"), "seeded=pbuilder\n");
    EXPECT_FALSE(fs::exists(userHome / L"own" / L".config" / L"org.eclipse.update"));
    stopPlatform(userHome / L"own");
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(read(home / L"zel" / L"zellauncher.properties"), properties);
    stopPlatform(userHome / L"own");
}

}  // namespace
