#include "reliability/user_files.h"

#include <algorithm>

namespace reliability {

namespace {

constexpr const wchar_t* configuration = L"\\.config\\";

// Where a file is at any step of a renewal of the configuration.
std::vector<std::wstring> placesOf(const std::wstring& workspace, const std::wstring& path) {
    std::vector<std::wstring> places = {path};
    const std::wstring root = workspace + configuration;
    if (path.starts_with(root)) {
        places.push_back(workspace + L"\\.configbak\\" + path.substr(root.size()));
        places.push_back(workspace + path.substr(path.rfind(L'\\')) + L".old");
    }
    return places;
}

}  // namespace

std::vector<std::wstring> lostFiles(const Stage& stage, const std::vector<Stage::UserFile>& userFiles) {
    std::vector<std::wstring> lost;
    for (const Stage::UserFile& file : userFiles) {
        const std::vector<std::wstring> places = placesOf(stage.workspaceOfScenario(), file.path);
        const bool isThere = std::any_of(places.begin(), places.end(), [&](const std::wstring& place) {
            return stage.machine.readFile(place) == file.content;
        });
        if (!isThere) {
            lost.push_back(file.path);
        }
    }
    return lost;
}

}  // namespace reliability
