#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace explaintest {

// The install of examples/install with the programs and jars that only a build has, in a directory of its
// own that is removed at the end.
class ExampleInstall {
public:
    ExampleInstall();
    ~ExampleInstall();
    ExampleInstall(const ExampleInstall&) = delete;
    ExampleInstall& operator=(const ExampleInstall&) = delete;

    const std::filesystem::path& directory() const { return root; }
    std::string path() const { return root.string(); }
    std::filesystem::path file(const std::string& name) const { return root / name; }

    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& bytes) const;

    // A change as the files of tests/explain/installs have it: a file and what happens to it.
    void change(const nlohmann::json& change) const;

private:
    std::filesystem::path root;
};

// The beginning of a program or library for a processor; 0x8664 is x64.
std::string executableFile(bool isLibrary, unsigned processor = 0x8664);

}  // namespace explaintest
