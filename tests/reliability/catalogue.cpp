#include <algorithm>

#include "platform/files.h"
#include "reliability/scenario.h"

// The scenarios. An entry says what differs from a first start of the user ann on an install of kind `user`.
namespace reliability {

namespace {

// An earlier start, files of the user's, and the end of the platform.
void livedIn(Stage& stage) {
    stage.startAndClose();
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\registry"), "installed features");
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    stage.addUserFile(stage.inConfig(L"mine\\settings.prefs"), "settings");
    stage.addUserFile(stage.inWorkspace(L".metadata\\.plugins\\notes\\note.txt"), "a note");
}

void cleanEnd(Stage& stage) {
    livedIn(stage);
    stage.machine.remove(stage.inWorkspace(L".pipe"));
}

// The workspace does not depend on the install identity.
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
    stage.addUserFile(stage.inConfig(L"org.eclipse.update\\bookmarks.xml"), "later bookmarks");
    stage.addUserFile(stage.inConfig(L"mine\\settings.prefs"), "later settings");
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

void logLeftInTemp(Stage& stage) {
    stage.startAndClose({L"a\"b"});
}

void truncate(Stage& stage, const std::wstring& name) {
    const std::string content = *stage.configFile(name);
    stage.machine.writeFile(stage.inConfig(name), content.substr(0, content.size() / 2));
}

void truncatedProperties(Stage& stage) {
    livedIn(stage);
    truncate(stage, L"zelinstall.properties");
}

void truncatedPropertiesAndBackup(Stage& stage) {
    truncatedProperties(stage);
    truncate(stage, L"zelinstall.properties.bak");
}

void truncatedPropertiesWithoutBackup(Stage& stage) {
    truncatedProperties(stage);
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

// An administrator, who gets a desktop instead of the platform.
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

// The earlier start was by a user who is no administrator.
void livedInByAnotherUser(Stage& stage) {
    stage.machine.setUser(L"ann", {L"Users"});
    livedIn(stage);
}

std::function<void(Stage&)> kind(const std::string& value) {
    return [value](Stage& stage) { stage.launcherProperties.set("install.configuration", value); };
}

// Supervised; exit code 23 ends the supervision.
void lockdownOfUser(Stage& stage) {
    kind("lockdown")(stage);
    livesFor(stage, 3000);
    stage.platform.exitCode = 23;
}

// With the user's exit code, because an administrator whose groups cannot be read is supervised too.
void lockdownOfAdministrator(Stage& stage) {
    lockdownOfUser(stage);
    administrator(stage);
}

// The platform ends with 0, so .exitData decides.
void lockdownThatEndsTheSession(Stage& stage) {
    lockdownOfUser(stage);
    stage.platform.exitCode = 0;
}

// The platform crashes once and is started again.
void lockdownWithCrash(Stage& stage) {
    lockdownOfUser(stage);
    stage.platform.crashArgument = L"crash";
}

std::function<void(Stage&)> exitData(const std::string& text) {
    return [text](Stage& stage) { stage.machine.writeFile(L"C:\\Users\\ann\\.exitData", text); };
}

void dyingPlatform(Stage& stage) {
    stage.platform.publishes = false;
    stage.platform.exitCode = 13;
    livesFor(stage, 0);
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

void propertiesEndInCtrlZ(Stage& stage) {
    stage.machine.writeFile(std::wstring(Stage::installDir) + L"\\zel\\zellauncher.properties",
                            stage.launcherProperties.content() + "\x1A");
}

void startedOnce(Stage& stage) {
    stage.startAndClose();
}

const Arguments cacheArguments = {
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

void changedEnvironment(Stage& stage) {
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
    stage.machine.writeFile(std::wstring(Stage::installDir) + L"\\shared\\eclipse\\.eclipseextension",
                            "marker");
}

void readOnlyTemplates(Stage& stage) {
    stage.machine.writeFile(std::wstring(Stage::installDir) + L"\\shared\\eclipse\\.eclipseextension",
                            "marker");
    for (const wchar_t* path :
         {L"zel\\eclipse\\plugins\\base_1.0\\config.ini",
          L"zel\\eclipse\\plugins\\base_1.0\\zelinstall.properties", L"shared\\eclipse\\.eclipseextension"}) {
        stage.machine.setAttributes(std::wstring(Stage::installDir) + L"\\" + path,
                                    ::platform::attributeReadOnly);
    }
}

void livedInWithReadOnlyTemplates(Stage& stage) {
    readOnlyTemplates(stage);
    livedIn(stage);
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

// The same install below a directory that is not called framework.
void outsideFramework(Stage& stage) {
    stage.machine.writeFile(outside + L"\\zel\\zellauncher.exe", "");
    scenarios::PropertyFile properties = stage.launcherProperties;
    properties.set("zel.base.location", "C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0");
    stage.machine.writeFile(outside + L"\\zel\\zellauncher.properties", properties.content());
    stage.machine.writeFile(outside + L"\\custom.ini", "");
    stage.machine.writeFile(outside + L"\\zel\\deploy\\jvm.properties", "");
}

std::vector<Scenario> makeCatalogue() {
    const Arguments preparation = {L"-zelLauncherWait", L"-provManifest"};
    const Arguments restart = {L"-restart", L"-zel_old_pid", platformId};
    return {
        {.name = "first_start"},
        {.name = "first_start_with_debug_log", .arguments = {L"-debug"}},
        {.name = "first_start_with_arguments",
         .arguments = {L"hello world", L"vmarg.Xss=-Xss256k", L"-vmargs", L"-Da=1"}},
        {.name = "later_start", .past = cleanEnd},
        {.name = "later_start_with_debug_log", .arguments = {L"-debug"}, .past = cleanEnd},
        {.name = "later_start_after_crash", .past = livedIn},
        {.name = "log_left_on_a_share",
         .world = [](Stage& stage) { stage.machine.setEnvironment(L"TEMP", L"\\\\localhost\\C$\\Temp"); },
         .past = logLeftInTemp},
        {.name = "changed_install", .world = fixedWorkspace, .past = installChanged},
        {.name = "changed_install_with_old_backups", .world = fixedWorkspace, .past = oldBackups},
        {.name = "changed_install_with_debug_log",
         .arguments = {L"-debug"},
         .world = fixedWorkspace,
         .past = installChanged},
        {.name = "reset", .arguments = {L"-resetconfig"}, .past = livedIn},
        {.name = "second_reset", .arguments = {L"-resetconfig"}, .past = resetOnce},
        {.name = "reset_of_plugin_directories",
         .arguments = {L"-resetconfig"},
         .world = resetDirectories,
         .past = viewsStored},
        {.name = "damaged_properties", .past = truncatedProperties},
        {.name = "damaged_properties_and_backup", .past = truncatedPropertiesAndBackup},
        {.name = "damaged_properties_without_backup", .past = truncatedPropertiesWithoutBackup},
        {.name = "first_start_without_boot_class_path",
         .world = [](Stage& stage) { stage.baseProperties.remove("Xbootclasspath.append"); }},
        {.name = "provisioning_for_new_user", .world = provisioned},
        {.name = "provisioning_done", .world = provisioned, .past = manifestRecorded},
        {.name = "provisioning_for_new_manifest", .world = provisioned, .past = newManifest},
        {.name = "provisioning_by_administrator", .arguments = preparation, .world = provisioned},
        {.name = "preparation_for_user", .arguments = preparation},
        {.name = "first_run", .arguments = {L"hello", L"-console"}, .world = firstRun},
        {.name = "first_run_done", .arguments = {L"hello"}, .world = firstRun, .past = firstRunDone},
        {.name = "hand_off", .arguments = {L"hello"}, .past = livedIn, .platformRuns = true},
        {.name = "hand_off_with_debug_log", .arguments = {L"-debug"}, .past = livedIn, .platformRuns = true},
        {.name = "hand_off_with_extension_jars", .past = extensionJars, .platformRuns = true},
        {.name = "manifest_option_while_platform_runs",
         .arguments = {L"-provManifest"},
         .platformRuns = true},
        {.name = "command_only", .arguments = {L"-dcommand_only", L"hello"}, .platformRuns = true},
        {.name = "command_only_without_platform", .arguments = {L"-dcommand_only"}, .past = livedIn},
        {.name = "command_only_for_new_user", .arguments = {L"-dcommand_only"}},
        {.name = "restart", .arguments = {L"-restart", L"-zel_old_pid", L"1"}, .past = livedIn},
        {.name = "restart_of_ending_platform",
         .arguments = restart,
         .world = [](Stage& stage) { livesFor(stage, 5000); },
         .platformRuns = true},
        {.name = "restart_of_hanging_platform",
         .arguments = restart,
         .world = [](Stage& stage) { livesFor(stage, 40000); },
         .platformRuns = true},
        {.name = "restart_with_reset", .arguments = {L"-restart", L"-resetconfig"}, .past = livedIn},
        {.name = "kiosk_with_desktop", .world = kioskWithDesktop, .past = livedIn},
        {.name = "kiosk_without_administrator", .world = kiosk},
        {.name = "kiosk_without_desktop", .world = kioskWithoutDesktop, .past = livedInByAnotherUser},
        {.name = "lockdown_for_administrator", .world = lockdownOfAdministrator},
        {.name = "lockdown_for_user", .world = lockdownOfUser},
        {.name = "lockdown_with_crash", .arguments = {L"crash"}, .world = lockdownWithCrash},
        {.name = "lockdown_with_logoff", .world = lockdownThatEndsTheSession, .past = exitData("LOGOFF")},
        {.name = "lockdown_with_shutdown", .world = lockdownThatEndsTheSession, .past = exitData("SHUTDOWN")},
        {.name = "service",
         .world = service,
         .workspace = L"C:\\Apps\\framework\\Client\\eclipse\\.workspace"},
        {.name = "service_later_start",
         .world = service,
         .past = startedOnce,
         .workspace = L"C:\\Apps\\framework\\Client\\eclipse\\.workspace"},
        {.name = "serial_multiuser", .world = kind("serial.multiuser")},
        {.name = "multiuser", .world = kind("multiuser"), .past = livedIn},
        {.name = "unknown_kind", .world = kind("User")},
        {.name = "userpb_without_identity",
         .world = ownIdentity,
         .workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann"},
        {.name = "userpb_later_start",
         .world = ownIdentity,
         .past = startedOnce,
         .workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann"},
        {.name = "userpb_with_ctrl_z",
         .world = ownIdentity,
         .past = propertiesEndInCtrlZ,
         .workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann"},
        {.name = "version_query", .arguments = {L"-version"}},
        {.name = "wrong_argument_count", .arguments = {L"-maxargcnt", L"9"}},
        {.name = "double_quote_argument", .arguments = {L"a\"b"}, .past = livedIn},
        {.name = "forbidden_argument", .arguments = {L"-Djava.home=x"}},
        {.name = "override_without_option", .arguments = {L"vmarg.Xmx"}},
        {.name = "extension_jars", .past = extensionJars},
        {.name = "workspace_option",
         .arguments = {L"-data", L"D:\\my ws\\"},
         .nextArguments = {L"-data", L"D:\\my ws\\"},
         .workspace = L"D:\\my ws"},
        {.name = "relative_workspace_option",
         .arguments = {L"-data", L"here"},
         .nextArguments = {L"-data", L"here"},
         .workspace = L"C:\\here"},
        {.name = "vm_option", .arguments = {L"-vm", L"${zel.home}/jvm/bin/java.exe"}, .past = livedIn},
        {.name = "config_option", .arguments = {L"-config", L"app", L"x"}, .world = namedConfiguration},
        {.name = "cache_maintenance",
         .arguments = cacheArguments,
         .nextArguments = cacheArguments,
         .past = cacheLeft},
        {.name = "long_shutdown_log", .past = longHistory},
        {.name = "wait_option",
         .arguments = {L"-zelLauncherWait"},
         .world = [](Stage& stage) { livesFor(stage, 3000); },
         .past = livedIn},
        {.name = "changed_environment", .world = changedEnvironment},
        {.name = "jvm_feature", .world = jvmFeature},
        {.name = "extension_marker", .past = extensionMarker},
        {.name = "unmanaged_updates", .world = unmanagedUpdates},
        {.name = "read_only_templates", .past = readOnlyTemplates},
        {.name = "reset_with_read_only_templates",
         .arguments = {L"-resetconfig"},
         .past = livedInWithReadOnlyTemplates},
        {.name = "silent_platform", .world = [](Stage& stage) { stage.platform.publishes = false; }},
        {.name = "dying_platform", .world = dyingPlatform},
        {.name = "dying_provisioning",
         .world =
             [](Stage& stage) {
                 provisioned(stage);
                 dyingPlatform(stage);
             }},
        {.name = "install_outside_framework",
         .past = outsideFramework,
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
