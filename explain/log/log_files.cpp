#include "explain/log/log_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "explain/machine_setup.h"

namespace explain {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestLog = std::uintmax_t{64} << 20U;

fs::path pathOf(const std::string& text) {
    return {std::u8string(text.begin(), text.end())};
}

std::string textOf(const fs::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

class Collector {
public:
    explicit Collector(LogFiles& collected) : files(collected) {}

    void add(const std::string& text) {
        const fs::path path = pathOf(text);
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_directory(status)) {
            files.hasDirectory = true;
            addDirectory(path);
        } else if (fs::exists(status)) {
            addFile(path, text);
        } else {
            throw CannotExplain("cannot find " + text);
        }
    }

private:
    LogFiles& files;

    void addDirectory(const fs::path& directory) {
        std::vector<fs::path> found;
        std::error_code error;
        fs::recursive_directory_iterator entry(directory, fs::directory_options::skip_permission_denied,
                                               error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            std::error_code ignored;
            if (!entry->is_directory(ignored)) {
                found.push_back(entry->path());
            }
        }
        if (error) {
            files.skipped.push_back({textOf(directory), "cannot be listed: " + error.message()});
        }
        std::sort(found.begin(), found.end());
        for (const fs::path& path : found) {
            addFile(path, textOf(path));
        }
    }

    void addFile(const fs::path& path, const std::string& name) {
        std::error_code error;
        if (!fs::is_regular_file(path, error)) {
            files.skipped.push_back({name, "no file"});
            return;
        }
        const std::uintmax_t size = fs::file_size(path, error);
        if (error || size > largestLog) {
            files.skipped.push_back({name, error ? "cannot be read" : "larger than 64 MB"});
            return;
        }
        std::ifstream stream(path, std::ios::binary);
        std::string bytes(static_cast<std::size_t>(size), '\0');
        stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (stream.bad() || !stream.is_open()) {
            files.skipped.push_back({name, "cannot be read"});
            return;
        }
        bytes.resize(static_cast<std::size_t>(stream.gcount()));
        addLog(name, bytes);
    }

    void addLog(const std::string& name, const std::string& bytes) {
        LogResult result = readLog(bytes);
        if (result.fault == LogFault::none) {
            files.logs.push_back({name, std::move(result.reading)});
        } else {
            files.skipped.push_back({name, describe(result.fault)});
        }
    }
};

}  // namespace

LogFiles readLogFiles(const std::vector<std::string>& paths) {
    LogFiles files;
    Collector collector(files);
    for (const std::string& path : paths) {
        collector.add(path);
    }
    return files;
}

}  // namespace explain
