#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <variant>

#include "explain/check/check.h"
#include "explain/check/findings_writer.h"
#include "explain/check/rules.h"
#include "explain/command_line.h"
#include "fuzz/input_sections.h"
#include "fuzz/target.h"

// The input is files of an install, each of which replaces an ordinary one. The check must end, and every
// finding must say what it is about.
namespace fuzz {

namespace {

namespace fs = std::filesystem;

struct KnownFile {
    const char* section;
    const char* path;
    const char* content;
};

constexpr KnownFile knownFiles[] = {
    {"zellauncher.properties", "zel/zellauncher.properties",
     "zel.install.id=1\ninstall.configuration=user\nzel.base.location=${zel.home}/base\n"
     "jvm.location=${zel.home}/jvm/javaw.exe\n"},
    {"zelinstall.properties", "base/zelinstall.properties",
     "plugincustomization=${zel.home}/custom.ini\nXbootclasspath.append=\n"},
    {"jvm.properties", "zel/deploy/jvm.properties", "-Xmx1g\n"},
    {"config.ini", "base/config.ini", "osgi.bundles=a\n"},
    {"eclipse.ini", "base/win32/x86_64/eclipse.ini", "--launcher.library\na.dll\n"},
    {"javaw.exe", "jvm/javaw.exe", "MZ"},
    {"eclipse.exe", "base/win32/x86_64/eclipse.exe", "MZ"},
};

void write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

void runInput(const std::string& bytes) {
    const fs::path root = fs::temp_directory_path() / ("zelexplain-fuzz-" + std::to_string(::getpid()));
    const Sections sections = readSections(bytes);
    for (const KnownFile& file : knownFiles) {
        const auto given = sections.find(file.section);
        write(root / file.path, given != sections.end() ? given->second : file.content);
    }
    const auto options = explain::readCommandLine({"start", root.string()});
    const explain::CheckResult result =
        explain::checkInstall(std::get<explain::StartOptions>(options), root.string());
    fs::remove_all(root);
    explain::writeFindings(result);
    explain::writeFindingsJson(result.findings);
    for (const explain::Finding& finding : result.findings) {
        expect(explain::isRule(finding.rule), "unknown rule " + finding.rule);
        expect(!finding.text.empty() && !finding.remedy.empty(), "an empty finding of " + finding.rule);
    }
}

}  // namespace fuzz
