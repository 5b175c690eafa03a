#include <algorithm>

#include "schedules/race.h"

// What must hold at the end of a race.
namespace schedules {

namespace {

constexpr std::uint64_t endpointWait = 15'000;

std::size_t countOf(const std::wstring& text, const std::wstring& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::wstring::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::wstring wideText(const std::string& bytes) {
    std::wstring text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) +
                                     static_cast<unsigned char>(bytes[i + 1]) * 256);
    }
    return text;
}

std::string narrowText(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

// `ZLNCH0142E: ...` and the like, but for the errors after which a start goes on.
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

// A number and blanks, blanks alone, or nothing.
bool isOwnerRecord(const std::string& content) {
    const std::size_t digits = content.find_first_not_of("0123456789");
    return content.find_first_not_of(' ', digits == std::string::npos ? content.size() : digits) ==
               std::string::npos &&
           (digits != std::string::npos || content.empty());
}

}  // namespace

void Race::fail(const std::string& text) {
    report.violations.push_back(text);
}

// The line that says why this launcher ended, in the log that it opened. Logs of one name are shared:
// who opens one empties it, also while another launcher still writes to it.
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
    std::string line;
    for (const char byte : logAt(logOf[id]) + "\n") {
        if (byte != '\n') {
            line += byte;
            continue;
        }
        if (isFatalLine(line)) {
            ended.fatalLine = line;
        }
        line.clear();
    }
}

int Race::deliveriesOf(const std::wstring& word) const {
    std::size_t count = 0;
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        if (platforms.count(child.id) != 0) {
            count += countOf(child.commandLine, word);
        }
    }
    for (const auto& [id, record] : platforms) {
        for (const std::string& bytes : machine.pipePayloads(pipeNameOf(id))) {
            count += countOf(wideText(bytes), word);
        }
    }
    return static_cast<int>(count);
}

// Each launcher in front holds the lock until its platform has published, for 15 seconds at the most; a
// restart waits 20 seconds before that, and the lock is asked for once a second. Who was told to wait
// for its platform sees the end of it.
std::uint64_t Race::longestHonestWait() const {
    std::uint64_t longest = 22'000;
    for (const auto& [id, record] : platforms) {
        longest += endpointWait + 1'000;
        const bool isAnyWaiting =
            std::any_of(plan.launchers.begin(), plan.launchers.end(), [](const auto& launcherPlan) {
                return std::find(launcherPlan.words.begin(), launcherPlan.words.end(), L"-zelLauncherWait") !=
                       launcherPlan.words.end();
            });
        if (isAnyWaiting) {
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

// Every argument list went to a platform, once, or its launcher said why not. Nobody waits for ever,
// but behind a platform that lets nobody in.
void Race::checkLaunchers() {
    for (const auto& [id, record] : launchers) {
        const std::string who = "launcher " + std::to_string(id) + " (" + narrowText(record.word) + ")";
        if (record.hasEnded) {
            checkEnd(record, who);
            continue;
        }
        ++report.outcomes["waits behind a platform that lets nobody in"];
        if (!isAnyPlatformHanging()) {
            fail(who + " has not ended");
        }
    }
}

void Race::checkEnd(const LauncherRecord& ended, const std::string& who) {
    const std::uint64_t wait = ended.endTime - ended.arrival;
    report.longestWait = std::max(report.longestWait, wait);
    if (!mayAnybodyStall() && wait > longestHonestWait()) {
        fail(who + " took " + std::to_string(wait) + " ms");
    }
    const int deliveries = deliveriesOf(ended.word);
    if (ended.end.kind != simulation::EndKind::exited ||
        (ended.end.status != 0 && ended.end.status != scenarios::fatalStatus)) {
        fail(who + " ended with the status " + std::to_string(ended.end.status));
    } else if (ended.end.status != 0) {
        checkFatalEnd(ended, who, deliveries);
    } else {
        ++report.outcomes["delivered"];
        if (deliveries != 1) {
            fail(who + " ended well and its arguments were delivered " + std::to_string(deliveries) +
                 " times");
        }
    }
}

void Race::checkFatalEnd(const LauncherRecord& ended, const std::string& who, int deliveries) {
    ++report.outcomes[ended.fatalLine.empty() ? "fatal, and another launcher emptied its log"
                                              : ended.fatalLine.substr(0, 10)];
    if (deliveries != 0) {
        fail(who + " ended fatally, and its arguments were delivered all the same");
    }
    if (ended.fatalLine.find("error 231") != std::string::npos) {
        fail(who + " met another launcher at the pipe: " + ended.fatalLine);
    }
    if (ended.fatalLine.empty() && !ended.hasSharedLog) {
        fail(who + " ended fatally without a line in its log that says why");
    }
}

bool Race::isSlow(const PlatformRecord& record) const {
    return record.publishedTime == never || record.publishedTime >= record.createdTime + endpointWait;
}

// Its launcher gave up the lock before this platform published.
bool Race::isNoLongerWaitedFor(const PlatformRecord& record) const {
    return isSlow(record) || foundLateEndpoint(record) || (mayAnybodyStall() && foundHeldEndpoint(record));
}

// A platform that the lock no longer waited for published between the moment at which this one's
// launcher got the lock and the one at which this one published: the launcher saw an endpoint, and the
// lock no longer waits for this one either.
bool Race::foundLateEndpoint(const PlatformRecord& record) const {
    std::uint64_t locked = 0;
    for (const simulation::Operation& operation : machine.operations()) {
        const bool isLast = operation.process == record.launcher && operation.name == "lockStream" &&
                            operation.index < record.createdOperation;
        locked = isLast ? operation.index : locked;
    }
    return std::any_of(platforms.begin(), platforms.end(), [&](const auto& entry) {
        const PlatformRecord& other = entry.second;
        return other.publishedOperation > locked && other.publishedOperation < record.publishedOperation &&
               isNoLongerWaitedFor(other);
    });
}

// Somebody else had the endpoint open at this one's launcher's last attempt to move it away.
bool Race::foundHeldEndpoint(const PlatformRecord& record) const {
    std::set<simulation::ProcessId> readers;
    bool isHeld = false;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.index >= record.createdOperation) {
            break;
        }
        const bool isOfEndpoint = operation.argument.ends_with(L"\\.pipe");
        if (operation.name == "openStream" && isOfEndpoint) {
            readers.insert(operation.process);
        } else if (operation.name == "closeStream" && operation.argument == L".pipe") {
            readers.erase(operation.process);
        } else if (operation.name == "moveFile" && isOfEndpoint && operation.process == record.launcher) {
            isHeld = !readers.empty();
        }
    }
    return isHeld;
}

bool Race::mayAnybodyStall() const {
    return plan.switching.stallOneIn != 0 || plan.stall;
}

// Why `second` was started while `first` ran.
Overlap Race::explain(const PlatformRecord& first, const PlatformRecord& second) const {
    if (isSlow(first)) {
        return Overlap::slowPlatform;
    }
    if (foundLateEndpoint(first)) {
        return Overlap::lateEndpoint;
    }
    if (foundHeldEndpoint(first) && mayAnybodyStall()) {
        return Overlap::heldEndpoint;
    }
    std::set<simulation::ProcessId> haveLocked;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.index >= second.createdOperation) {
            break;
        }
        if (operation.name == "lockStream") {
            haveLocked.insert(operation.process);
        }
        const bool isBlanking = operation.index > first.createdOperation && operation.name == "writeStream" &&
                                operation.argument == L".zel.lock" &&
                                haveLocked.count(operation.process) == 0;
        if (isBlanking) {
            return Overlap::recordBlanked;
        }
        const bool isEarlyReading = operation.name == "openStream" && operation.process == second.launcher &&
                                    operation.argument.ends_with(L"\\.pipe") &&
                                    operation.index <= first.publishedOperation;
        if (isEarlyReading && first.plan.publishing == Publishing::inTwoSteps) {
            return Overlap::tornEndpoint;
        }
        if (isEarlyReading && launchers.at(second.launcher).isRestart) {
            return Overlap::rememberedName;
        }
    }
    return Overlap::notAccepted;
}

// Never two platforms at the same time, but for the accepted reasons.
void Race::checkPlatforms() {
    std::vector<std::pair<simulation::ProcessId, const PlatformRecord*>> started;
    for (const auto& [id, record] : platforms) {
        started.emplace_back(id, &record);
    }
    std::sort(started.begin(), started.end(), [](const auto& a, const auto& b) {
        return a.second->createdOperation < b.second->createdOperation;
    });
    std::set<simulation::ProcessId> sharing;
    for (const auto& [secondId, second] : started) {
        std::set<simulation::ProcessId> together;
        for (const auto& [firstId, first] : started) {
            const bool isOverlap = first->createdOperation < second->createdOperation &&
                                   first->endedOperation >= second->createdOperation;
            if (!isOverlap) {
                continue;
            }
            together.insert({firstId, secondId});
            Overlap reason = explain(*first, *second);
            if (reason == Overlap::notAccepted && sharing.count(firstId) != 0) {
                reason = Overlap::consequence;
            }
            ++report.overlaps[reason];
            if (reason == Overlap::notAccepted) {
                fail("platform " + std::to_string(secondId) + " was started while " +
                     std::to_string(firstId) + " ran");
            }
        }
        sharing.merge(together);
    }
}

// Each text that came through a pipe is one whole list of one launcher, meant for this platform.
void Race::checkPayloads() {
    for (const auto& [id, record] : platforms) {
        for (const std::string& bytes : machine.pipePayloads(pipeNameOf(id))) {
            if (bytes.empty()) {
                continue;  // a client that found nobody to write to
            }
            const std::wstring text = wideText(bytes);
            std::size_t words = 0;
            for (const auto& [launcherId, launcherRecord] : launchers) {
                words += countOf(text, launcherRecord.word);
            }
            const bool isWhole = bytes.size() % 2 == 0 && text.find(L'\0') + 1 == text.size() &&
                                 text.starts_with(L"C:/Apps/framework/Client/") &&
                                 text.find(L"\n-vmargs\n") != std::wstring::npos;
            if (words != 1 || !isWhole) {
                fail("a mixed payload: " + narrowText(text));
            }
            const bool isForOther =
                text.find(L"\n-useDaemon\n" + std::to_wstring(id) + L"\n") == std::wstring::npos;
            if (isForOther && report.overlaps.empty()) {
                fail("a payload with the number of another platform: " + narrowText(text));
            }
        }
    }
}

// The lock file holds a record, and the last platform is the one that is recorded.
void Race::checkRecords() {
    const std::string lock = workspaceFile(L".zel.lock").value_or("");
    if (!isOwnerRecord(lock)) {
        fail("the lock file holds \"" + lock + "\"");
    }
    const auto last = std::max_element(platforms.begin(), platforms.end(), [](const auto& a, const auto& b) {
        return a.second.createdOperation < b.second.createdOperation;
    });
    if (last == platforms.end()) {
        return;
    }
    const std::string number = std::to_string(last->first);
    if (lock.find_first_not_of(' ') != std::string::npos && lock.substr(0, lock.find(' ')) != number) {
        fail("the lock file holds \"" + lock + "\", and the last platform is " + number);
    }
    if (workspaceFile(L".zel.main") != number + "     ") {
        fail(".zel.main holds \"" + workspaceFile(L".zel.main").value_or("") +
             "\", and the last platform is " + number);
    }
}

}  // namespace schedules
