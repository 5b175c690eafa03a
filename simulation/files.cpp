#include "platform/files.h"

#include <algorithm>

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::Lookup;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::Node;
using simulation::NodePointer;
using simulation::self;
using simulation::upperCase;

namespace {

constexpr std::size_t directoryLimit = 248;
constexpr ErrorCode errorNotSameDevice = 17;

Lookup find(const std::wstring& path, std::size_t limit = simulation::plainPathLimit) {
    return simulation::lookUpForSelf(path, limit);
}

bool isOpenWithoutDelete(const Node& node) {
    return std::any_of(node.opens.begin(), node.opens.end(),
                       [](const auto* open) { return !open->sharesDelete; });
}

bool isAnythingOpenBelow(const Node& node) {
    return std::any_of(node.entries.begin(), node.entries.end(), [](const auto& entry) {
        return !entry.second->opens.empty() || isAnythingOpenBelow(*entry.second);
    });
}

bool holds(const Node& directory, const Node& other) {
    return &directory == &other ||
           std::any_of(directory.entries.begin(), directory.entries.end(),
                       [&](const auto& entry) { return holds(*entry.second, other); });
}

// Why this file may not be changed.
ErrorCode whyNotWritable(const Lookup& found) {
    if (!found.node) {
        return found.error;
    }
    const bool isProtected = found.node->isDirectory() || (found.node->attributes & attributeReadOnly) != 0;
    return isProtected ? errorAccessDenied : errorSuccess;
}

// Why this entry may not be removed or renamed.
ErrorCode whyNotRemovable(const Node& node) {
    if (node.refusal != errorSuccess) {
        return node.refusal;
    }
    return isOpenWithoutDelete(node) ? errorSharingViolation : errorSuccess;
}

// Why a move cannot give this name to a node.
ErrorCode whyNotTarget(const Lookup& from, const Lookup& to, std::uint32_t flags) {
    const bool isBeingDeleted = to.parent && to.error == errorAccessDenied;
    if (isBeingDeleted || (to.node && to.node != from.node)) {
        if ((flags & moveReplaceExisting) == 0) {
            return errorAlreadyExists;
        }
        const bool isReplaceable = whyNotWritable(to) == errorSuccess && !from.node->isDirectory() &&
                                   to.node->refusal == errorSuccess && to.node->opens.empty();
        return isReplaceable ? errorSuccess : errorAccessDenied;
    }
    if (!to.node && (!to.parent || to.error != errorFileNotFound)) {
        return to.error == errorFileNotFound ? errorPathNotFound : to.error;
    }
    const bool isFileWithSeparator = !to.node && to.isDirectoryName && !from.node->isDirectory();
    return isFileWithSeparator ? errorInvalidName : errorSuccess;
}

std::wstring driveOf(const std::wstring& path) {
    return upperCase(path.substr(path.starts_with(L"\\\\?\\") ? 4 : 0, 2));
}

// `*` and `?` as the system compares them.
bool matches(std::wstring_view pattern, std::wstring_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == L'*') {
        return matches(pattern.substr(1), name) || (!name.empty() && matches(pattern, name.substr(1)));
    }
    return !name.empty() && (pattern.front() == L'?' || pattern.front() == name.front()) &&
           matches(pattern.substr(1), name.substr(1));
}

}  // namespace

std::optional<std::uint32_t> fileAttributes(const std::wstring& path) {
    if (const ErrorCode fault = beginOperation("fileAttributes", path)) {
        failWith(fault);
        return std::nullopt;
    }
    const Lookup found = find(path);
    if (!found.node) {
        failWith(found.error);
        return std::nullopt;
    }
    return found.node->attributes;
}

bool setFileAttributes(const std::wstring& path, std::uint32_t attributes) {
    if (const ErrorCode fault = beginOperation("setFileAttributes", path)) {
        return failWith(fault);
    }
    const Lookup found = find(path);
    if (!found.node) {
        return failWith(found.error);
    }
    if (found.node->refusal != errorSuccess) {
        return failWith(found.node->refusal);
    }
    const std::uint32_t kind = found.node->attributes & attributeDirectory;
    found.node->attributes = kind | (attributes & ~(attributeNormal | attributeDirectory));
    return true;
}

bool createDirectory(const std::wstring& path) {
    if (const ErrorCode fault = beginOperation("createDirectory", path, true)) {
        return failWith(fault);
    }
    const Lookup found = find(path, directoryLimit);
    if (found.node) {
        return failWith(found.parent ? errorAlreadyExists : errorAccessDenied);
    }
    if (!found.parent) {
        return failWith(found.error == errorFileNotFound ? errorPathNotFound : found.error);
    }
    if (found.error != errorFileNotFound) {
        return failWith(found.error == errorInvalidName ? errorAlreadyExists : found.error);
    }
    if (found.parent->refusal != errorSuccess) {
        return failWith(found.parent->refusal);
    }
    const auto directory = std::make_shared<Node>();
    directory->attributes = attributeDirectory;
    simulation::setEntry(*found.parent, found.leaf, directory);
    return true;
}

bool copyFile(const std::wstring& source, const std::wstring& target, ExistingTarget existingTarget) {
    if (const ErrorCode fault = beginOperation("copyFile", source, target, true)) {
        return failWith(fault);
    }
    const bool isFailure = existingTarget == ExistingTarget::isFailure;
    MachineState& machine = machineOfSelf();
    const Lookup from = find(source);
    if (!from.node) {
        return failWith(from.error);
    }
    if (from.node->isDirectory()) {
        return failWith(errorAccessDenied);
    }
    ErrorCode error = errorSuccess;
    const auto reading = simulation::openNode(from.node, true, false, true, true, true, error);
    if (!reading) {
        return failWith(error);
    }
    simulation::closeOpenFile(machineOfSelf(), *reading);
    const Lookup to = find(target);
    if (to.node == from.node) {
        return failWith(errorSharingViolation);
    }
    if (to.node) {
        if (to.node->isDirectory()) {
            return failWith(isFailure ? errorFileExists : errorAccessDenied);
        }
        if (isFailure) {
            return failWith(errorFileExists);
        }
        if ((to.node->attributes & (attributeReadOnly | attributeHidden)) != 0 ||
            to.node->refusal != errorSuccess) {
            return failWith(errorAccessDenied);
        }
    } else if (!to.parent || to.error != errorFileNotFound) {
        return failWith(to.error);
    } else if (to.isDirectoryName) {
        return failWith(errorInvalidName);
    } else if (to.parent->refusal != errorSuccess) {
        return failWith(to.parent->refusal);
    }
    if (machine.freeSpace && *machine.freeSpace < from.node->content.size()) {
        return failWith(errorDiskFull);
    }
    if (machine.freeSpace) {
        *machine.freeSpace -= from.node->content.size();
    }
    const NodePointer copy = to.node ? to.node : std::make_shared<Node>();
    if (!to.node) {
        simulation::setEntry(*to.parent, to.leaf, copy);
    }
    const std::size_t size = from.node->content.size();
    simulation::emptyFile(*copy);
    copy->content = from.node->content.substr(0, self().isCutShort ? size / 2 : size);
    copy->attributes = from.node->attributes;
    return true;
}

bool flushFile(const std::wstring& path) {
    if (const ErrorCode fault = beginOperation("flushFile", path)) {
        return failWith(fault);
    }
    const Lookup found = find(path);
    if (const ErrorCode reason = whyNotWritable(found)) {
        return failWith(reason);
    }
    ErrorCode error = errorSuccess;
    const auto writing = simulation::openNode(found.node, false, true, true, true, true, error);
    if (!writing) {
        return failWith(error);
    }
    simulation::closeOpenFile(machineOfSelf(), *writing);
    found.node->onDevice.reset();
    simulation::forceNames(machineOfSelf(), path);
    return true;
}

bool moveFile(const std::wstring& source, const std::wstring& target, std::uint32_t flags) {
    if (const ErrorCode fault = beginOperation("moveFile", source, target, false, {flags})) {
        return failWith(fault);
    }
    if ((flags & ~(moveReplaceExisting | moveWriteThrough)) != 0) {
        simulation::giveUp("moveFile got a flag that is not in its contract");
    }
    const Lookup from = find(source);
    if (!from.node || !from.parent) {
        return failWith(from.node ? errorAccessDenied : from.error);
    }
    const Lookup to = find(target);
    if (const ErrorCode reason = whyNotTarget(from, to, flags)) {
        return failWith(reason);
    }
    if (const ErrorCode reason = whyNotRemovable(*from.node)) {
        return failWith(reason);
    }
    if (from.node->isDirectory() && isAnythingOpenBelow(*from.node)) {
        return failWith(errorAccessDenied);
    }
    if (holds(*from.node, *to.parent)) {
        return failWith(errorSharingViolation);  // a directory cannot be moved into itself
    }
    if (to.parent->refusal != errorSuccess) {
        return failWith(to.parent->refusal);
    }
    if (driveOf(source) != driveOf(target)) {
        return failWith(errorNotSameDevice);
    }
    if (to.node && to.node != from.node) {
        simulation::noteRemoval(machineOfSelf(), target, to.node);
        simulation::removeFile(machineOfSelf(), *to.parent, upperCase(to.leaf));
    }
    simulation::loadContent(*from.node);  // the host knows it by its present name
    simulation::noteMove(machineOfSelf(), source, from.node);
    simulation::eraseEntry(*from.parent, upperCase(from.leaf));
    simulation::setEntry(*to.parent, to.leaf, from.node);
    if ((flags & moveWriteThrough) != 0 && !machineOfSelf().ignoresWriteThrough) {
        simulation::forceNames(machineOfSelf(), source);
        simulation::forceNames(machineOfSelf(), target);
    }
    return true;
}

bool deleteFile(const std::wstring& path) {
    if (const ErrorCode fault = beginOperation("deleteFile", path)) {
        return failWith(fault);
    }
    const Lookup found = find(path);
    if (const ErrorCode reason = whyNotWritable(found)) {
        return failWith(reason);
    }
    if (const ErrorCode reason = whyNotRemovable(*found.node)) {
        return failWith(reason);
    }
    simulation::noteRemoval(machineOfSelf(), path, found.node);
    if (found.node->opens.empty()) {
        simulation::removeFile(machineOfSelf(), *found.parent, upperCase(found.leaf));
    } else {
        found.node->deletedFrom = found.parent;
    }
    return true;
}

bool removeDirectory(const std::wstring& path) {
    if (const ErrorCode fault = beginOperation("removeDirectory", path)) {
        return failWith(fault);
    }
    const Lookup found = find(path);
    if (!found.node) {
        return failWith(found.error);
    }
    if (!found.node->isDirectory()) {
        return failWith(errorDirectory);
    }
    if (!found.parent) {
        return failWith(errorAccessDenied);
    }
    if (const ErrorCode reason = whyNotRemovable(*found.node)) {
        return failWith(reason);
    }
    simulation::loadEntries(*found.node);
    if (!found.node->entries.empty()) {
        return failWith(errorDirectoryNotEmpty);
    }
    if ((found.node->attributes & attributeReadOnly) != 0) {
        return failWith(errorAccessDenied);
    }
    simulation::noteRemoval(machineOfSelf(), path, found.node);
    simulation::eraseEntry(*found.parent, upperCase(found.leaf));
    return true;
}

FirstMatch findFirst(const std::wstring& searchPath) {
    if (const ErrorCode fault = beginOperation("findFirst", searchPath)) {
        failWith(fault);
        return {};
    }
    const std::size_t separator = searchPath.find_last_of(L"\\/");
    const std::wstring directory =
        separator == std::wstring::npos ? L"." : searchPath.substr(0, separator + 1);
    std::wstring pattern = separator == std::wstring::npos ? searchPath : searchPath.substr(separator + 1);
    if (pattern.empty()) {
        failWith(errorFileNotFound);
        return {};
    }
    if (pattern == L"*.*") {
        pattern = L"*";
    }
    const Lookup found = find(directory);
    if (!found.node || !found.node->isDirectory()) {
        failWith(found.node ? errorDirectory : errorPathNotFound);
        return {};
    }
    simulation::loadEntries(*found.node);
    if (found.node->refusal != errorSuccess) {
        failWith(found.node->refusal);
        return {};
    }
    simulation::FindState state;
    const std::wstring upper = upperCase(pattern);
    if (found.parent) {
        for (const wchar_t* own : {L".", L".."}) {
            if (matches(upper, own)) {
                state.entries.push_back({own, attributeDirectory});
            }
        }
    }
    for (const auto& [name, node] : found.node->entries) {
        if (matches(upper, name)) {
            state.entries.push_back({node->name, node->attributes});
        }
    }
    if (state.entries.empty()) {
        failWith(errorFileNotFound);
        return {};
    }
    FirstMatch match;
    match.entry = state.entries.front();
    state.position = 1;
    const std::uintptr_t handle = machineOfSelf().lastHandle += 4;
    self().finds[handle] = std::move(state);
    match.handle = static_cast<FindHandle>(handle);
    return match;
}

std::optional<FindEntry> findNext(FindHandle handle) {
    if (const ErrorCode fault = beginOperation("findNext")) {
        failWith(fault);
        return std::nullopt;
    }
    const auto found = self().finds.find(static_cast<std::uintptr_t>(handle));
    if (found == self().finds.end()) {
        failWith(errorInvalidHandle);
        return std::nullopt;
    }
    simulation::FindState& state = found->second;
    if (state.position >= state.entries.size()) {
        failWith(errorNoMoreFiles);
        return std::nullopt;
    }
    return state.entries[state.position++];
}

void findClose(FindHandle handle) {
    beginOperation("findClose");
    self().finds.erase(static_cast<std::uintptr_t>(handle));
}

std::optional<std::wstring> fullPathName(const std::wstring& path, std::size_t capacity) {
    if (const ErrorCode fault = beginOperation("fullPathName", path)) {
        failWith(fault);
        return std::nullopt;
    }
    std::optional<std::wstring> full = simulation::makeFullPath(path, self().currentDirectory);
    if (!full || full->size() + 1 > capacity) {
        failWith(full ? 122 : errorInvalidName);
        return std::nullopt;
    }
    return full;
}

std::optional<std::wstring> moduleFileName(std::size_t capacity) {
    if (const ErrorCode fault = beginOperation("moduleFileName")) {
        failWith(fault);
        return std::nullopt;
    }
    if (self().module.size() + 1 > capacity) {
        failWith(122);
        return std::nullopt;
    }
    return self().module;
}

Handle createFile(const std::wstring& path, std::uint32_t access, std::uint32_t sharing,
                  std::uint32_t disposition, std::uint32_t attributes) {
    if (const ErrorCode fault = beginOperation("createFile", path, disposition == openFileAlways,
                                               {access, sharing, disposition, attributes})) {
        failWith(fault);
        return Handle::none;
    }
    if (upperCase(path).starts_with(L"\\\\.\\PIPE\\")) {
        auto client = simulation::openPipe(machineOfSelf(), path);
        if (!client) {
            return Handle::none;
        }
        return static_cast<Handle>(simulation::addObject(std::move(client)));
    }
    Lookup found = find(path);
    const bool isNew = !found.node;
    if (isNew) {
        if (disposition != openFileAlways || !found.parent || found.error != errorFileNotFound) {
            failWith(found.error);
            return Handle::none;
        }
        if (found.isDirectoryName) {
            failWith(errorInvalidName);
            return Handle::none;
        }
        if (found.parent->refusal != errorSuccess) {
            failWith(found.parent->refusal);
            return Handle::none;
        }
        found.node = std::make_shared<Node>();
        simulation::setEntry(*found.parent, found.leaf, found.node);
    }
    ErrorCode error = errorSuccess;
    auto file = simulation::openNode(found.node, (access & accessRead) != 0, (access & accessWrite) != 0,
                                     (sharing & shareRead) != 0, (sharing & shareWrite) != 0,
                                     (sharing & shareDelete) != 0, error);
    if (!file) {
        failWith(error);
        return Handle::none;
    }
    if (isNew) {  // the creator of a read-only file may write to it until it closes it
        found.node->attributes = attributes & ~attributeNormal;
    }
    auto object = std::make_unique<simulation::Object>();
    object->kind = simulation::ObjectKind::file;
    object->file = std::move(file);
    return static_cast<Handle>(simulation::addObject(std::move(object)));
}

}  // namespace platform

namespace simulation {

std::unique_ptr<OpenFile> openNode(const NodePointer& node, bool reads, bool writes, bool sharesRead,
                                   bool sharesWrite, bool sharesDelete, platform::ErrorCode& error) {
    loadContent(*node);
    if (node->refusal != platform::errorSuccess) {
        error = node->refusal;
        return nullptr;
    }
    if (node->isDirectory() || (writes && (node->attributes & platform::attributeReadOnly) != 0)) {
        error = platform::errorAccessDenied;
        return nullptr;
    }
    for (const OpenFile* other : node->opens) {
        const bool isRefused = (reads && !other->sharesRead) || (writes && !other->sharesWrite) ||
                               (other->canRead && !sharesRead) || (other->canWrite && !sharesWrite);
        if (isRefused) {
            error = platform::errorSharingViolation;
            return nullptr;
        }
    }
    auto file = std::make_unique<OpenFile>();
    file->node = node;
    file->canRead = reads;
    file->canWrite = writes;
    file->sharesRead = sharesRead;
    file->sharesWrite = sharesWrite;
    file->sharesDelete = sharesDelete;
    node->opens.push_back(file.get());
    return file;
}

void closeOpenFile(MachineState& machine, OpenFile& file) {
    Node& node = *file.node;
    std::erase(node.opens, &file);
    file.lockLength = 0;
    const NodePointer directory = node.deletedFrom.lock();
    if (directory && node.opens.empty()) {
        removeFile(machine, *directory, upperCase(node.name));
    }
}

void removeFile(MachineState& machine, Node& directory, const std::wstring& name) {
    if (machine.freeSpace) {
        *machine.freeSpace += directory.entries.at(name)->content.size();
    }
    eraseEntry(directory, name);
}

}  // namespace simulation
