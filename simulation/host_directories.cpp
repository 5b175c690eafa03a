#include <algorithm>
#include <limits>

#include "simulation/machine_state.h"

// Directories outside of the machine. A node whose `host` is set has not been read yet: a directory has no
// entries, and a file no content.
namespace simulation {

void Machine::mount(const std::wstring& path, std::shared_ptr<const HostDirectory> directory) {
    Node& node = *makeNode(*state, path, platform::attributeDirectory);
    node.entries.clear();
    node.host = std::move(directory);
}

void loadEntries(Node& directory) {
    if (!directory.isDirectory() || !directory.host) {
        return;
    }
    const std::shared_ptr<const HostDirectory> host = std::move(directory.host);
    directory.host = nullptr;
    const std::optional<std::vector<HostEntry>> entries = host->entries();
    if (!entries) {
        directory.refusal = platform::errorAccessDenied;
        return;
    }
    for (const HostEntry& entry : *entries) {
        // Of several names that differ by their case, this machine can show only one.
        NodePointer& node = directory.entries[upperCase(entry.name)];
        if (node) {
            continue;
        }
        node = std::make_shared<Node>();
        node->name = entry.name;
        node->attributes = entry.attributes;
        node->isOriginal = true;
        node->host = node->isDirectory() ? host->directory(entry.name) : host;
    }
}

void loadContent(Node& file) {
    if (file.isDirectory() || !file.host) {
        return;
    }
    const std::shared_ptr<const HostDirectory> host = std::move(file.host);
    file.host = nullptr;
    std::optional<std::string> content = host->read(file.name, std::numeric_limits<std::size_t>::max());
    if (content) {
        file.content = std::move(*content);
    } else {
        file.refusal = platform::errorAccessDenied;
    }
}

std::string beginningOf(const Node& file, std::size_t bytes) {
    return file.host ? file.host->read(file.name, bytes).value_or("") : file.content.substr(0, bytes);
}

}  // namespace simulation
