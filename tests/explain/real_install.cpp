#include "explain/real_install.h"

#include <unistd.h>

#include <fstream>

#include "explain/start.h"
#include "simulation/program_files.h"

namespace explaintest {

namespace fs = std::filesystem;

RealInstall::RealInstall() {
    static int count = 0;
    directory = fs::temp_directory_path() /
                ("zelexplain-install-" + std::to_string(getpid()) + "-" + std::to_string(++count));
    install = directory / "install";
    write(launcherProperties,
          "zel.install.id=1234\r\n"
          "zel.base.location=${zel.home}/zel/eclipse/plugins/base_1.0\r\n"
          "install.configuration=user\r\n"
          "jvm.location=${zel.home}/jvm/bin/javaw.exe\r\n"
          "product=com.example.product\r\n");
    write(userTemplate,
          "application=com.example.app\r\n"
          "plugincustomization=${zel.home}/custom.ini\r\n"
          "Xbootclasspath.append=${zel.home}/boot.jar\r\n");
    write(jvmProperties, "-Xmx512m\r\n");
    write("zel/eclipse/plugins/base_1.0/config.ini", "osgi.bundles=example\r\n");
    write("zel/eclipse/plugins/base_1.0/platform.xml", "<config>\r\n</config>\r\n");
    write("custom.ini", "");
    for (const char* program : {"zel/zellauncher.exe", "jvm/bin/javaw.exe", "jvm/bin/java.exe",
                                "zel/eclipse/plugins/base_1.0/win32/x86_64/eclipse.exe"}) {
        placeProgram(program);
    }
}

RealInstall::~RealInstall() {
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

void RealInstall::write(const std::string& path, const std::string& content) const {
    fs::create_directories(at(path).parent_path());
    std::ofstream(at(path), std::ios::binary) << content;
}

void RealInstall::append(const std::string& path, const std::string& line) const {
    fs::create_directories(at(path).parent_path());
    std::ofstream(at(path), std::ios::binary | std::ios::app) << line << "\r\n";
}

void RealInstall::placeProgram(const std::string& path) const {
    write(path, simulation::smallestProgramFile());
}

explain::StartOptions RealInstall::optionsFor(const std::vector<std::wstring>& arguments) const {
    explain::StartOptions options;
    options.install = {install.string(), L"C:\\Program Files\\framework\\Client"};
    options.arguments = arguments;
    return options;
}

explain::Explanation RealInstall::explain(const std::vector<std::wstring>& arguments,
                                          explain::StartOptions options) const {
    options.install = optionsFor().install;
    options.arguments = arguments;
    return explain::explainStarts(options).back();
}

}  // namespace explaintest
