#include <algorithm>

#include "simulation/machine_state.h"

// What is on the device, as opposed to the file system's memory, and what a power loss leaves.
//
// A directory or file whose state is not on the device keeps the one that is: Node::entriesOnDevice and
// Node::onDevice. flushFile brings a file and its names to the device, and a move with moveWriteThrough both
// of its names; the system does the rest later, but at no certain time. A node is never at two places of the
// device, because file systems do a move as a whole.
namespace simulation {

namespace {

using EntriesOnDevice = std::map<std::wstring, DirectoryEntry>;

void keepNamesOnDevice(Node& directory) {
    if (directory.entriesOnDevice) {
        return;
    }
    EntriesOnDevice& kept = directory.entriesOnDevice.emplace();
    for (const auto& [upperName, node] : directory.entries) {
        kept[upperName] = {node, node->name};
    }
}

bool isOnDevice(const Node& directory) {
    const EntriesOnDevice& kept = *directory.entriesOnDevice;
    return kept.size() == directory.entries.size() &&
           std::equal(kept.begin(), kept.end(), directory.entries.begin(),
                      [](const auto& onDevice, const auto& now) {
                          return onDevice.first == now.first && onDevice.second.node == now.second &&
                                 onDevice.second.name == now.second->name;
                      });
}

// Removes a node from its former places on the device.
void forgetPlaces(Node& directory, const Node& node) {
    if (directory.entriesOnDevice) {
        std::erase_if(*directory.entriesOnDevice,
                      [&](const auto& entry) { return entry.second.node.get() == &node; });
    }
    for (const auto& [name, entry] : directory.entries) {
        forgetPlaces(*entry, node);
    }
}

// Which directory has a node now; null if none has.
Node* directoryOf(Node& directory, const Node& node) {
    for (const auto& [name, entry] : directory.entries) {
        if (entry.get() == &node) {
            return &directory;
        }
        if (Node* found = directoryOf(*entry, node)) {
            return found;
        }
    }
    return nullptr;
}

// Brings to the device what has this name now. What had it on the device until now keeps a place there:
// its new one.
void forceName(Node& drive, Node& directory, const std::wstring& upperName) {
    if (!directory.entriesOnDevice) {
        return;
    }
    EntriesOnDevice& kept = *directory.entriesOnDevice;
    const NodePointer former = kept.count(upperName) != 0 ? kept.at(upperName).node : nullptr;
    const auto now = directory.entries.find(upperName);
    kept.erase(upperName);
    if (now != directory.entries.end()) {
        forgetPlaces(drive, *now->second);
        kept[upperName] = {now->second, now->second->name};
    }
    if (isOnDevice(directory)) {
        directory.entriesOnDevice.reset();
    }
    const bool isReplaced = former && (now == directory.entries.end() || now->second != former);
    if (Node* place = isReplaced ? directoryOf(drive, *former) : nullptr) {
        forceName(drive, *place, upperCase(former->name));
    }
}

void loseContent(Node& file, PowerLoss::Contents contents) {
    if (!file.onDevice) {
        return;
    }
    if (contents == PowerLoss::Contents::old) {
        file.content = *file.onDevice;
    } else {
        const std::size_t intact = std::min(file.intactOnDevice, file.content.size());
        file.content = file.onDevice->substr(0, intact) + std::string(file.content.size() - intact, '\0');
    }
    file.onDevice.reset();
}

void loseState(Node& node, const PowerLoss& loss) {
    if (node.entriesOnDevice && loss.names == PowerLoss::Names::old) {
        node.entries.clear();
        for (const auto& [upperName, entry] : *node.entriesOnDevice) {
            node.entries[upperName] = entry.node;
            entry.node->name = entry.name;
        }
    }
    node.entriesOnDevice.reset();
    loseContent(node, loss.contents);
    for (const auto& [name, entry] : node.entries) {
        loseState(*entry, loss);
    }
}

void flushTree(Node& node) {
    node.entriesOnDevice.reset();
    node.onDevice.reset();
    for (const auto& [name, entry] : node.entries) {
        flushTree(*entry);
    }
}

}  // namespace

void setEntry(Node& directory, const std::wstring& name, const NodePointer& node) {
    keepNamesOnDevice(directory);
    node->name = name;
    directory.entries[upperCase(name)] = node;
}

void eraseEntry(Node& directory, const std::wstring& upperName) {
    keepNamesOnDevice(directory);
    directory.entries.erase(upperName);
}

void keepOnDevice(Node& file) {
    if (!file.onDevice) {
        file.onDevice = file.content;
        file.intactOnDevice = file.content.size();
    }
    if (file.isOriginal) {
        machineOfSelf().watch.formerContents.emplace(&file, file.content);
    }
}

void emptyFile(Node& file) {
    keepOnDevice(file);
    file.content.clear();
    file.intactOnDevice = 0;
}

void forceNames(MachineState& machine, const std::wstring& path) {
    const ParsedPath parsed = parsePath(path, self().currentDirectory, plainPathLimit);
    Node* drive = machine.drives.at(upperCase(parsed.components.front())).get();
    Node* directory = drive;
    for (std::size_t i = 1; i < parsed.components.size(); ++i) {
        const std::wstring upperName = upperCase(parsed.components[i]);
        forceName(*drive, *directory, upperName);
        if (i + 1 < parsed.components.size()) {
            directory = directory->entries.at(upperName).get();
        }
    }
}

void Machine::flushDisks() {
    for (const auto& [drive, root] : state->drives) {
        flushTree(*root);
    }
}

void Machine::ignoreWriteThrough() {
    state->ignoresWriteThrough = true;
}

void Machine::losePower(const PowerLoss& loss) {
    for (const auto& [id, process] : state->processes) {
        state->stopProcess(*process);
    }
    for (const auto& [drive, root] : state->drives) {
        loseState(*root, loss);
    }
}

}  // namespace simulation
