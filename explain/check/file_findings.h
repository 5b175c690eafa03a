#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// A path, and what names it.
struct NamedPath {
    std::wstring path;
    ValueSource source;
};

// Asks for the files on a machine that shows an install, and adds findings about them.
class FileFindings {
public:
    FileFindings(const StartOptions& startOptions, const World& theWorld, Findings& all)
        : options(startOptions), world(theWorld), findings(all) {}

    // resolvedDrivePath on the machine.
    std::optional<std::wstring> fullPath(const std::wstring& path) const;
    bool exists(const std::wstring& path) const;
    bool isFile(const std::wstring& path) const;
    bool isDirectory(const std::wstring& path) const;
    bool isReadOnly(const std::wstring& path) const;
    // Within the install or a directory that --map shows, or ${zel.home} with a mistake after it. A path
    // elsewhere may exist on a real machine.
    bool isShown(const std::wstring& path) const;
    // Names directly in a directory.
    std::vector<std::wstring> namesIn(const std::wstring& directory) const;

    void add(const char* rule, Severity severity, const std::wstring& path, std::size_t line,
             std::string text, std::string consequence, std::string remedy,
             std::vector<std::string> messages = {});
    // A finding at the line of a value. None if no line has it.
    void addAt(const ValueSource& source, const char* rule, Severity severity, const std::string& text,
               const std::string& consequence, const std::string& remedy,
               const std::vector<std::string>& messages = {});
    // The same where a path is named.
    void addDangling(const ValueSource& source, Severity severity, const std::string& text,
                     const std::string& consequence, const std::string& remedy,
                     const std::vector<std::string>& messages = {});
    // A missing file is reported where it should be, and where it is named.
    void addMissing(const NamedPath& named, const std::string& what, const std::string& consequence,
                    const std::vector<std::string>& messages = {});

    void checkLength(const std::wstring& path, const std::string& what);

private:
    const StartOptions& options;
    const World& world;
    Findings& findings;
};

}  // namespace explain
