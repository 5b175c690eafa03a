#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/sourced_text.h"

// The reasons of a start, for a tool that explains it. The launcher calls these functions where it reads or
// decides something. In the product they are nothing. On the simulated machine they add to the recording of
// the process (recording.h), if it has one; they never use the system interface.
#ifdef ZELLAUNCHER_SIMULATION
#define EXPLANATION(...) __VA_ARGS__
#else
#define EXPLANATION(...) \
    inline __VA_ARGS__ {}
#endif

namespace zellauncher {

enum class Subject {
    role,
    kind,
    identity,
    baseLocation,
    workspace,
    configurationDirectory,
    jvmRoot,
    jvmExecutable,
};

// How a start can end well.
enum class StartEnd { started, provisioned, handedOver, prepared, shellRole };

// While it lives, everything that is looked at belongs to this decision.
class Decision {
public:
#ifdef ZELLAUNCHER_SIMULATION
    explicit Decision(Subject decided);
    ~Decision();
    Decision(const Decision&) = delete;
    Decision& operator=(const Decision&) = delete;
    void made(const SourcedText& text);

private:
    std::size_t number = 0;
#else
    explicit Decision(Subject /*decided*/) {}
    void made(const SourcedText& /*text*/) const {}
#endif
};

// Something was looked at. A null value, or none, means that it is missing. For keys, see
// properties/lookup_explanation.h.
EXPLANATION(void explainFile(const std::wstring& /*path*/, bool /*exists*/));
EXPLANATION(void explainSemaphore(const std::wstring& /*name*/, bool /*exists*/));
EXPLANATION(void explainVariable(const std::wstring& /*name*/, const std::optional<std::wstring>& /*value*/));
EXPLANATION(void explainArgument(const std::wstring& /*option*/, const SourcedText* /*value*/));

// The text gets the source of the decision on the subject, of the last thing that was present, or of a file.
EXPLANATION(void takeSourceOfDecision(SourcedText& /*text*/, Subject /*subject*/));
EXPLANATION(void takeSourceOfReading(SourcedText& /*text*/));
EXPLANATION(void takeSourceOfFile(SourcedText& /*text*/, const std::wstring& /*path*/));

// The command begins again with its program, or has one more element at its end. The section of the
// elements that follow.
EXPLANATION(void explainSection(const char* /*name*/));
EXPLANATION(void explainProgram(const SourcedText& /*text*/, const std::wstring& /*command*/));
EXPLANATION(void explainElement(const SourcedText& /*text*/, const std::wstring& /*command*/));

// From here on, waiting is for this; without a limit, for ever.
EXPLANATION(void explainWait(const char* /*reason*/));
EXPLANATION(void explainWait(const char* /*reason*/, std::uint64_t /*limitMilliseconds*/));

EXPLANATION(void explainEnd(StartEnd /*end*/));
EXPLANATION(void explainLogLine(const std::string& /*bytes*/));
EXPLANATION(void explainLogFile(const std::wstring& /*path*/));
// The last log line says why the process ends.
EXPLANATION(void explainFatal());

// The user's zelinstall.properties; if it is made, its template, and each line of it, from a line of a copy
// of the template or from a value.
EXPLANATION(void explainUserProperties(const std::wstring& /*path*/));
EXPLANATION(void explainTemplate(const std::wstring& /*path*/));
EXPLANATION(void explainMadeLine(const FilePosition& /*copied*/));
EXPLANATION(void explainMadeLine(const SourcedText& /*value*/));

}  // namespace zellauncher

#undef EXPLANATION
