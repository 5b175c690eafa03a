#include "explain/check/findings_json.h"

#include "explain/check/findings_writer.h"

namespace explain {

nlohmann::ordered_json findingsJson(const Findings& findings) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        all.push_back({{"rule", finding.rule},
                       {"severity", nameOf(finding.severity)},
                       {"file", finding.file},
                       {"line", finding.line == 0 ? nlohmann::ordered_json(nullptr)
                                                  : nlohmann::ordered_json(finding.line)},
                       {"text", finding.text},
                       {"consequence", finding.consequence},
                       {"remedy", finding.remedy}});
    }
    return all;
}

}  // namespace explain
