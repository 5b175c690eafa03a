#include "platform/streams.h"

#include <algorithm>
#include <iterator>

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::Lookup;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::Node;
using simulation::OpenFile;
using simulation::self;

namespace {

constexpr std::size_t bufferSize = 4096;
constexpr const char* knownModes[] = {"r", "r+", "w", "w+", "a+"};

// Whether another open file has locked a byte of the range.
bool isLockedByOther(const OpenFile& file, std::uint64_t begin, std::uint64_t length) {
    return length > 0 &&
           std::any_of(file.node->opens.begin(), file.node->opens.end(),
                       [&](const OpenFile* other) { return other != &file && other->lockLength > begin; });
}

}  // namespace

Stream* openStream(const std::wstring& path, const char* mode) {
    const std::string modeText = mode;
    if (const ErrorCode fault = beginOperation("openStream", path, modeText[0] != 'r')) {
        failWith(fault);
        return nullptr;
    }
    if (std::find(std::begin(knownModes), std::end(knownModes), modeText) == std::end(knownModes)) {
        failWith(errorInvalidParameter);
        return nullptr;
    }
    MachineState& machine = machineOfSelf();
    const bool makes = modeText[0] != 'r';
    const bool empties = modeText[0] == 'w';
    const bool updates = modeText.size() > 1;
    Lookup found = simulation::lookUpForSelf(path);
    if (!found.node) {
        if (!makes || !found.parent || found.error != errorFileNotFound) {
            failWith(found.error);
            return nullptr;
        }
        if (found.isDirectoryName) {
            failWith(errorInvalidName);
            return nullptr;
        }
        if (found.parent->refusal != errorSuccess) {
            failWith(found.parent->refusal);
            return nullptr;
        }
        found.node = std::make_shared<Node>();
        simulation::setEntry(*found.parent, found.leaf, found.node);
    } else if (empties && (found.node->attributes & attributeHidden) != 0) {
        failWith(errorAccessDenied);  // the system empties a hidden file only if asked for a hidden one
        return nullptr;
    }
    ErrorCode error = errorSuccess;
    auto file =
        simulation::openNode(found.node, !makes || updates, makes || updates, true, true, false, error);
    if (!file) {
        failWith(error);
        return nullptr;
    }
    if (empties) {
        if (machine.freeSpace) {
            *machine.freeSpace += found.node->content.size();
        }
        simulation::emptyFile(*found.node);
    }
    auto stream = std::make_unique<Stream>();
    stream->file = std::move(file);
    stream->path = path;
    stream->appends = modeText[0] == 'a';
    Stream* opened = stream.get();
    self().streams.insert(std::move(stream));
    return opened;
}

ReadResult readStream(Stream* stream, char* buffer, std::size_t capacity) {
    constexpr ReadResult failure{0, true};
    if (const ErrorCode fault = beginOperation("readStream", *stream)) {
        failWith(fault);
        return failure;
    }
    if (!stream->file->canRead || !writeOut(machineOfSelf(), *stream)) {
        failWith(errorAccessDenied);
        return failure;
    }
    if (isLockedByOther(*stream->file, stream->position, capacity)) {
        failWith(errorLockViolation);
        return failure;
    }
    const std::string& content = stream->file->node->content;
    const std::size_t begin = std::min<std::size_t>(stream->position, content.size());
    const std::size_t count = std::min(capacity, content.size() - begin);
    std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(begin), count, buffer);
    stream->position = begin + count;
    return {count, false};
}

bool writeStream(Stream* stream, const std::string& bytes) {
    if (const ErrorCode fault = beginOperation("writeStream", *stream, true)) {
        return failWith(fault);
    }
    if (!stream->file->canWrite) {
        return failWith(errorAccessDenied);
    }
    stream->buffer += bytes;
    return stream->buffer.size() < bufferSize || writeOut(machineOfSelf(), *stream);
}

bool flushStream(Stream* stream) {
    if (const ErrorCode fault = beginOperation("flushStream", *stream, !stream->buffer.empty())) {
        return failWith(fault);
    }
    return writeOut(machineOfSelf(), *stream);
}

bool rewindStream(Stream* stream) {
    if (const ErrorCode fault = beginOperation("rewindStream", *stream, !stream->buffer.empty())) {
        return failWith(fault);
    }
    const bool isWritten = writeOut(machineOfSelf(), *stream);
    stream->position = 0;
    return isWritten;
}

std::optional<std::uint64_t> seekToLastByte(Stream* stream) {
    if (const ErrorCode fault =
            beginOperation("seekToLastByte", stream->file->node->name, !stream->buffer.empty())) {
        failWith(fault);
        return std::nullopt;
    }
    if (!writeOut(machineOfSelf(), *stream)) {
        return std::nullopt;
    }
    const std::size_t size = stream->file->node->content.size();
    if (size == 0) {
        failWith(errorNegativeSeek);
        return std::nullopt;
    }
    stream->position = size - 1;
    return stream->position;
}

bool truncateStream(Stream* stream, std::uint64_t size) {
    if (const ErrorCode fault = beginOperation("truncateStream", stream->file->node->name)) {
        return failWith(fault);
    }
    if (!stream->file->canWrite) {
        return failWith(errorAccessDenied);
    }
    MachineState& machine = machineOfSelf();
    Node& node = *stream->file->node;
    if (machine.freeSpace) {
        *machine.freeSpace += node.content.size() - size;
    }
    simulation::keepOnDevice(node);
    node.content.resize(size);
    node.intactOnDevice = std::min(node.intactOnDevice, node.content.size());
    return true;
}

bool closeStream(Stream* stream) {
    const ErrorCode fault = beginOperation("closeStream", *stream, !stream->buffer.empty());
    const bool isWritten = fault == errorSuccess && writeOut(machineOfSelf(), *stream);
    simulation::closeOpenFile(machineOfSelf(), *stream->file);
    std::erase_if(self().streams, [&](const auto& open) { return open.get() == stream; });
    return isWritten || failWith(fault != errorSuccess ? fault : self().lastError);
}

bool lockStream(Stream* stream, std::uint32_t length) {
    if (const ErrorCode fault = beginOperation("lockStream", *stream, false, {length})) {
        return failWith(fault);
    }
    const bool isHeld = std::any_of(stream->file->node->opens.begin(), stream->file->node->opens.end(),
                                    [](const OpenFile* open) { return open->lockLength > 0; });
    if (isHeld) {
        return failWith(errorLockViolation);
    }
    stream->file->lockLength = length;
    return true;
}

bool unlockStream(Stream* stream, std::uint32_t length) {
    if (const ErrorCode fault = beginOperation("unlockStream", *stream, false, {length})) {
        return failWith(fault);
    }
    if (stream->file->lockLength != length) {
        return failWith(errorNotLocked);
    }
    stream->file->lockLength = 0;
    return true;
}

}  // namespace platform

namespace simulation {

bool writeOut(MachineState& machine, platform::Stream& stream) {
    if (stream.buffer.empty()) {
        return true;
    }
    Process& process = self();
    std::string bytes;
    bytes.swap(stream.buffer);
    OpenFile& file = *stream.file;
    if (file.node->refusal != platform::errorSuccess) {
        process.lastError = file.node->refusal;
        return false;
    }
    const std::uint64_t begin = stream.appends ? file.node->content.size() : stream.position;
    for (const OpenFile* other : file.node->opens) {
        if (other != &file && other->lockLength > begin) {
            process.lastError = platform::errorLockViolation;
            return false;
        }
    }
    const std::uint64_t end = begin + bytes.size();
    const std::uint64_t growth = end > file.node->content.size() ? end - file.node->content.size() : 0;
    if (machine.freeSpace && growth > *machine.freeSpace) {
        process.lastError = platform::errorDiskFull;
        return false;
    }
    if (machine.freeSpace) {
        *machine.freeSpace -= growth;
    }
    keepOnDevice(*file.node);
    if (end > file.node->content.size()) {
        file.node->content.resize(end);
    }
    file.node->content.replace(begin, bytes.size(), bytes);
    stream.position = end;
    return true;
}

}  // namespace simulation
