#include <gtest/gtest.h>

#include "scenarios/story.h"

// Which changes of an install reach a user who has started before. docs/integration.md has the list.
namespace {

using scenarios::contains;
using scenarios::Story;

// The text is in the platform's command if the new value has reached the user.
struct Change {
    const char* key;
    const char* before;
    const char* after;
    const wchar_t* inCommand;
};

class KnownUser : public Story {
protected:
    std::vector<std::wstring> arguments;  // of every start

    KnownUser() {
        baseProperties.set("vmfix.noconsole", "-Dfix=1");
        launcherProperties.set("osgi.splashPath", "file:/old");
    }

    void start(const std::vector<std::wstring>& more = {}) {
        std::vector<std::wstring> all = arguments;
        all.insert(all.end(), more.begin(), more.end());
        layOut();
        EXPECT_STARTED(launch(all));
        closePlatform();
    }
    void startAnew() {
        machine.remove(workspace);
        start();
    }
    bool reachesKnownUser(const Change& change) {
        start();
        return contains(command(), change.inCommand);
    }
    // Lays out a second base location, with its own native launcher.
    void layOutNewBase() {
        const std::wstring newBase = std::wstring(installDir) + L"\\base_2.0";
        for (const wchar_t* name : {L"\\zelinstall.properties", L"\\config.ini", L"\\platform.xml"}) {
            machine.writeFile(newBase + name, *machine.readFile(std::wstring(base) + name));
        }
        machine.installProgram(newBase + L"\\win32\\x86_64\\eclipse.exe", [] { return 0; });
    }
};

TEST_F(KnownUser, GetsLauncherPropertiesAtEachStart) {
    arguments = {L"-config", L"app"};
    machine.writeFile(std::wstring(installDir) + L"\\jvm\\bin\\clientw.exe", "");
    const Change changes[] = {
        {"product", "com.example.product", "com.example.new", L"com.example.new"},
        {"osgi.splashPath", "file:/old", "file:/new", L"file:/new"},
        {"install.configuration", "user", "multiuser", L"-Dzel.install.config=\"multiuser\""},
        {"config.app.1", "-old", "-new", L"\"-new\""},
        {"javaw.exe.name.win32", "javaw.exe", "clientw.exe", L"/clientw.exe\""},
    };
    for (const Change& change : changes) {
        launcherProperties.set(change.key, change.before);
        startAnew();
        launcherProperties.set(change.key, change.after);
        EXPECT_TRUE(reachesKnownUser(change)) << change.key;
    }
}

TEST_F(KnownUser, GetsJvmPropertiesAtEachStart) {
    startAnew();
    jvmProperties.addLine("-Xss1m");
    EXPECT_TRUE(reachesKnownUser({"-Xss1m", "", "", L"-Xss1m"}));
}

TEST_F(KnownUser, KeepsTheJvmUntilARenewal) {
    launcherProperties.set("jvm.location", "${zel.home}/wrong/javaw.exe");
    startAnew();
    launcherProperties.set("jvm.location", "${zel.home}/jvm/bin/javaw.exe");
    const Change change = {"jvm.location", "", "", L"Client/jvm/bin/javaw.exe"};
    EXPECT_FALSE(reachesKnownUser(change));
    start({L"-resetconfig"});
    EXPECT_TRUE(reachesKnownUser(change));
}

TEST_F(KnownUser, KeepsTheBaseLocationUntilARenewal) {
    startAnew();
    layOutNewBase();
    launcherProperties.set("zel.base.location", "${zel.home}/base_2.0");
    const Change change = {"zel.base.location", "", "", L"Client/base_2.0\\win32"};
    EXPECT_FALSE(reachesKnownUser(change));
    start({L"-resetconfig"});
    EXPECT_TRUE(reachesKnownUser(change));
}

TEST_F(KnownUser, CannotStartIfTheOldBaseLocationIsGone) {
    startAnew();
    layOutNewBase();
    launcherProperties.set("zel.base.location", "${zel.home}/base_2.0");
    layOut();
    machine.remove(base);
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(log(), "ZLNCH0007E: C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0\\win32"));
    EXPECT_STARTED(launch({L"-resetconfig"}));
}

TEST_F(KnownUser, KeepsTheTemplateOfThePropertiesUntilARenewal) {
    const Change changes[] = {
        {"application", "com.example.app", "com.example.new", L"com.example.new"},
        {"-Dgreeting", "old", "new", L"-Dgreeting=\"new\""},
        {"vmarg.Xss", "-Xss1m", "-Xss2m", L"-Xss2m"},
        {"vmfix.noconsole", "-Dfix=1", "-Dfix=2", L"-Dfix=2"},
        {"Xbootclasspath.append", "${zel.home}/boot.jar", "${zel.home}/new.jar", L"/new.jar"},
    };
    for (const Change& change : changes) {
        baseProperties.set(change.key, change.before);
        startAnew();
        baseProperties.set(change.key, change.after);
        EXPECT_FALSE(reachesKnownUser(change)) << change.key;
        start({L"-resetconfig"});
        EXPECT_TRUE(reachesKnownUser(change)) << change.key;
    }
}

TEST_F(KnownUser, KeepsTheLibraryPathUntilARenewal) {
    baseProperties.set("library.path.prepend", "C:/old");
    startAnew();
    baseProperties.set("library.path.prepend", "C:/new");
    start();
    EXPECT_TRUE(childEnvironment()[L"PATH"].starts_with(L"C:/old;"));
    start({L"-resetconfig"});
    EXPECT_TRUE(childEnvironment()[L"PATH"].starts_with(L"C:/new;"));
}

TEST_F(KnownUser, KeepsTheSeedFilesUntilARenewal) {
    startAnew();
    const auto write = [&](const wchar_t* name, const char* text) {
        machine.writeFile(std::wstring(base) + name, text);
    };
    write(L"\\config.ini", "new=config\r\n");
    write(L"\\platform.xml", "<config>\r\nnew\r\n</config>\r\n");
    EXPECT_STARTED(launch());
    closePlatform();
    EXPECT_EQ(configFile(L"config.ini"), "osgi.bundles=example\r\n");
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_EQ(configFile(L"config.ini"), "new=config\r\n");
    EXPECT_TRUE(contains(*configFile(L"org.eclipse.update\\platform.xml"), "new\r\n"));
}

// With -data or zel.data the workspace stays, and the changed identity renews the configuration in it.
TEST_F(KnownUser, GetsEverythingWithANewIdentity) {
    launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann");
    startAnew();
    launcherProperties.set("zel.install.id", "1235");
    baseProperties.set("application", "com.example.new");
    EXPECT_TRUE(reachesKnownUser({"application", "", "", L"com.example.new"}));
    EXPECT_TRUE(contains(command(), L"-Dcom.mivel.zel.install.id=\"1235\""));
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
}

// Without them the identity is part of the path, so the user gets an empty workspace beside the old one.
TEST_F(KnownUser, IsNewWithANewIdentityInTheDefaultWorkspace) {
    startAnew();
    machine.writeFile(inConfig(L"mine"), "settings");
    launcherProperties.set("zel.install.id", "1235");
    start();
    EXPECT_TRUE(contains(command(), L"-data \"C:\\Users\\ann/Mivel/ZEL/1235/ann\""));
    EXPECT_FALSE(machine.exists(inWorkspace(L".configbak")));
    EXPECT_EQ(configFile(L"mine"), "settings");
    EXPECT_FALSE(machine.exists(L"C:\\Users\\ann\\Mivel\\ZEL\\1235\\ann\\.config\\mine"));
}

}  // namespace
