#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "explain/catalogue.h"

namespace explain {

enum class LogOutcome {
    started,
    provisioned,
    handedOver,
    prepared,
    refused,
    unfinished,  // the launcher still runs, was ended from outside, or took the shell role on a kiosk
};

// What one log of the launcher says. UTF-8.
struct LogReading {
    LogOutcome outcome = LogOutcome::unfinished;
    std::optional<std::int32_t> status;  // nothing if unfinished
    std::optional<std::string> message;  // the line that says why the start ended
    std::optional<MessageEntry> entry;   // of the catalogue
    std::string arguments;               // as logged
    std::optional<std::string> command;  // of the platform or the provisioning run
    std::vector<std::string> elements;
    std::optional<std::string> locked;  // times as logged
    std::optional<std::string> released;
    std::optional<std::int64_t> heldMilliseconds;
    std::vector<std::string> hints;  // what a person should look at although the status is 0
};

// Why a file is not read.
enum class LogFault { none, empty, utf16, foreign, damaged, cut };

struct LogResult {
    LogFault fault = LogFault::none;
    LogReading reading;  // without a fault
};

// Reads the bytes of a log; any bytes may be given.
LogResult readLog(std::string_view bytes);

const char* nameOf(LogOutcome outcome);
const char* describe(LogFault fault);

}  // namespace explain
