#include "reliability/interruption.h"

#include <algorithm>

// A file or name that was changed in several steps has a half-done state between the first and the last of
// them. A stop can only leave that state if it falls in between, so a difference that was found after a stop
// is accepted only then. A power loss also undoes steps that were done but not forced to the device: all
// changes of names except the last name of a file that is flushed and, unless they are ignored, the names of
// moves with moveWriteThrough.
namespace reliability {

namespace {

constexpr const wchar_t* userProperties = L"\\.config\\zelinstall.properties";

// Without the prefix for long paths, and with backslashes.
std::wstring plainPath(const std::wstring& path) {
    std::wstring plain = path.starts_with(L"\\\\?\\") ? path.substr(4) : path;
    std::replace(plain.begin(), plain.end(), L'/', L'\\');
    return plain;
}

}  // namespace

bool isPowerLost(Aftermath aftermath) {
    return aftermath != Aftermath::platformEnds && aftermath != Aftermath::platformRunsOn;
}

simulation::PowerLoss powerLossOf(Aftermath aftermath) {
    using Loss = simulation::PowerLoss;
    const bool hasZeros =
        aftermath == Aftermath::powerFailsWithZeros || aftermath == Aftermath::powerFailsWithoutWriteThrough;
    const bool hasOldNames = aftermath == Aftermath::powerFailsWithOldNames ||
                             aftermath == Aftermath::powerFailsWithoutWriteThrough;
    return {hasOldNames ? Loss::Names::old : Loss::Names::kept,
            hasZeros ? Loss::Contents::zeroFilled : Loss::Contents::old};
}

Interruption::Interruption(const Performance& untouched, const StopRun& stopRun) : stop(stopRun) {
    for (const simulation::Operation& operation : untouched.operations) {
        steps.push_back({steps.size() + 1, operation.name, plainPath(operation.argument),
                         plainPath(operation.target), operation.writes});
    }
}

template <typename Predicate>
std::uint64_t Interruption::firstAfter(std::uint64_t number, Predicate isMeant) const {
    const auto found =
        std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(number), steps.end(), isMeant);
    return found == steps.end() ? 0 : found->number;
}

template <typename Predicate>
std::uint64_t Interruption::lastUpTo(std::uint64_t number, Predicate isMeant) const {
    for (std::uint64_t i = std::min<std::uint64_t>(number, steps.size()); i > 0; --i) {
        if (isMeant(steps[i - 1])) {
            return i;
        }
    }
    return 0;
}

// The operation that is stopped has no effect, except that a copy may be left half done.
bool Interruption::isBegun(const Step& step) const {
    return step.number < stop.nth || (step.number == stop.nth && step.name == "copyFile" &&
                                      stop.data == simulation::UnflushedData::partlyWritten);
}

bool Interruption::losesNames() const {
    return isPowerLost(stop.aftermath) &&
           powerLossOf(stop.aftermath).names == simulation::PowerLoss::Names::old;
}

bool Interruption::losesMoves() const {
    return stop.aftermath == Aftermath::powerFailsWithoutWriteThrough;
}

bool Interruption::cutsFile(const std::wstring& ending) const {
    const std::uint64_t begin = lastUpTo(stop.nth, [&](const Step& step) {
        const bool isCopied = step.name == "copyFile" && step.target.ends_with(ending);
        const bool isOpened = step.name == "openStream" && step.writes && step.path.ends_with(ending);
        return (isCopied || isOpened) && isBegun(step);
    });
    if (begin == 0) {
        return false;
    }
    const bool isCopy = steps[begin - 1].name == "copyFile";
    const std::uint64_t end = isCopy ? begin : firstAfter(begin, [&](const Step& step) {
        return step.name == "closeStream" && step.target.ends_with(ending);
    });
    return !isDone(end) ||
           (isPowerLost(stop.aftermath) && stop.nth <= sameFileAfter(end, "flushFile", ending));
}

// The next operation of this name on a file; 0 if an operation on another file comes before it.
std::uint64_t Interruption::sameFileAfter(std::uint64_t number, const char* name,
                                          const std::wstring& ending) const {
    const std::uint64_t next = firstAfter(
        number, [&](const Step& step) { return !step.path.ends_with(ending) || step.name == name; });
    const bool isSameFile = next != 0 && steps[next - 1].path.ends_with(ending);
    return isSameFile ? next : 0;
}

std::wstring Interruption::unfinishedCopy() const {
    const std::uint64_t copied =
        lastUpTo(stop.nth, [&](const Step& step) { return step.name == "copyFile" && isBegun(step); });
    if (copied == 0) {
        return L"";
    }
    const std::wstring& copy = steps[copied - 1].target;
    const std::uint64_t madeWritable = sameFileAfter(copied, "setFileAttributes", copy);
    return madeWritable != 0 && !isDone(madeWritable) ? copy : L"";
}

bool Interruption::cutsUserProperties() const {
    const std::uint64_t begin = lastUpTo(stop.nth, [&](const Step& step) {
        return step.name == "copyFile" && step.target.ends_with(userProperties) &&
               !step.path.ends_with(L".bak") && isBegun(step);
    });
    const std::uint64_t end = firstAfter(begin, [](const Step& step) {
        return step.name == "moveFile" && step.target.ends_with(userProperties);
    });
    return begin != 0 && !isDone(end);
}

bool Interruption::followsRenewal() const {
    return isDone(firstAfter(
        0, [](const Step& step) { return step.name == "moveFile" && step.path.ends_with(L"\\.config"); }));
}

bool Interruption::keepsCopyOutside(const std::wstring& ending) const {
    const std::uint64_t copied = lastUpTo(stop.nth, [&](const Step& step) {
        return step.name == "copyFile" && step.target.ends_with(ending) && isBegun(step);
    });
    const std::uint64_t movedBack = firstAfter(
        copied, [&](const Step& step) { return step.name == "moveFile" && step.path.ends_with(ending); });
    return copied != 0 && (!isDone(movedBack) || losesMoves());
}

bool Interruption::keepsMovedAside(const std::wstring& path) const {
    const auto isAside = [&](const std::wstring& aside) {
        return path == aside || path == aside + L"\\" || path.starts_with(aside + L"\\");
    };
    const std::uint64_t moved = lastUpTo(stop.nth, [&](const Step& step) {
        return step.name == "moveFile" && isBegun(step) && isAside(step.target);
    });
    const std::uint64_t gone = firstAfter(moved, [&](const Step& step) {
        return (step.name == "deleteFile" || step.name == "removeDirectory") && isAside(step.path);
    });
    return moved != 0 && !isDone(gone) ? true : isDone(gone) && losesNames();
}

bool Interruption::interruptsReset() const {
    const std::uint64_t begin = firstAfter(0, [](const Step& step) {
        const bool isOfPlugin = step.path.find(L"\\.metadata\\.plugins\\") != std::wstring::npos;
        return (step.name == "deleteFile" && isOfPlugin) ||
               (step.name == "moveFile" && step.path.ends_with(L"\\.configbak"));
    });
    return isDone(begin) && (!followsRenewal() || losesNames());
}

bool Interruption::keepsReplacementAside(const std::wstring& ending) const {
    const std::uint64_t moved = firstAfter(
        0, [&](const Step& step) { return step.name == "moveFile" && step.target.ends_with(ending); });
    const std::uint64_t removed = lastUpTo(
        moved, [&](const Step& step) { return step.name == "moveFile" && step.path.ends_with(ending); });
    return isDone(removed) && !isDone(moved);
}

bool Interruption::isBetweenRegistryWrites(const std::wstring& value) const {
    const auto isWrite = [&](const Step& step) {
        return step.name == "setRegistryText" && step.path == value;
    };
    return isDone(firstAfter(0, isWrite)) && !isDone(lastUpTo(steps.size(), isWrite));
}

bool Interruption::precedesRecord() const {
    const std::uint64_t started =
        lastUpTo(stop.nth - 1, [](const Step& step) { return step.name == "createProcess"; });
    const std::uint64_t recorded = firstAfter(
        started, [](const Step& step) { return step.name == "flushStream" && step.path == L".zel.lock"; });
    return started != 0 && recorded != 0 && !isDone(recorded);
}

}  // namespace reliability
