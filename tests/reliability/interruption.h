#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reliability/scenario.h"

namespace reliability {

// What happens after a stop. The powerFails ones end the platform, too, and lose what is not on the device.
enum class Aftermath {
    platformEnds,
    platformRunsOn,
    powerFails,                     // names as by a journal, old contents
    powerFailsWithZeros,            // zeros instead of what was written
    powerFailsWithOldNames,         // also names that were not forced are old
    powerFailsWithoutWriteThrough,  // also those that were moved with moveWriteThrough; with zeros
};

bool isPowerLost(Aftermath aftermath);
simulation::PowerLoss powerLossOf(Aftermath aftermath);

// A start that is stopped dead instead of performing its nth operation.
struct StopRun {
    std::uint64_t nth = 0;
    simulation::UnflushedData data = simulation::UnflushedData::lost;
    Aftermath aftermath = Aftermath::platformEnds;
};

// What a stop has interrupted or undone, judged by the operations of the same start without a stop. Paths are
// given by their endings, in backslashes.
class Interruption {
public:
    Interruption(const Performance& untouched, const StopRun& stop);

    // The file was being written. With a power loss also: it was written, and the operation that was stopped
    // would have flushed it.
    bool cutsFile(const std::wstring& ending) const;
    // The user's zelinstall.properties was being made from the template.
    bool cutsUserProperties() const;
    // The whole path of a copy that still had the attributes of its read-only original, or nothing. A power
    // failure leaves no other one, because it undoes no change of attributes on the simulated machine.
    std::wstring unfinishedCopy() const;
    // The configuration was moved away before.
    bool followsRenewal() const;
    // The file was copied out of the configuration for a renewal, and had not been moved back.
    bool keepsCopyOutside(const std::wstring& ending) const;
    // The file or directory was moved to this name to be deleted, and was still there.
    bool keepsMovedAside(const std::wstring& path) const;
    // A reset had begun to delete something, and had not moved the configuration away. With old names after a
    // power loss also: the deletion is undone.
    bool interruptsReset() const;
    // The file had been deleted, and the one that replaces it still had its other name.
    bool keepsReplacementAside(const std::wstring& ending) const;
    // The first write of this registry value was done, and the last was not.
    bool isBetweenRegistryWrites(const std::wstring& value) const;
    // A platform had been started and was not in the lock file.
    bool precedesRecord() const;

private:
    struct Step {
        std::uint64_t number = 0;  // counted from 1
        std::string name;
        std::wstring path;
        std::wstring target;
        bool writes = false;
    };

    template <typename Predicate>
    std::uint64_t firstAfter(std::uint64_t number, Predicate isMeant) const;
    template <typename Predicate>
    std::uint64_t lastUpTo(std::uint64_t number, Predicate isMeant) const;
    std::uint64_t sameFileAfter(std::uint64_t number, const char* name, const std::wstring& ending) const;
    bool isDone(std::uint64_t number) const { return number != 0 && number < stop.nth; }
    bool isBegun(const Step& step) const;
    bool losesNames() const;
    bool losesMoves() const;

    std::vector<Step> steps;
    StopRun stop;
};

}  // namespace reliability
