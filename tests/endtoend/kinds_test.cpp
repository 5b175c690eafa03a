#include <algorithm>

#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Kinds : public EndToEnd {
protected:
    void expectKind(const std::string& value, const std::wstring& word) {
        setProperty("install.configuration", value);
        EXPECT_EQ(launch(), 0U) << log() << tempLog();
        const std::vector<std::wstring> words = platformWords();
        EXPECT_NE(std::find(words.begin(), words.end(), L"-Dzel.install.config=" + word), words.end());
    }
};

TEST_F(Kinds, AServiceStartsJavaItself) {
    setProperty("install.configuration", "service");
    layOut();
    fs::remove(home / L"jvm" / L"bin" / L"javaw.exe");
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", home / L"jvm" / L"bin" / L"javaw.exe");
    EXPECT_EQ(launch(), 0U) << tempLog();
    const fs::path area = home / L"eclipse" / L".workspace";
    const std::vector<std::wstring> words = platformWords(area);
    EXPECT_EQ(words.at(0), home.generic_wstring() + L"/jvm/bin/javaw.exe");
    EXPECT_NE(std::find(words.begin(), words.end(), L"org.eclipse.core.launcher.Main"), words.end());
    EXPECT_EQ(std::find(words.begin(), words.end(), L"-vmargs"), words.end());
    EXPECT_TRUE(fs::exists(home / L"eclipse" / L".config" / L"zelinstall.properties"));
    stopPlatform(area);
}

// Wine makes everybody an administrator, so nobody is supervised here.
TEST_F(Kinds, Lockdown) {
    expectKind("lockdown", L"lockdown");
}
TEST_F(Kinds, User) {
    expectKind("user", L"user");
}
TEST_F(Kinds, SerialMultiuser) {
    expectKind("serial.multiuser", L"serial.multiuser");
}
TEST_F(Kinds, Multiuser) {
    expectKind("multiuser", L"multiuser");
}

TEST_F(Kinds, AnUnknownKindIsRefused) {
    setProperty("install.configuration", "other");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(
        log(), "ZLNCH0025E: The platform zel.install.id must be provided for this configuration!\n"));
}

TEST_F(Kinds, UserpbMakesItsIdentity) {
    setProperty("install.configuration", "userpb");
    removeProperty("zel.install.id");
    setProperty("zel.data", "${env.USERPROFILE}/own");
    EXPECT_EQ(launch(), 0U) << tempLog();
    const std::string properties = read(home / L"zel" / L"zellauncher.properties");
    EXPECT_TRUE(contains(properties, "\nzel.install.id="));
    EXPECT_FALSE(fs::exists(userHome / L"own" / L".config" / L"org.eclipse.update"));
    stopPlatform(userHome / L"own");
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(read(home / L"zel" / L"zellauncher.properties"), properties);
    stopPlatform(userHome / L"own");
}

}  // namespace
