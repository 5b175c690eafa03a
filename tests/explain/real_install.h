#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "explain/explanation.h"
#include "explain/options.h"

namespace explaintest {

// A small install in a real directory of its own, which starts. The line numbers of its files count.
class RealInstall {
public:
    RealInstall();
    ~RealInstall();
    RealInstall(const RealInstall&) = delete;
    RealInstall& operator=(const RealInstall&) = delete;

    static constexpr const char* launcherProperties = "zel/zellauncher.properties";  // 5 lines
    static constexpr const char* userTemplate = "zel/eclipse/plugins/base_1.0/zelinstall.properties";  // 3
    static constexpr const char* jvmProperties = "zel/deploy/jvm.properties";  // 1 line

    void write(const std::string& path, const std::string& content) const;  // below the install
    void append(const std::string& path, const std::string& line) const;    // with CR LF
    void placeProgram(const std::string& path) const;
    std::filesystem::path at(const std::string& path) const { return install / path; }
    const std::filesystem::path& root() const { return directory; }  // holds the install alone at first

    // Of a start at the default place with these arguments; the last one of several.
    explain::Explanation explain(const std::vector<std::wstring>& arguments = {},
                                 explain::StartOptions options = {}) const;
    explain::StartOptions optionsFor(const std::vector<std::wstring>& arguments = {}) const;

private:
    std::filesystem::path directory;
    std::filesystem::path install;
};

}  // namespace explaintest
