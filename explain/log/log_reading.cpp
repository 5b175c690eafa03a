#include "explain/log/log_reading.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <set>

#include "explain/encoding.h"
#include "simulation/command_line.h"

namespace explain {

namespace {

constexpr std::string_view argumentsLine = "ZLNCH0030I: zellauncher wmain arguments=\"";
constexpr std::string_view versionLine = "ZLNCH0031I:   version = \"";
constexpr std::string_view capturedLine = "ZLNCH0303I: lock file captured @ ";
constexpr std::string_view releasedLine = "ZLNCH0306I: lock file released @ ";
constexpr std::string_view mainLine = "ZLNCH0304I: We are main process";
constexpr std::string_view daemonLine = "ZLNCH0305I: We are daemon process";
constexpr std::string_view commandLine = "ZLNCH0072I: Command = '";
constexpr std::string_view provisioningLine = "ZLNCH0073I: Provisioning Command = '";
constexpr std::string_view unlockFailedLine = "ZLNCH0070E";
constexpr std::string_view listBegin = "ZLNCH0107E begin";
constexpr std::string_view listEnd = "ZLNCH0108E end";
constexpr std::string_view noFramework = "ZELLauncher> no framework";
constexpr std::int32_t accessViolation = -1073741819;
constexpr std::int64_t pipeWaitMilliseconds = 15'000;
constexpr std::size_t searchedLines = 200;  // for a message that says whose log it is

std::vector<std::string_view> linesOf(std::string_view bytes) {
    std::vector<std::string_view> lines;
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\n', begin), bytes.size());
        std::string_view line = bytes.substr(begin, end - begin);
        while (line.ends_with('\r')) {  // the system's text for an error brings one of its own
            line.remove_suffix(1);
        }
        lines.push_back(line);
        begin = end + 1;
    }
    return lines;
}

bool mayBeMessage(std::string_view line) {
    return line.starts_with("ZLNCH") || line.starts_with("ZELL") || line.starts_with("CreateProcessW");
}

// The first letters of the messages that end a start. A log with -debug has thousands of other lines.
bool mayEndAStart(std::string_view line) {
    constexpr std::size_t length = 10;
    static const std::set<std::string, std::less<>> beginnings = [] {
        std::set<std::string, std::less<>> all;
        for (const MessageEntry& entry : messageEntries()) {
            if (entry.kind == MessageEntry::Kind::fatal) {
                all.insert(entry.text.substr(0, length));
            }
        }
        return all;
    }();
    return beginnings.find(line.substr(0, length)) != beginnings.end();
}

bool hasMessage(const std::vector<std::string_view>& lines) {
    const std::size_t count = std::min(lines.size(), searchedLines);
    return std::any_of(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count),
                       [](std::string_view line) {
                           return mayBeMessage(line) && lookUpMessage(std::string(line)).has_value();
                       });
}

LogFault faultOf(std::string_view bytes, const std::vector<std::string_view>& lines) {
    if (bytes.empty()) {
        return LogFault::empty;
    }
    if (isUtf16(bytes)) {
        return LogFault::utf16;
    }
    const std::string_view first = lines.front();
    if (!first.starts_with(argumentsLine) && !first.starts_with(versionLine)) {
        return hasMessage(lines) ? LogFault::damaged : LogFault::foreign;
    }
    if (bytes.find('\0') != std::string_view::npos) {
        return LogFault::damaged;
    }
    return bytes.ends_with('\n') ? LogFault::none : LogFault::cut;
}

// Milliseconds since the epoch of `20260131_235959_007`, as if it were UTC; nothing for another text.
std::optional<std::int64_t> timeOf(const std::string& text) {
    constexpr std::size_t length = 19;
    const auto number = [&](std::size_t begin, std::size_t count) {
        int value = 0;
        for (std::size_t i = begin; i < begin + count; ++i) {
            if (text[i] < '0' || text[i] > '9') {
                return -1;
            }
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    if (text.size() != length || text[8] != '_' || text[15] != '_') {
        return std::nullopt;
    }
    const std::array<int, 7> parts = {number(0, 4),  number(4, 2),  number(6, 2), number(9, 2),
                                      number(11, 2), number(13, 2), number(16, 3)};
    if (std::any_of(parts.begin(), parts.end(), [](int part) { return part < 0; })) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(parts[0]),
                                           std::chrono::month(static_cast<unsigned>(parts[1])),
                                           std::chrono::day(static_cast<unsigned>(parts[2]))};
    if (!date.ok()) {
        return std::nullopt;
    }
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    const std::int64_t seconds = ((days * 24 + parts[3]) * 60 + parts[4]) * 60 + parts[5];
    return seconds * 1000 + parts[6];
}

class LogReader {
public:
    explicit LogReader(const std::vector<std::string_view>& allLines) : lines(allLines) {}

    LogReading run() {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            read(lines[i], i + 1 < lines.size() ? lines[i + 1] : std::string_view());
        }
        settleOutcome();
        addHints();
        return std::move(reading);
    }

private:
    const std::vector<std::string_view>& lines;
    LogReading reading;
    bool isMain = false;
    bool isDaemon = false;
    bool isProvisioning = false;
    bool isReleased = false;  // after the command, or the last step before it

    void read(std::string_view line, std::string_view next) {
        if (line.starts_with(argumentsLine)) {
            readArguments(line);
        } else if (line.starts_with(capturedLine)) {
            reading.locked = logLineToUtf8(line.substr(capturedLine.size()));
        } else if (line.starts_with(releasedLine)) {
            isReleased = true;
            if (!reading.released) {
                reading.released = logLineToUtf8(line.substr(releasedLine.size()));
            }
        } else if (line == mainLine) {
            isMain = true;
        } else if (line == daemonLine) {
            isDaemon = true;
        } else if (line.starts_with(commandLine)) {
            readCommand(line.substr(commandLine.size()));
        } else if (line.starts_with(provisioningLine)) {
            isProvisioning = true;
            readCommand(line.substr(provisioningLine.size()));
        } else if (mayEndAStart(line)) {
            readMessage(line, next);
        }
    }

    void readArguments(std::string_view line) {
        reading.arguments = logLineToUtf8(line.substr(argumentsLine.size()));
        if (reading.arguments.ends_with(", ")) {
            reading.arguments.resize(reading.arguments.size() - 2);
        }
    }

    // A supervised platform is started again and again; its first command is the start's.
    void readCommand(std::string_view rest) {
        if (reading.command) {
            return;
        }
        if (rest.ends_with('\'')) {
            rest.remove_suffix(1);
        }
        reading.command = logLineToUtf8(rest);
        for (const std::wstring& element : simulation::splitCommandLine(fromUtf8(*reading.command))) {
            reading.elements.push_back(toUtf8(element));
        }
    }

    // The system's text for an error ends its line, so a message that has words after it goes on in the next.
    void readMessage(std::string_view line, std::string_view next) {
        const bool isEndOfList =
            line.starts_with(listEnd) && reading.message && reading.message->starts_with(listBegin);
        if (isEndOfList) {
            return;
        }
        std::string text = logLineToUtf8(line);
        std::optional<MessageEntry> entry = lookUpMessage(text);
        if (!entry) {
            text += "\n" + logLineToUtf8(next);
            entry = lookUpMessage(text);
        }
        if (entry && entry->kind == MessageEntry::Kind::fatal) {
            reading.message = std::move(text);
            reading.entry = std::move(entry);
        }
    }

    LogOutcome outcomeWithoutFailure() const {
        if (isReleased && isProvisioning) {
            return LogOutcome::provisioned;
        }
        if (isReleased && isDaemon) {
            return LogOutcome::handedOver;
        }
        if (isReleased && (isMain || reading.command)) {
            return LogOutcome::started;
        }
        const std::string padded = ", " + reading.arguments + ", ";
        const bool isPreparation = padded.find(", -zelLauncherWait, ") != std::string::npos &&
                                   padded.find(", -provManifest, ") != std::string::npos;
        return isPreparation && !reading.command && isMain ? LogOutcome::prepared : LogOutcome::unfinished;
    }

    void settleOutcome() {
        if (!reading.message) {
            reading.outcome = outcomeWithoutFailure();
            if (reading.outcome != LogOutcome::unfinished) {
                reading.status = 0;
            }
            return;
        }
        reading.status = reading.message->starts_with(noFramework) ? accessViolation : -1;
        reading.outcome = LogOutcome::refused;
        if (reading.message->starts_with(unlockFailedLine)) {
            // By then the work was done.
            isReleased = true;
            reading.outcome = outcomeWithoutFailure();
        }
    }

    void addHints() {
        if (reading.locked && reading.released) {
            const auto begin = timeOf(*reading.locked);
            const auto end = timeOf(*reading.released);
            if (begin && end) {
                reading.heldMilliseconds = *end - *begin;
            }
        }
        const bool isWithoutPipe = reading.outcome == LogOutcome::started && reading.heldMilliseconds &&
                                   *reading.heldMilliseconds >= pipeWaitMilliseconds;
        if (isWithoutPipe) {
            reading.hints.emplace_back(
                "The launcher waited 15 seconds for the platform's .pipe in vain: the platform probably did "
                "not "
                "come up. Look for the JVM, launcher.jar, the native library and the framework's log in "
                ".config.");
        }
        if (reading.outcome == LogOutcome::started && !reading.command) {
            reading.hints.emplace_back(
                "The command is too long for the log, so this may have been a provisioning run.");
        }
    }
};

}  // namespace

LogResult readLog(std::string_view bytes) {
    const std::vector<std::string_view> lines = linesOf(bytes);
    LogResult result;
    result.fault = faultOf(bytes, lines);
    if (result.fault == LogFault::none) {
        result.reading = LogReader(lines).run();
    }
    return result;
}

const char* nameOf(LogOutcome outcome) {
    switch (outcome) {
        case LogOutcome::started:
            return "started";
        case LogOutcome::provisioned:
            return "provisioned";
        case LogOutcome::handedOver:
            return "handedOver";
        case LogOutcome::prepared:
            return "prepared";
        case LogOutcome::refused:
            return "refused";
        case LogOutcome::unfinished:
            break;
    }
    return "unfinished";
}

const char* describe(LogFault fault) {
    switch (fault) {
        case LogFault::empty:
            return "empty";
        case LogFault::utf16:
            return "UTF-16, which the launcher does not write";
        case LogFault::foreign:
            return "no log of the launcher";
        case LogFault::damaged:
            return "damaged: its beginning is missing, or it has NUL bytes";
        case LogFault::cut:
            return "cut: its last line does not end";
        case LogFault::none:
            break;
    }
    return "read";
}

}  // namespace explain
