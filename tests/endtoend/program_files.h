#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Which program a process runs. Process ids are reused, so a test knows the processes of its own by their
// program files.
namespace endtoend {

// The path of an existing file or directory without links, short names and substituted drives. If it cannot
// be opened, the path itself.
std::filesystem::path finalPath(const std::filesystem::path& path);

// True if the path is the place or below it, however both are spelled.
bool isWithin(const std::filesystem::path& path, const std::filesystem::path& place);

// Opens the process with these rights. Null if its program is neither one of the places nor below one.
void* openProcessOf(std::uint32_t processId, std::uint32_t rights,
                    const std::vector<std::filesystem::path>& places);

// The final path of the program of a process that was opened with PROCESS_QUERY_LIMITED_INFORMATION. Empty if
// the system does not report it.
std::filesystem::path programOf(void* process);

// A process of the machine that is called eclipse.exe and does not run a program below the directory. A
// launcher that supervises its platform watches each process of this name, whoever started it, until it ends.
struct ForeignPlatform {
    std::uint32_t processId = 0;
    std::filesystem::path program;  // empty if the system does not report it
};
std::optional<ForeignPlatform> findForeignPlatform(const std::filesystem::path& directory);

}  // namespace endtoend
