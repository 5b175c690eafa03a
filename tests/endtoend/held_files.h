#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

// Operations on files that another program holds open for a moment, such as a virus scanner that reads new
// files. Each is repeated for some seconds; then it fails the test.
namespace endtoend {

// Deletes a file or a directory with everything below it. Does nothing if it is missing.
void removeAll(const std::filesystem::path& path);

// Replaces the content of a file, whose directory must exist.
void replaceContent(const std::filesystem::path& path, const std::string& content);

// Replaces the target, whose directory must exist.
void copyOver(const std::filesystem::path& source, const std::filesystem::path& target);

// Where in the file another process would read or write next. Nothing if it does not have the file open. The
// handle of the process needs the right to duplicate its handles.
std::optional<std::uint64_t> positionIn(void* process, const std::filesystem::path& path);

}  // namespace endtoend
