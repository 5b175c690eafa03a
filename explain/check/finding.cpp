#include "explain/check/finding.h"

#include "explain/encoding.h"

namespace explain {

Finding& addFinding(Findings& findings, const char* rule, Severity severity, const Place& place,
                    std::string text, std::string consequence, std::string remedy) {
    findings.push_back({rule,
                        severity,
                        toUtf8(place.file),
                        place.line,
                        std::move(text),
                        std::move(consequence),
                        std::move(remedy),
                        {}});
    return findings.back();
}

}  // namespace explain
