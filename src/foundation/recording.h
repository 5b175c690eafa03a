#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/explanation.h"
#include "platform/process_wide.h"

// What a process recorded of its reasons. Only on the simulated machine.
namespace zellauncher {

// Something that the launcher looked at.
struct Reading {
    enum class Result {
        present,
        missing,
        overridden,  // another source of the same value won, so it was not even looked at
    };

    Result result = Result::present;
    Source place;       // of a missing key, the path is that of the list's first file
    SourcedText value;  // of a key, an argument or a variable
};

struct RecordedDecision {
    Subject subject = Subject::role;
    std::optional<SourcedText> value;  // nothing if the process ended first
    std::size_t firstReading = 0;      // its readings are [firstReading, endReading)
    std::size_t endReading = 0;
};

// One element of the command.
struct RecordedElement {
    std::wstring text;  // as it appears in the command
    std::string section;
    std::shared_ptr<const Source> source;  // null for a text of the launcher's own
};

// From `begin` on, the launcher may wait for this.
struct RecordedWait {
    std::string reason;
    std::optional<std::uint64_t> limitMilliseconds;
    std::uint64_t begin = 0;
};

struct Recording {
    Recording(std::function<std::uint64_t()> millisecondClock, std::function<std::size_t()> operationCount)
        : clock(std::move(millisecondClock)), operations(std::move(operationCount)) {}

    std::vector<Reading> readings;
    std::vector<RecordedDecision> decisions;
    std::vector<RecordedElement> elements;
    std::vector<RecordedWait> waits;
    std::vector<std::string> logLines;     // their bytes; also those that no file got
    std::optional<std::size_t> fatalLine;  // the one of them that says why the process ended
    std::size_t fatalOperation = 0;        // how many operations there were until then
    std::size_t fatalReading = SIZE_MAX;   // how many readings there were until then
    std::wstring logPath;                  // empty without a log file
    std::optional<StartEnd> end;
    // The user's zelinstall.properties; if this process made it, also the source of each line.
    std::wstring userProperties;
    std::wstring templateFile;
    std::vector<std::shared_ptr<const Source>> madeLines;

    std::function<std::uint64_t()> clock;
    std::function<std::size_t()> operations;
    std::string section;
    std::size_t commandLength = 0;
};

// The recording of this process; without one, nothing is recorded.
extern PROCESS_WIDE Recording* recording;

}  // namespace zellauncher
