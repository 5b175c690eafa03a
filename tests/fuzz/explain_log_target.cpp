#include "explain/log/log_reading.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"

// The input is a log. Whatever it is, it is read or has a fault, and an outcome has its status.
namespace fuzz {

void runInput(const std::string& bytes) {
    const explain::LogResult result = explain::readLog(bytes);
    const explain::LogReading& reading = result.reading;
    if (result.fault != explain::LogFault::none) {
        expect(!reading.message && reading.elements.empty(), "a log with a fault was read");
        return;
    }
    const bool isUnfinished = reading.outcome == explain::LogOutcome::unfinished;
    expect(reading.status.has_value() != isUnfinished || reading.message.has_value(),
           "the status does not belong to the outcome");
    expect(reading.message.has_value() == reading.entry.has_value(), "a message without an entry");
    const bool isRefused = reading.outcome == explain::LogOutcome::refused;
    expect(!isRefused || reading.message.has_value(), "refused without a message");
}

}  // namespace fuzz
