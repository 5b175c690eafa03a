#pragma once

#include <memory>
#include <string>
#include <vector>

#include "explain/explanation.h"
#include "explain/launcher_run.h"
#include "explain/origins.h"

namespace explain {

// What the launcher recorded of its reasons, as an explanation has it.
class Reasons {
public:
    Reasons(const StartOptions& options, const LauncherRun& launcherRun, Origins originsOfUserFile);

    std::vector<Decision> decisions() const;
    std::vector<Element> elements() const;
    std::vector<Wait> waits() const;
    Role role() const;

    ValueSource describe(const zellauncher::Source& source) const;
    // As a source's file: relative to INSTALL with forward slashes, or a Windows path.
    std::wstring fileName(const std::wstring& path) const;

private:
    const std::wstring installPath;
    const LauncherRun& run;
    const Origins origins;

    ValueSource describe(const std::shared_ptr<const zellauncher::Source>& source) const;
    std::wstring optionOf(const zellauncher::Source& argument) const;
    Decision describe(const zellauncher::RecordedDecision& decision) const;
    std::optional<std::size_t> winnerOf(const zellauncher::RecordedDecision& decision) const;
    std::optional<std::wstring> valueOf(const zellauncher::RecordedDecision& decision) const;
    bool isDecided(zellauncher::Subject subject) const;
};

}  // namespace explain
