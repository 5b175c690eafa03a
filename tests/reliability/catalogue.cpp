#include <algorithm>

#include "reliability/scenario.h"

// The starts that users, administrators and platforms ask for. An entry says what differs from a plain
// first start of the user ann on a plain install of kind `user`.
namespace reliability {

namespace {

// The user has worked with the platform, has files of their own, and has closed it.
void livedIn(Stage& stage) {
    stage.startAndClose();
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\registry"), "what the user has installed");
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\bookmarks.xml"), "what the user has marked");
    stage.addUserFile(stage.inConfig(L"mine\\settings.prefs"), "what the user has set");
    stage.addUserFile(stage.inWorkspace(L".metadata\\.plugins\\notes\\note.txt"),
                      "what the user has written");
}

void cleanEnd(Stage& stage) {
    livedIn(stage);
    stage.machine.remove(stage.inWorkspace(L".pipe"));
}

// A workspace whose place does not change with the identity of the install.
void fixedWorkspace(Stage& stage) {
    stage.launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann");
}

void installChanged(Stage& stage) {
    livedIn(stage);
    stage.launcherProperties.set("zel.install.id", "1235");
    stage.layOut();
}

void resetOnce(Stage& stage) {
    livedIn(stage);
    stage.startAndClose({L"-resetconfig"});
    stage.userFiles.clear();
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\bookmarks.xml"), "what the user has marked since");
    stage.addUserFile(stage.inConfig(L"mine\\settings.prefs"), "what the user has set since");
}

void resetDirectories(Stage& stage) {
    stage.baseProperties.set("resetDir.views", "views");
    stage.baseProperties.set("resetDir.gone", "gone");
}

void viewsStored(Stage& stage) {
    livedIn(stage);
    stage.machine.writeFile(stage.inWorkspace(L".metadata\\.plugins\\views\\sub\\x"), "a view");
    stage.machine.writeFile(stage.inWorkspace(L".metadata\\.plugins\\views\\y"), "a view");
}

void halfOf(Stage& stage, const std::wstring& name) {
    const std::string content = *stage.configFile(name);
    stage.machine.writeFile(stage.inConfig(name), content.substr(0, content.size() / 2));
}

void propertiesCut(Stage& stage) {
    livedIn(stage);
    halfOf(stage, L"zelinstall.properties");
}

void propertiesAndBackupCut(Stage& stage) {
    propertiesCut(stage);
    halfOf(stage, L"zelinstall.properties.bak");
}

void propertiesCutAndNoBackup(Stage& stage) {
    propertiesCut(stage);
    stage.machine.remove(stage.inConfig(L"zelinstall.properties.bak"));
}

void provisioned(Stage& stage) {
    stage.launcherProperties.set("provisioning", "true");
    stage.launcherProperties.set("provisioning.manifest.version", "7");
    stage.launcherProperties.set("provisioning.application", "com.example.prov");
    stage.platform.livesMilliseconds = 3000;
}

void manifestRecorded(Stage& stage) {
    livedIn(stage);
    const std::string properties = *stage.configFile(L"zelinstall.properties");
    stage.machine.writeFile(stage.inConfig(L"zelinstall.properties"),
                            properties + "provisioning.manifest.version=7\r\n");
}

void newManifest(Stage& stage) {
    manifestRecorded(stage);
    stage.launcherProperties.set("provisioning.manifest.version", "8");
    stage.layOut();
}

void firstRun(Stage& stage) {
    stage.launcherProperties.set("config.initial.1", "-application");
    stage.launcherProperties.set("config.initial.2", "com.example.setup");
    stage.launcherProperties.set("config.initial.3", "-initialCompleteFlag");
    stage.launcherProperties.set("config.initial.4", "setup.done");
}

void firstRunDone(Stage& stage) {
    livedIn(stage);
    stage.machine.writeFile(stage.inConfig(L"zelinstall.properties"),
                            *stage.configFile(L"zelinstall.properties") + "setup.done=true\r\n");
}

void livesFor(Stage& stage, std::uint32_t milliseconds) {
    stage.platform.livesMilliseconds = milliseconds;
}

void extensionJars(Stage& stage) {
    for (const wchar_t* name : {L"a.jar", L"b.zip", L"c.txt"}) {
        stage.machine.writeFile(std::wstring(L"C:\\Apps\\vxext\\") + name, "");
    }
}

void kiosk(Stage& stage) {
    stage.machine.setRegistryText(winLogon + std::wstring(L"\\KSDShells"), L"KSD_SHELL", L"EXPLORER.exe");
}

void administrator(Stage& stage) {
    stage.machine.setUser(L"ann", {L"Users", L"Administrators"});
}

void kioskWithDesktop(Stage& stage) {
    kiosk(stage);
    administrator(stage);
    stage.machine.addProcess(L"System");
    stage.machine.addProcess(L"explorer.exe");
}

// An administrator at a kiosk, who gets a desktop in place of the platform.
void kioskWithoutDesktop(Stage& stage) {
    stage.machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
    const std::wstring shells = winLogon + std::wstring(L"\\KSDShells");
    stage.machine.setRegistryText(shells, L"KSD_SHELL", L"kiosk.exe");
    stage.machine.setRegistryText(shells, L"ADMIN_SHELL", L"explorer.exe");
    for (const wchar_t* name : {L"Explorer", L"System"}) {
        stage.machine.makeRegistryKey(
            ::platform::RegistryRoot::currentUser,
            L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\" + std::wstring(name));
    }
    stage.machine.installProgram(L"C:\\Explorer.exe", [] { return 0; });
    administrator(stage);
}

// The kiosk's user has lived in the workspace before an administrator comes.
void livedInByAnotherUser(Stage& stage) {
    stage.machine.setUser(L"ann", {L"Users"});
    livedIn(stage);
}

std::function<void(Stage&)> kind(const std::string& value) {
    return [value](Stage& stage) { stage.launcherProperties.set("install.configuration", value); };
}

// Supervised to its end, which is a restart that nobody follows.
void lockdownOfUser(Stage& stage) {
    kind("lockdown")(stage);
    livesFor(stage, 3000);
    stage.platform.exitCode = 23;
}

// Whose rights cannot be told is supervised as well.
void lockdownOfAdministrator(Stage& stage) {
    lockdownOfUser(stage);
    administrator(stage);
}

// The platform asks for the end of the session by a word, and for its end by an orderly end.
void lockdownThatEndsTheSession(Stage& stage) {
    lockdownOfUser(stage);
    stage.platform.exitCode = 0;
}

std::function<void(Stage&)> exitWord(const std::string& word) {
    return [word](Stage& stage) { stage.machine.writeFile(L"C:\\Users\\ann\\.exitData", word); };
}

void service(Stage& stage) {
    kind("service")(stage);
    stage.baseProperties.set("cp", "${zel.home}/start.jar");
    stage.machine.installProgram(L"C:\\Apps\\framework\\Client\\jvm\\bin\\javaw.exe", [] { return 0; });
}

void ownIdentity(Stage& stage) {
    kind("userpb")(stage);
    stage.launcherProperties.remove("zel.install.id");
    stage.machine.setTickCount(424242);
}

void startedOnce(Stage& stage) {
    stage.startAndClose();
}

const Words cacheWords = {
    L"vmarg.CacheMaintenance.enable=",
    L"vmarg.Dshare=-Xshareclasses:name=app%u,controlDir=C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\cache"};

void cacheLeft(Stage& stage) {
    livedIn(stage);
    stage.machine.writeFile(stage.inWorkspace(L"cache\\x_app_1"), "");
    stage.machine.writeFile(stage.inWorkspace(L"cache\\x_app_2"), "");
    stage.addUserFile(stage.inWorkspace(L"cache\\other"), "another cache");
}

void longHistory(Stage& stage) {
    livedIn(stage);
    std::string history;
    for (int line = 0; line < 250; ++line) {
        history += "Started Sat Jan 31 23:59:00 2026\r\n";
    }
    stage.machine.writeFile(stage.inWorkspace(L"logs\\shutdown.log"), history);
}

void shapedEnvironment(Stage& stage) {
    stage.baseProperties.set("library.path.prepend", "${zel.home}/bin");
    stage.baseProperties.set("env.set.GREETING", "hello");
    stage.baseProperties.set("env.unset.USERNAME", "");
    stage.baseProperties.set("-Duser", "${env.USERPROFILE}");
}

void jvmFeature(Stage& stage) {
    stage.launcherProperties.set("jvm.feature.id", "com.example.jvm");
    stage.launcherProperties.set("jvm.feature.version", "1.0");
    stage.launcherProperties.set("vm", "${zel.home}/zel/eclipse/plugins/jvm/bin/javaw.exe");
}

void extensionMarker(Stage& stage) {
    livedIn(stage);
    stage.machine.writeFile(std::wstring(Stage::home) + L"\\shared\\eclipse\\.eclipseextension", "marker");
}

void unmanagedUpdates(Stage& stage) {
    stage.launcherProperties.set("update.policy.managed", "false");
}

void namedConfiguration(Stage& stage) {
    stage.launcherProperties.set("config.app.1", "-application");
    stage.launcherProperties.set("config.app.2", "com.example.other");
    stage.launcherProperties.set("config.app.appID", "com.example.id");
    stage.launcherProperties.set("config.app.restartExe.win32", "${zel.home}/restart.exe");
}

void oldBackups(Stage& stage) {
    installChanged(stage);
    stage.machine.writeFile(stage.inWorkspace(L".configbak\\old"), "an older configuration");
    stage.machine.writeFile(stage.inWorkspace(L".configbakdeleteme0001\\older"), "left over");
    stage.machine.writeFile(stage.inWorkspace(L"bookmarks.xml.old"), "an older copy");
}

const std::wstring outside = L"C:\\Apps\\frame\\Client";

// The same install under a path that no companion can find.
void outsideOfFramework(Stage& stage) {
    stage.machine.writeFile(outside + L"\\zel\\zellauncher.exe", "");
    scenarios::PropertyFile properties = stage.launcherProperties;
    properties.set("zel.base.location", "C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0");
    stage.machine.writeFile(outside + L"\\zel\\zellauncher.properties", properties.content());
    stage.machine.writeFile(outside + L"\\custom.ini", "");
    stage.machine.writeFile(outside + L"\\zel\\deploy\\jvm.properties", "");
}

std::vector<Scenario> makeCatalogue() {
    const Words preparation = {L"-zelLauncherWait", L"-provManifest"};
    const Words restart = {L"-restart", L"-zel_old_pid", platformNumber};
    return {
        {.name = "first_start"},
        {.name = "first_start_with_debug_log", .words = {L"-debug"}},
        {.name = "first_start_with_words",
         .words = {L"hello world", L"vmarg.Xss=-Xss256k", L"-vmargs", L"-Da=1"}},
        {.name = "later_start", .past = cleanEnd},
        {.name = "later_start_with_debug_log", .words = {L"-debug"}, .past = cleanEnd},
        {.name = "later_start_after_a_crash", .past = livedIn},
        {.name = "changed_install", .world = fixedWorkspace, .past = installChanged},
        {.name = "changed_install_over_old_backups", .world = fixedWorkspace, .past = oldBackups},
        {.name = "changed_install_with_debug_log",
         .words = {L"-debug"},
         .world = fixedWorkspace,
         .past = installChanged},
        {.name = "reset", .words = {L"-resetconfig"}, .past = livedIn},
        {.name = "reset_over_a_backup", .words = {L"-resetconfig"}, .past = resetOnce},
        {.name = "reset_of_plugin_directories",
         .words = {L"-resetconfig"},
         .world = resetDirectories,
         .past = viewsStored},
        {.name = "damaged_properties", .past = propertiesCut},
        {.name = "damaged_properties_and_backup", .past = propertiesAndBackupCut},
        {.name = "damaged_properties_without_backup", .past = propertiesCutAndNoBackup},
        {.name = "reset_in_the_first_start",
         .world = [](Stage& stage) { stage.baseProperties.remove("Xbootclasspath.append"); }},
        {.name = "provisioning_of_a_new_user", .world = provisioned},
        {.name = "provisioning_is_done", .world = provisioned, .past = manifestRecorded},
        {.name = "provisioning_of_a_new_manifest", .world = provisioned, .past = newManifest},
        {.name = "provisioning_by_an_administrator", .words = preparation, .world = provisioned},
        {.name = "preparation_of_a_user", .words = preparation},
        {.name = "first_run_of_the_install", .words = {L"hello", L"-console"}, .world = firstRun},
        {.name = "first_run_is_done", .words = {L"hello"}, .world = firstRun, .past = firstRunDone},
        {.name = "hand_off", .words = {L"hello"}, .past = livedIn, .platformRuns = true},
        {.name = "hand_off_with_debug_log", .words = {L"-debug"}, .past = livedIn, .platformRuns = true},
        {.name = "hand_off_with_extension_jars", .past = extensionJars, .platformRuns = true},
        {.name = "installation_while_the_platform_runs", .words = {L"-provManifest"}, .platformRuns = true},
        {.name = "command_alone", .words = {L"-dcommand_only", L"hello"}, .platformRuns = true},
        {.name = "command_alone_without_a_platform", .words = {L"-dcommand_only"}, .past = livedIn},
        {.name = "command_alone_of_a_new_user", .words = {L"-dcommand_only"}},
        {.name = "restart", .words = {L"-restart", L"-zel_old_pid", L"1"}, .past = livedIn},
        {.name = "restart_by_a_platform_that_ends",
         .words = restart,
         .world = [](Stage& stage) { livesFor(stage, 5000); },
         .platformRuns = true},
        {.name = "restart_by_a_platform_that_hangs",
         .words = restart,
         .world = [](Stage& stage) { livesFor(stage, 40000); },
         .platformRuns = true},
        {.name = "restart_with_a_reset", .words = {L"-restart", L"-resetconfig"}, .past = livedIn},
        {.name = "kiosk_with_a_desktop", .world = kioskWithDesktop, .past = livedIn},
        {.name = "kiosk_of_another_user", .world = kiosk},
        {.name = "kiosk_without_a_desktop", .world = kioskWithoutDesktop, .past = livedInByAnotherUser},
        {.name = "lockdown_of_an_administrator", .world = lockdownOfAdministrator},
        {.name = "lockdown_of_a_user", .world = lockdownOfUser},
        {.name = "lockdown_that_logs_off", .world = lockdownThatEndsTheSession, .past = exitWord("LOGOFF")},
        {.name = "lockdown_that_shuts_down",
         .world = lockdownThatEndsTheSession,
         .past = exitWord("SHUTDOWN")},
        {.name = "service",
         .world = service,
         .workspace = L"C:\\Apps\\framework\\Client\\eclipse\\.workspace"},
        {.name = "service_later",
         .world = service,
         .past = startedOnce,
         .workspace = L"C:\\Apps\\framework\\Client\\eclipse\\.workspace"},
        {.name = "serial_multiuser", .world = kind("serial.multiuser")},
        {.name = "multiuser", .world = kind("multiuser"), .past = livedIn},
        {.name = "unknown_kind", .world = kind("User")},
        {.name = "userpb_without_an_identity",
         .world = ownIdentity,
         .workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann"},
        {.name = "userpb_later",
         .world = ownIdentity,
         .past = startedOnce,
         .workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann"},
        {.name = "version_query", .words = {L"-version"}},
        {.name = "wrong_argument_count", .words = {L"-maxargcnt", L"9"}},
        {.name = "double_quote", .words = {L"a\"b"}, .past = livedIn},
        {.name = "forbidden_argument", .words = {L"-Djava.home=x"}},
        {.name = "override_without_an_option", .words = {L"vmarg.Xmx"}},
        {.name = "extension_jars", .past = extensionJars},
        {.name = "workspace_of_the_command_line",
         .words = {L"-data", L"D:\\my ws\\"},
         .nextWords = {L"-data", L"D:\\my ws\\"},
         .workspace = L"D:\\my ws"},
        {.name = "relative_workspace",
         .words = {L"-data", L"here"},
         .nextWords = {L"-data", L"here"},
         .workspace = L"C:\\here"},
        {.name = "named_virtual_machine",
         .words = {L"-vm", L"${zel.home}/jvm/bin/java.exe"},
         .past = livedIn},
        {.name = "named_configuration", .words = {L"-config", L"app", L"x"}, .world = namedConfiguration},
        {.name = "cache_upkeep", .words = cacheWords, .nextWords = cacheWords, .past = cacheLeft},
        {.name = "long_history_of_starts", .past = longHistory},
        {.name = "waiting_for_the_platform",
         .words = {L"-zelLauncherWait"},
         .world = [](Stage& stage) { livesFor(stage, 3000); },
         .past = livedIn},
        {.name = "shaped_environment", .world = shapedEnvironment},
        {.name = "virtual_machine_as_a_feature", .world = jvmFeature},
        {.name = "extension_marker", .past = extensionMarker},
        {.name = "unmanaged_updates", .world = unmanagedUpdates},
        {.name = "platform_that_publishes_nothing",
         .world = [](Stage& stage) { stage.platform.publishes = false; }},
        {.name = "install_outside_of_framework",
         .past = outsideOfFramework,
         .program = outside + L"\\zel\\zellauncher.exe"},
    };
}

}  // namespace

const std::vector<Scenario>& catalogue() {
    static const std::vector<Scenario> all = makeCatalogue();
    return all;
}

const Scenario& scenarioCalled(const std::string& name) {
    return *std::find_if(catalogue().begin(), catalogue().end(),
                         [&](const Scenario& scenario) { return scenario.name == name; });
}

}  // namespace reliability
