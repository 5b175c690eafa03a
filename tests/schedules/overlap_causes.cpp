#include <algorithm>
#include <set>

#include "schedules/race.h"

// Why two platforms run at the same time. A cause is accepted only if the operations of the race show it,
// with its times and in its order.
//
// A launcher decides its role with the lock: it reads the lock file and then the pipe file. It misses a
// platform that has not published yet, because the lock was released too early or no launcher held it; or
// whose process id is not in the lock file; or whose pipe's name it does not read.
namespace schedules {

namespace {

using simulation::Operation;
using simulation::ProcessId;

constexpr std::uint64_t pipeFileWait = 15'000;
constexpr std::uint64_t restartWait = 20'000;
constexpr std::size_t removalAttempts = 10;
constexpr std::uint64_t removalTime = 900;  // from the first attempt to the last
constexpr std::uint64_t relockTime = 296'000;

bool isOf(const Operation& operation, ProcessId process, const char* name) {
    return operation.process == process && operation.name == name;
}

bool isOnPipeFile(const Operation& operation) {
    return operation.argument.ends_with(L"\\.pipe");
}

bool isOnLockFile(const Operation& operation) {
    return operation.argument.ends_with(L".zel.lock");
}

}  // namespace

// The last operation of this kind before the operation with this index, and the first one after it. Null if
// there is none.
template <typename Predicate>
const Operation* Race::lastBefore(std::uint64_t index, Predicate isMeant) const {
    const std::vector<Operation>& all = machine.operations();
    for (std::uint64_t i = std::min<std::uint64_t>(index - 1, all.size()); i > 0; --i) {
        if (isMeant(all[i - 1])) {
            return &all[i - 1];
        }
    }
    return nullptr;
}

template <typename Predicate>
const Operation* Race::firstAfter(std::uint64_t index, Predicate isMeant) const {
    const std::vector<Operation>& all = machine.operations();
    for (std::uint64_t i = index; i < all.size(); ++i) {
        if (isMeant(all[i])) {
            return &all[i];
        }
    }
    return nullptr;
}

Race::Decision Race::decisionOf(ProcessId process, std::uint64_t before) const {
    const Operation* lock =
        lastBefore(before, [&](const Operation& each) { return isOf(each, process, "lockStream"); });
    if (lock == nullptr) {
        return {process, never, never};  // it never had the lock
    }
    const Operation* look = lastBefore(before, [&](const Operation& each) {
        return isOf(each, process, "openStream") && isOnPipeFile(each);
    });
    if (look == nullptr || look->index < lock->index) {
        look = firstAfter(lock->index, [&](const Operation& each) {
            return isOf(each, process, "fileAttributes") && isOnPipeFile(each);
        });
    }
    const bool hasLooked = look != nullptr && look->index < before;
    return {process, lock->index, hasLooked ? look->index : lock->index};
}

// When the platform's launcher released the lock. Null if no launcher of the race started it.
const Operation* Race::releaseAfter(const PlatformRecord& record) const {
    return firstAfter(record.createdOperation,
                      [&](const Operation& each) { return isOf(each, record.starter, "unlockStream"); });
}

// No launcher held the lock until it had published, for an accepted reason.
Overlap Race::whyReleasedEarly(const PlatformRecord& record) const {
    if (hasRestartedItself(record)) {
        return Overlap::restartGap;
    }
    if (record.isWithoutLock) {
        return Overlap::lockTimeout;
    }
    const Operation* release = releaseAfter(record);
    if (release == nullptr || release->index > record.publishedOperation) {
        return Overlap::unexplained;
    }
    if (hasEmptyPipeFile(record, release->index)) {
        return Overlap::emptyPipeFile;
    }
    if (release->time >= record.createdTime + pipeFileWait) {
        return Overlap::slowPlatform;
    }
    if (foundLatePipeFile(record, release->index)) {
        return Overlap::latePipeFile;
    }
    return foundHeldPipeFile(record) ? Overlap::heldPipeFile : Overlap::unexplained;
}

// The platform had created its pipe file, without the name in it.
bool Race::hasEmptyPipeFile(const PlatformRecord& record, std::uint64_t release) const {
    return record.plan.publishing == Publishing::inPlace && lastBefore(release, [&](const Operation& each) {
                                                                return isOf(each, record.id, "openStream") &&
                                                                       isOnPipeFile(each);
                                                            }) != nullptr;
}

// While this one's launcher waited for its pipe file, another platform published, for which no launcher
// waited any more.
bool Race::foundLatePipeFile(const PlatformRecord& record, std::uint64_t release) const {
    const std::uint64_t locked = decisionOf(record.starter, record.createdOperation).locked;
    const Operation* removal = lastBefore(record.createdOperation, [&](const Operation& each) {
        return isOf(each, record.starter, "moveFile") && isOnPipeFile(each);
    });
    const std::uint64_t begin = removal != nullptr ? std::max(removal->index, locked) : locked;
    return std::any_of(platforms.begin(), platforms.end(), [&](const auto& entry) {
        const PlatformRecord& other = entry.second;
        return other.publishedOperation > begin && other.publishedOperation < release &&
               whyReleasedEarly(other) != Overlap::unexplained;
    });
}

// A restart had the pipe file open at each attempt of this one's launcher to remove it. Without a stall it
// closes the file in the moment in which it opens it.
bool Race::foundHeldPipeFile(const PlatformRecord& record) const {
    const std::uint64_t locked = decisionOf(record.starter, record.createdOperation).locked;
    std::set<ProcessId> readers;
    std::vector<std::uint64_t> attempts;
    for (const Operation& each : machine.operations()) {
        if (each.index >= record.createdOperation) {
            break;
        }
        if (each.name == "openStream" && isOnPipeFile(each) && isRestart(each.process)) {
            readers.insert(each.process);
        } else if (each.name == "closeStream" && each.argument == L".pipe") {
            readers.erase(each.process);
        } else if (isOf(each, record.starter, "moveFile") && isOnPipeFile(each) && each.index > locked) {
            if (readers.empty()) {
                return false;
            }
            attempts.push_back(each.time);
        }
    }
    return canStall() && attempts.size() == removalAttempts &&
           attempts.back() - attempts.front() >= removalTime;
}

bool Race::isRestart(ProcessId process) const {
    const auto found = launchers.find(process);
    return found != launchers.end() && found->second.isRestart;
}

bool Race::canStall() const {
    return plan.switching.stallOneIn != 0 || plan.stall;
}

// A supervisor has tried to take the lock for five minutes before it started this platform, and another
// launcher had the lock each time. Of its attempts, one of each second is looked at.
bool Race::hasWaitedForLock(const PlatformRecord& record) const {
    std::vector<const Operation*> attempts;
    for (const Operation& each : machine.operations()) {
        if (each.index >= record.createdOperation) {
            break;
        }
        if (isOf(each, record.starter, "lockStream")) {
            if (attempts.empty() || each.time - attempts.back()->time >= 1000) {
                attempts.push_back(&each);
            }
        } else if (isOf(each, record.starter, "createProcess")) {
            attempts.clear();
        }
    }
    return record.isRerun && !attempts.empty() &&
           attempts.back()->time - attempts.front()->time >= relockTime &&
           std::all_of(attempts.begin(), attempts.end(), [&](const Operation* attempt) {
               return !hasLocked(*attempt) && isLockedByOther(attempt->process, attempt->index);
           });
}

// A launcher that has the lock looks for a file next. One that does not tries again or, if it is a
// supervisor, starts its platform.
bool Race::hasLocked(const Operation& attempt) const {
    const Operation* next = firstAfter(attempt.index, [&](const Operation& each) {
        return isOf(each, attempt.process, "lockStream") || isOf(each, attempt.process, "createProcess") ||
               isOf(each, attempt.process, "fileAttributes");
    });
    return next != nullptr && next->name == "fileAttributes";
}

bool Race::holdsLockAt(ProcessId process, std::uint64_t index) const {
    const Operation* attempt =
        lastBefore(index, [&](const Operation& each) { return isOf(each, process, "lockStream"); });
    if (attempt == nullptr || launchers.at(process).endedOperation < index || !hasLocked(*attempt)) {
        return false;
    }
    const Operation* release = firstAfter(
        attempt->index, [&](const Operation& each) { return isOf(each, process, "unlockStream"); });
    return release == nullptr || release->index > index;
}

bool Race::isLockedByOther(ProcessId process, std::uint64_t index) const {
    return std::any_of(launchers.begin(), launchers.end(), [&](const auto& entry) {
        return entry.first != process && holdsLockAt(entry.first, index);
    });
}

// The last change of the lock file before this operation. Without the lock, nothing can be written while
// another launcher has it.
const Operation* Race::ownerWriteBefore(std::uint64_t index) const {
    return lastBefore(index, [&](const Operation& each) {
        const bool isWrite = each.name == "flushStream" && each.writes && isOnLockFile(each);
        return isWrite && !isLockedByOther(each.process, each.index);
    });
}

// The platform whose process id the lock file has, if a launcher of the race has written it.
const Race::PlatformRecord* Race::ownerBefore(std::uint64_t index) const {
    const Operation* write = ownerWriteBefore(index);
    return write == nullptr || isBlanking(*write) ? nullptr : lastStartedBy(write->process, write->index);
}

// The lock file is blank before this operation, because a restart had waited for 20 seconds.
bool Race::isBlankBefore(std::uint64_t index) const {
    const Operation* write = ownerWriteBefore(index);
    if (write == nullptr || !isBlanking(*write)) {
        return false;
    }
    const Operation* opening = lastBefore(write->index, [&](const Operation& each) {
        return isOf(each, write->process, "openStream") && isOnLockFile(each);
    });
    return isRestart(write->process) && opening != nullptr && write->time >= opening->time + restartWait;
}

// A launcher writes to the lock file before it has the lock only to blank it.
bool Race::isBlanking(const Operation& write) const {
    return lastBefore(write.index, [&](const Operation& each) {
               return isOf(each, write.process, "lockStream");
           }) == nullptr;
}

// The launcher of a restart had read the name of an earlier platform's pipe, did not read it again with the
// lock, and that platform was gone. A supervisor reads the name again for each start. The reading was before
// another launcher started this platform; but if no launcher held the lock for this one, or platforms run
// together, this one may have run already, without a pipe file.
bool Race::remembersOtherName(const Decision& decision, const PlatformRecord& record) const {
    const Operation* reading = lastBefore(decision.looked + 1, [&](const Operation& each) {
        return isOf(each, decision.process, "openStream") && isOnPipeFile(each);
    });
    const bool isUnguarded =
        sharing.count(record.id) != 0 || hasRestartedItself(record) || record.isWithoutLock;
    const std::uint64_t visible = isUnguarded ? record.publishedOperation : record.createdOperation;
    const bool isFirstDecision = lastStartedBy(decision.process, decision.locked) == nullptr;
    if (!isRestart(decision.process) || !isFirstDecision || reading == nullptr ||
        reading->index > decision.locked || reading->index > visible) {
        return false;
    }
    const PlatformRecord* remembered = publisherBefore(reading->index);
    return remembered == nullptr || remembered->endedOperation < decision.locked;
}

const Race::PlatformRecord* Race::lastStartedBy(ProcessId process, std::uint64_t before) const {
    const PlatformRecord* last = nullptr;
    for (const auto& [id, record] : platforms) {
        const bool isLater = last == nullptr || record.createdOperation > last->createdOperation;
        last = record.starter == process && record.createdOperation < before && isLater ? &record : last;
    }
    return last;
}

// The decision is that of a supervisor after the end of its own platform, and the lock file still names that
// one. The supervisor therefore assumes that no other platform runs, and does not look for a pipe file.
bool Race::knowsOnlyItsOwn(const Decision& decision) const {
    const PlatformRecord* own = lastStartedBy(decision.process, decision.locked);
    return own != nullptr && own->endedOperation < decision.locked && ownerBefore(decision.locked) == own;
}

// The supervisor's own platform has restarted itself, and this one came of that.
bool Race::takesForCrash(const Decision& decision, const PlatformRecord& record) const {
    return knowsOnlyItsOwn(decision) && hasRestartedItself(record) &&
           recordedIdOf(record.id) == lastStartedBy(decision.process, decision.locked)->id;
}

const Race::PlatformRecord* Race::publisherBefore(std::uint64_t index) const {
    const PlatformRecord* last = nullptr;
    for (const auto& [id, record] : platforms) {
        const bool isLater = last == nullptr || record.publishedOperation > last->publishedOperation;
        last = record.publishedOperation < index && isLater ? &record : last;
    }
    return last;
}

// A workspace has only one pipe file. Another platform has removed or replaced this one's, or a launcher that
// had not found it yet has removed it.
bool Race::hasLostPipeFile(const PlatformRecord& record, std::uint64_t index) const {
    const Operation* removal = lastBefore(index, [&](const Operation& each) {
        const bool removes = each.name == "moveFile" || each.name == "deleteFile";
        return removes && isOnPipeFile(each) && each.process != record.id;
    });
    return publisherBefore(index) != &record ||
           (removal != nullptr && removal->index > record.publishedOperation);
}

// A launcher looked for this platform before that had published.
Overlap Race::whyUnguarded(const PlatformRecord& first, const Decision& decision) const {
    if (hasRestartedItself(first)) {
        const PlatformRecord& previous = platforms.at(first.starter);
        const Operation* look = firstAfter(decision.looked, [&](const Operation& each) {
            return isOf(each, decision.process, "openSemaphore");
        });
        const bool hadEnded = previous.endedOperation < (look == nullptr ? decision.looked : look->index);
        return hadEnded ? Overlap::restartGap : explain(previous, decision);
    }
    const Operation* release = releaseAfter(first);
    const bool isReleased = release != nullptr && release->index < decision.locked;
    return isReleased || first.isWithoutLock ? whyReleasedEarly(first) : Overlap::unexplained;
}

Overlap Race::explain(const PlatformRecord& first, const Decision& decision) const {
    if (takesForCrash(decision, first)) {
        return Overlap::takenForCrash;
    }
    if (first.publishedOperation > decision.looked) {
        return whyUnguarded(first, decision);
    }
    if (isBlankBefore(decision.locked)) {
        return Overlap::ownerBlanked;
    }
    if (remembersOtherName(decision, first)) {
        return Overlap::rememberedName;
    }
    const bool isOfOtherCase =
        sharing.count(first.id) != 0 || whyReleasedEarly(first) != Overlap::unexplained;
    const bool isMissed = hasLostPipeFile(first, decision.looked) || knowsOnlyItsOwn(decision);
    return isOfOtherCase && isMissed ? Overlap::consequence : Overlap::unexplained;
}

}  // namespace schedules
