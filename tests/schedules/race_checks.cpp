#include <algorithm>
#include <set>

#include "schedules/race.h"
#include "support/text.h"

// What must hold at the end of a race.
namespace schedules {

namespace {

using launchertest::countOccurrences;
using launchertest::pipeText;
using launchertest::toUtf8;

constexpr std::uint64_t pipeFileWait = 15'000;

// `ZLNCH0142E: ...` and the like, except the errors after which a start continues.
bool isFatalLine(const std::string& line) {
    const bool isError = line.size() > 11 && line.starts_with("ZLNCH") && line[9] == 'E' && line[10] == ':';
    constexpr const char* harmless[] = {"ZLNCH0013E", "ZLNCH0090E", "ZLNCH0091E", "ZLNCH0131E"};
    return isError && std::none_of(std::begin(harmless), std::end(harmless),
                                   [&](const char* identifier) { return line.starts_with(identifier); });
}

bool isLauncherLog(const std::wstring& path) {
    const std::size_t name = path.rfind(L'\\') + 1;
    return path.compare(name, 11, L"zellauncher") == 0 && path.ends_with(L".log");
}

// A process id and blanks, only blanks, or nothing.
bool isOwnerText(const std::string& content) {
    const std::size_t end = std::min(content.find_first_not_of("0123456789"), content.size());
    const bool hasBlank = end < content.size();
    return content.find_first_not_of(' ', end) == std::string::npos && (hasBlank || content.empty());
}

}  // namespace

void Race::fail(const std::string& text) {
    report.violations.push_back(text);
}

// The line of the launcher's log that gives the reason of its end. Logs of one name are shared: opening
// one empties it, even while another launcher still writes to it.
void Race::noteFatalLine(simulation::ProcessId id, LauncherRecord& ended) const {
    std::map<simulation::ProcessId, std::wstring> logOf;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.name != "openStream" || !isLauncherLog(operation.argument)) {
            continue;
        }
        logOf[operation.process] = operation.argument;
        ended.hasSharedLog |= operation.process != id && logOf[id] == operation.argument;
    }
    for (const auto& [other, path] : logOf) {
        const auto found = launchers.find(other);
        const bool ranLater = found == launchers.end() || !found->second.hasEnded;
        ended.hasSharedLog |= other != id && path == logOf[id] && ranLater;
    }
    ended.log = logOf[id];
    for (const std::string& line : launchertest::splitLines(logAt(ended.log))) {
        if (isFatalLine(line)) {
            ended.fatalLine = line;
        }
    }
}

// A platform that is started again, or restarts itself, gets the same arguments again.
std::size_t Race::deliveriesOf(const std::wstring& name) const {
    std::size_t count = 0;
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        const auto record = platforms.find(child.id);
        const bool isFirst =
            record != platforms.end() && !record->second.isRerun && !hasRestartedItself(record->second);
        if (isFirst) {
            count += countOccurrences(toUtf8(child.commandLine), toUtf8(name));
        }
    }
    for (const auto& [id, record] : platforms) {
        for (const std::string& bytes : machine.pipePayloads(pipeNameOf(id))) {
            count += countOccurrences(toUtf8(pipeText(bytes)), toUtf8(name));
        }
    }
    return count;
}

// Every earlier launcher holds the lock until its platform has published, for at most 15 seconds. A
// restart waits 20 seconds before that, and a waiting launcher tries the lock every 50 milliseconds. A
// launcher with -zelLauncherWait waits for the end of its platform, and so may every launcher if that is
// frozen.
std::uint64_t Race::longestAllowedWait() const {
    std::uint64_t longest = 22'000;
    for (const auto& [id, record] : platforms) {
        longest += pipeFileWait + 1'000;
        const bool isAnyWaiting =
            std::any_of(plan.launchers.begin(), plan.launchers.end(), [](const auto& launcherPlan) {
                const auto& arguments = launcherPlan.arguments;
                return std::find(arguments.begin(), arguments.end(), L"-zelLauncherWait") != arguments.end();
            });
        if (isAnyWaiting || record.plan.fate == Fate::freezes) {
            longest += record.plan.publishesAfter + record.plan.livesFor + record.plan.endsAfterRestart;
        }
    }
    return longest;
}

bool Race::isAnyPlatformHanging() const {
    return std::any_of(platforms.begin(), platforms.end(), [](const auto& entry) {
        return entry.second.plan.fate == Fate::neverServes && entry.second.endedOperation == never &&
               entry.second.publishedOperation != never;
    });
}

bool Race::hasRestartedItself(const PlatformRecord& record) const {
    return platforms.count(record.starter) != 0;
}

// The process id in the lock file for this platform: one that restarts itself is not recorded again.
simulation::ProcessId Race::recordedIdOf(simulation::ProcessId platformId) const {
    const PlatformRecord& record = platforms.at(platformId);
    return hasRestartedItself(record) ? recordedIdOf(record.starter) : platformId;
}

// It has started a platform and released the lock.
bool Race::isSupervising(simulation::ProcessId launcherId) const {
    bool isAfterRelease = false;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.process == launcherId) {
            isAfterRelease =
                operation.name == "unlockStream" || (isAfterRelease && operation.name != "lockStream");
        }
    }
    return plan.isLockdown && isAfterRelease;
}

// Every argument list arrives at a platform once, or its launcher logs why not. No launcher waits
// forever, except for a platform that never serves its pipe and that of a platform which it supervises.
void Race::checkLaunchers() {
    for (const auto& [id, record] : launchers) {
        const std::string label = "launcher " + std::to_string(id) + " (" + toUtf8(record.name) + ")";
        if (record.hasEnded) {
            checkEnd(record, label);
            continue;
        }
        if (isSupervising(id)) {
            ++report.outcomes["supervises"];
            continue;
        }
        ++report.outcomes["waits for a platform that never serves its pipe"];
        if (!isAnyPlatformHanging()) {
            fail(label + " has not ended");
        }
    }
}

void Race::checkEnd(const LauncherRecord& ended, const std::string& label) {
    const std::uint64_t wait = ended.endTime - ended.arrival;
    if (!plan.isLockdown || !ended.hasStartedPlatform) {  // otherwise it has supervised
        report.longestWait = std::max(report.longestWait, wait);
        if (!canStall() && wait > longestAllowedWait()) {
            fail(label + " took " + std::to_string(wait) + " ms");
        }
    }
    const std::size_t deliveries = deliveriesOf(ended.name);
    if (ended.end.kind != simulation::EndKind::exited ||
        (ended.end.status != 0 && ended.end.status != scenarios::fatalStatus)) {
        fail(label + " ended with status " + std::to_string(ended.end.status));
    } else if (ended.end.status != 0) {
        checkFatalEnd(ended, label, deliveries);
    } else {
        ++report.outcomes["delivered"];
        if (deliveries != 1) {
            fail(label + " ended with 0 and its arguments were delivered " + std::to_string(deliveries) +
                 " times");
        }
    }
}

void Race::checkFatalEnd(const LauncherRecord& ended, const std::string& label, std::size_t deliveries) {
    ++report.outcomes[ended.fatalLine.empty() ? "fatal, and another launcher emptied its log"
                                              : ended.fatalLine.substr(0, 10)];
    if (deliveries != 0) {
        fail(label + " ended fatally, but its arguments were delivered");
    }
    if (ended.fatalLine.empty() && !ended.hasSharedLog) {
        fail(label + " ended fatally without a reason in its log");
    } else if (!ended.fatalLine.empty() && !isExpectedIn(ended.log, ended.fatalLine)) {
        fail(label + " ended for no reason that it had: " + ended.fatalLine);
    }
}

// Why `second` was started while the first platform ran.
Overlap Race::whyTogether(const PlatformRecord& first, const PlatformRecord& second) const {
    if (hasRestartedItself(second)) {
        const bool isOldPair = sharing.count(first.id) != 0 && sharing.count(second.starter) != 0;
        return isOldPair ? Overlap::consequence : Overlap::unexplained;
    }
    return second.isWithoutLock ? Overlap::lockTimeout
                                : explain(first, decisionOf(second.starter, second.createdOperation));
}

// Two platforms run at the same time only for one of the accepted reasons.
void Race::checkPlatforms() {
    std::vector<std::pair<simulation::ProcessId, const PlatformRecord*>> started;
    for (const auto& [id, record] : platforms) {
        started.emplace_back(id, &record);
    }
    std::sort(started.begin(), started.end(), [](const auto& a, const auto& b) {
        return a.second->createdOperation < b.second->createdOperation;
    });
    for (const auto& [secondId, second] : started) {
        std::set<simulation::ProcessId> together;
        for (const auto& [firstId, first] : started) {
            const bool isOverlap = first->createdOperation < second->createdOperation &&
                                   first->endedOperation >= second->createdOperation;
            if (!isOverlap) {
                continue;
            }
            if (hasRestartedItself(*second) && recordedIdOf(firstId) == recordedIdOf(secondId)) {
                together.insert(firstId);  // it stays until its end, and the pipe file is its successor's
                continue;
            }
            together.insert({firstId, secondId});
            const Overlap reason = whyTogether(*first, *second);
            ++report.overlaps[reason];
            if (reason == Overlap::unexplained) {
                fail("platform " + std::to_string(secondId) + " was started while " +
                     std::to_string(firstId) + " ran");
            }
        }
        sharing.merge(together);
    }
}

// Each text in a pipe is the whole list of one launcher, meant for this platform.
void Race::checkPayloads() {
    for (const auto& [id, record] : platforms) {
        for (const std::string& bytes : machine.pipePayloads(pipeNameOf(id))) {
            if (bytes.empty()) {
                continue;  // a client that connected and wrote nothing
            }
            const std::wstring text = pipeText(bytes);
            std::size_t names = 0;
            for (const auto& [launcherId, launcherRecord] : launchers) {
                names += countOccurrences(toUtf8(text), toUtf8(launcherRecord.name));
            }
            const bool isWhole = bytes.size() % 2 == 0 && text.find(L'\0') + 1 == text.size() &&
                                 text.starts_with(L"C:/Apps/framework/Client/") &&
                                 text.find(L"\n-vmargs\n") != std::wstring::npos;
            if (names != 1 || !isWhole) {
                fail("a payload is not one whole list: " + toUtf8(text));
            }
            const bool isForOther = text.find(L"\n-useDaemon\n" + std::to_wstring(recordedIdOf(id)) +
                                              L"\n") == std::wstring::npos;
            if (isForOther && report.overlaps.empty()) {
                fail("a payload has the process id of another platform: " + toUtf8(text));
            }
        }
    }
}

// The lock file and `.zel.main` name the last platform that a launcher has started. A restart may have
// blanked the lock file, and a supervisor without the lock could not write to it.
void Race::checkLockFiles() {
    const std::string lock = workspaceFile(L".zel.lock").value_or("");
    if (!isOwnerText(lock)) {
        fail("the lock file holds \"" + lock + "\"");
    }
    auto last = platforms.end();
    for (auto entry = platforms.begin(); entry != platforms.end(); ++entry) {
        const bool isLater =
            last == platforms.end() || entry->second.createdOperation > last->second.createdOperation;
        last = isLater && !hasRestartedItself(entry->second) ? entry : last;
    }
    if (last == platforms.end()) {
        return;
    }
    const std::string processId = std::to_string(last->first);
    const bool isBlank = lock.find_first_not_of(' ') == std::string::npos;
    const PlatformRecord* owner = last->second.isWithoutLock ? ownerBefore(never) : &last->second;
    const std::string ownerId = owner == nullptr ? "unknown" : std::to_string(owner->id);
    if (isBlank ? !isBlankBefore(never) : lock.substr(0, lock.find(' ')) != ownerId) {
        fail("the lock file holds \"" + lock + "\", and the last platform is " + processId);
    }
    if (workspaceFile(L".zel.main") != processId + "     ") {
        fail(".zel.main holds \"" + workspaceFile(L".zel.main").value_or("") +
             "\", and the last platform is " + processId);
    }
}

bool Race::hasCrashed(simulation::ProcessId id, const PlatformRecord& record) const {
    constexpr std::uint32_t orderly[] = {0, 23, 24};
    return record.endedOperation != never &&
           std::find(std::begin(orderly), std::end(orderly), machine.endOf(id).status) == std::end(orderly);
}

// One that has restarted itself is found in a list of processes, three seconds later. A supervisor that finds
// two watches one after the other.
bool Race::isSupervised(simulation::ProcessId id, const PlatformRecord& record) const {
    if (!plan.isLockdown || platforms.at(recordedIdOf(id)).starter == 0) {
        return false;
    }
    const auto isFound = [&](const simulation::Operation& operation) {
        return operation.index > record.createdOperation && operation.index <= record.endedOperation &&
               ((operation.name == "openProcess" && operation.numbers.at(0) == id) ||
                (operation.name == "processSnapshot" && !findsOther(operation, id)));
    };
    return !hasRestartedItself(record) ||
           std::any_of(machine.operations().begin(), machine.operations().end(), isFound);
}

// Whether the process that made this list watches another platform of it first.
bool Race::findsOther(const simulation::Operation& list, simulation::ProcessId id) const {
    const auto& operations = machine.operations();
    const auto next = std::find_if(operations.begin(), operations.end(), [&](const auto& later) {
        return later.process == list.process && later.index > list.index &&
               (later.name == "openProcess" || later.name == "processSnapshot");
    });
    return next != operations.end() && next->name == "openProcess" && next->numbers.at(0) != id;
}

// A platform that crashes while it is supervised leaves another one behind, or is followed by one.
void Race::checkDesktop() {
    for (const auto& [id, record] : platforms) {
        if (isSupervised(id, record) && hasCrashed(id, record)) {
            checkCrash(id, record);
        }
    }
}

// The platforms that the last of these launchers has started. A launcher that supervises starts several, one
// after the other, and keeps the log open while others open it too.
std::vector<Race::PlatformRecord> Race::platformsOf(const std::vector<simulation::ProcessId>& openers) const {
    std::vector<PlatformRecord> found;
    for (const auto& [id, record] : platforms) {
        const bool isOfAny = std::find(openers.begin(), openers.end(), record.starter) != openers.end();
        if (plan.isLockdown ? isOfAny : record.starter == openers.back()) {
            found.push_back(record);
        }
    }
    return found;
}

bool Race::hasEndedUnpublished(const PlatformRecord& record) {
    return record.endedOperation != never && record.publishedOperation == never;
}

// It ended while its launcher waited for the pipe file, and no other platform's was there.
bool Race::hasEndedUnseen(const PlatformRecord& record) const {
    constexpr std::uint64_t lastLook = pipeFileWait - 1'000;
    const std::uint64_t locked = decisionOf(record.starter, record.createdOperation).locked;
    const bool isOtherSeen = std::any_of(platforms.begin(), platforms.end(), [&](const auto& entry) {
        return entry.second.publishedOperation > locked && entry.second.publishedOperation != never;
    });
    return hasEndedUnpublished(record) && record.endedTime <= record.createdTime + lastLook && !isOtherSeen &&
           !record.isWithoutLock;
}

// A log says that the platform has ended if that happened to the platform of the last launcher that opened
// the log, and only then.
void Race::checkLogs() {
    const bool hasAnyEnded = std::any_of(platforms.begin(), platforms.end(),
                                         [](const auto& entry) { return hasEndedUnpublished(entry.second); });
    if (!hasAnyEnded) {
        return;
    }
    std::map<std::wstring, std::vector<simulation::ProcessId>> openers;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.name == "openStream" && isLauncherLog(operation.argument)) {
            openers[operation.argument].push_back(operation.process);
        }
    }
    for (const auto& [path, ids] : openers) {
        const std::vector<PlatformRecord> started = platformsOf(ids);
        const bool hasAnyEndedUnseen =
            std::any_of(started.begin(), started.end(),
                        [this](const PlatformRecord& record) { return hasEndedUnseen(record); });
        const std::string log = machine.readFile(path).value_or("");
        const bool isEndLogged = log.find("ZELLauncher> the platform's process ended ") != std::string::npos;
        report.endsInLogs += isEndLogged ? 1 : 0;
        // -dcommand_only opens the log without the lock, so a start in progress writes to the same log.
        const bool isShared = std::any_of(
            ids.begin(), ids.end(), [&](simulation::ProcessId id) { return launchers.at(id).isCommandOnly; });
        if (isEndLogged && !isShared && std::none_of(started.begin(), started.end(), hasEndedUnpublished)) {
            fail(toUtf8(path) + " says that a platform has ended, and that of its launcher has not");
        }
        if (!isEndLogged && ids.size() == 1 && !canStall() && hasAnyEndedUnseen) {
            fail(toUtf8(path) + " does not say that the platform has ended");
        }
    }
}

void Race::checkCrash(simulation::ProcessId id, const PlatformRecord& crashed) {
    std::uint64_t next = never;
    for (const auto& [otherId, other] : platforms) {
        if (other.createdOperation > crashed.endedOperation) {
            next = std::min(next, other.createdTime);
        } else if (other.endedOperation > crashed.endedOperation) {
            return;
        }
    }
    if (next == never || (!canStall() && next - crashed.endedTime > longestAllowedWait())) {
        fail("no platform ran after the crash of " + std::to_string(id));
    }
}

}  // namespace schedules
