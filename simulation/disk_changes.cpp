#include <algorithm>
#include <map>

#include "simulation/machine_state.h"

// What has happened to the drives since watchDisks. Every node that existed then is original. Moves and
// removals of original nodes are noted when they happen, former contents when they are overwritten, and
// everything else follows from a walk through the drives. Only what has been loaded from the host is walked,
// because nothing else can have changed.
namespace simulation {

namespace {

using Kind = DiskChange::Kind;

void markAsOriginal(Node& node) {
    node.isOriginal = true;
    for (const auto& [name, entry] : node.entries) {
        markAsOriginal(*entry);
    }
}

std::wstring below(const std::wstring& directory, const std::wstring& name) {
    return directory + L"\\" + name;
}

// Where a node was at watchDisks, from the path at which it is now.
std::wstring originalPath(MachineState& machine, const std::wstring& path) {
    const ParsedPath parsed = parsePath(path, self().currentDirectory, path.size() + 1);
    std::wstring original = upperCase(parsed.components.front());
    NodePointer node = machine.drives.at(original);
    for (std::size_t i = 1; i < parsed.components.size(); ++i) {
        node = node->entries.at(upperCase(parsed.components[i]));
        const auto moved = machine.watch.movedFrom.find(node.get());
        original = moved != machine.watch.movedFrom.end() ? moved->second : below(original, node->name);
    }
    return original;
}

class ChangeFinder {
public:
    explicit ChangeFinder(const MachineState& machine) : state(machine) {
        for (const DiskWatch::Removed& removed : state.watch.removed) {
            gone[upperCase(removed.path)] = {removed.node, false};
        }
        for (const auto& [name, root] : state.drives) {
            collectMoved(root);
        }
    }

    std::vector<DiskChange> find() {
        for (const auto& [drive, root] : state.drives) {
            walk(*root, drive, drive);
        }
        for (const DiskWatch::Removed& removed : state.watch.removed) {
            addRemoved(removed.path, *removed.node);
        }
        std::stable_sort(changes.begin(), changes.end(), [](const DiskChange& left, const DiskChange& right) {
            return left.path < right.path;
        });
        return std::move(changes);
    }

private:
    const MachineState& state;
    struct Gone {
        NodePointer node;
        bool isMoved = false;
    };
    std::map<std::wstring, Gone> gone;  // by upper-case original path: removed, or moved away
    std::vector<DiskChange> changes;

    void collectMoved(const NodePointer& node) {
        const auto moved = state.watch.movedFrom.find(node.get());
        if (moved != state.watch.movedFrom.end()) {
            gone[upperCase(moved->second)] = {node, true};
        }
        for (const auto& [name, entry] : node->entries) {
            collectMoved(entry);
        }
    }

    std::string formerContent(Node& file) const {
        const auto former = state.watch.formerContents.find(&file);
        if (former != state.watch.formerContents.end()) {
            return former->second;
        }
        loadContent(file);
        return file.content;
    }

    // The original node at this path if it is not there any more; without a node if there was none.
    Gone originalAt(const std::wstring& path) const {
        const auto found = gone.find(upperCase(path));
        if (found != gone.end()) {
            return found->second;
        }
        const std::size_t separator = path.rfind(L'\\');
        if (separator == std::wstring::npos) {
            return {};
        }
        const Gone parent = originalAt(path.substr(0, separator));
        if (!parent.node) {
            return {};
        }
        loadEntries(*parent.node);
        const auto entry = parent.node->entries.find(upperCase(path.substr(separator + 1)));
        const bool isHere = entry != parent.node->entries.end() && entry->second->isOriginal &&
                            state.watch.movedFrom.count(entry->second.get()) == 0;
        return isHere ? Gone{entry->second, parent.isMoved} : Gone{};
    }

    bool isOccupied(const std::wstring& path) const {
        const auto drive = state.drives.find(upperCase(path.substr(0, 2)));
        NodePointer node = drive != state.drives.end() ? drive->second : nullptr;
        for (std::size_t begin = 3; node && begin <= path.size();) {
            const std::size_t end = std::min(path.find(L'\\', begin), path.size());
            loadEntries(*node);
            const auto entry = node->entries.find(upperCase(path.substr(begin, end - begin)));
            node = entry != node->entries.end() ? entry->second : nullptr;
            begin = end + 1;
        }
        return node != nullptr;
    }

    // `original` is where the directory was, empty for one that was made.
    void walk(const Node& directory, const std::wstring& path, const std::wstring& original) {
        for (const auto& [name, node] : directory.entries) {
            const std::wstring current = below(path, node->name);
            const std::wstring unmoved = original.empty() ? std::wstring() : below(original, node->name);
            if (!node->isOriginal) {
                addMade(*node, current);
                continue;
            }
            const auto moved = state.watch.movedFrom.find(node.get());
            const bool isMoved = moved != state.watch.movedFrom.end() && moved->second != unmoved;
            if (isMoved) {
                addMoved(*node, current, moved->second);
            } else if (node->isDirectory()) {
                walk(*node, current, unmoved);
            } else {
                addIfWritten(*node, current);
            }
        }
    }

    // What was at the same path before may have been moved. A file is then made even if it has the same
    // content, because the entry of the moved one says that nothing is left at its old path.
    void addMade(Node& node, const std::wstring& path) {
        const Gone former = originalAt(path);
        const bool replaces = former.node && former.node->isDirectory() == node.isDirectory();
        if (node.isDirectory()) {
            if (!replaces) {
                changes.push_back({Kind::made, path, {}, true, {}, {}});
            }
            walk(node, path, {});
        } else if (replaces && !former.isMoved) {
            addIfChanged(node, path, formerContent(*former.node));
        } else {
            changes.push_back({Kind::made, path, {}, false, node.content, {}});
        }
    }

    void addMoved(Node& node, const std::wstring& path, const std::wstring& from) {
        const NodePointer former = node.isDirectory() ? nullptr : originalAt(path).node;
        if (former && !former->isDirectory()) {
            loadContent(node);
            addIfChanged(node, path, formerContent(*former));
            addRemoved(from, node);
            return;
        }
        loadContent(node);
        changes.push_back({Kind::moved, path, from, node.isDirectory(), node.content, {}});
        if (node.isDirectory()) {
            walkMoved(node, path);
        }
    }

    // Below a moved directory only the files that differ from what was moved.
    void walkMoved(const Node& directory, const std::wstring& path) {
        for (const auto& [name, node] : directory.entries) {
            const std::wstring current = below(path, node->name);
            if (node->isDirectory()) {
                walkMoved(*node, current);
            } else if (!node->isOriginal) {
                changes.push_back({Kind::made, current, {}, false, node->content, {}});
            } else {
                addIfWritten(*node, current);
            }
        }
    }

    void addIfWritten(Node& file, const std::wstring& path) {
        const auto former = state.watch.formerContents.find(&file);
        if (former != state.watch.formerContents.end()) {
            addIfChanged(file, path, former->second);
        }
    }

    void addIfChanged(const Node& file, const std::wstring& path, const std::string& former) {
        if (file.content != former) {
            changes.push_back({Kind::changed, path, {}, false, file.content, former});
        }
    }

    void addRemoved(const std::wstring& path, Node& node) {
        if (isOccupied(path)) {
            return;
        }
        const std::string content = node.host ? std::string() : formerContent(node);
        changes.push_back({Kind::removed, path, {}, node.isDirectory(), {}, content});
    }
};

}  // namespace

void Machine::watchDisks() {
    state->watch = {};
    for (const auto& [drive, root] : state->drives) {
        markAsOriginal(*root);
    }
}

std::vector<DiskChange> Machine::diskChanges() const {
    return ChangeFinder(*state).find();
}

void noteMove(MachineState& machine, const std::wstring& path, const NodePointer& node) {
    if (node->isOriginal && machine.watch.movedFrom.count(node.get()) == 0) {
        machine.watch.movedFrom[node.get()] = originalPath(machine, path);
    }
}

void noteRemoval(MachineState& machine, const std::wstring& path, const NodePointer& node) {
    if (node->isOriginal) {
        machine.watch.removed.push_back({originalPath(machine, path), node});
    }
}

}  // namespace simulation
