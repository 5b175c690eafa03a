#include "explain/page_writer.h"

#include <algorithm>
#include <optional>

#include "explain/catalogue.h"
#include "explain/check/findings_writer.h"
#include "explain/encoding.h"
#include "explain/file_tree.h"
#include "explain/html.h"
#include "explain/road_picture.h"
#include "explain/text_writer.h"

namespace explain {

// page/style.css and page/script.js.
extern const char* const pageStyle;
extern const char* const pageScript;

namespace {

constexpr int columnsOfWideRoad = 4;

std::string row(const std::string& left, const std::string& right, const std::string& style = "row") {
    return element("div", "class=\"" + style + "\" data-row",
                   element("div", "", left) + element("div", "", right));
}

std::string part(const std::string& title, const std::string& content, bool isOpen = true) {
    return element("details", std::string("class=\"part\"") + (isOpen ? " open" : ""),
                   element("summary", "", escaped(title)) + element("div", "class=\"inside\"", content));
}

std::string code(std::wstring_view text) {
    return element("code", "", escaped(text));
}

std::string place(const std::string& text) {
    return element("div", "class=\"place\"", escaped(text));
}

class PageWriter {
public:
    explicit PageWriter(const Explanation& toWrite) : explanation(toWrite) {}

    std::string write() const {
        return banner() + failure() + findings() + road() + assumptions() + decisions() + command() +
               environment() + part("Files", writeFileTree(explanation)) + waits() + log() + machine();
    }

private:
    const Explanation& explanation;

    std::string banner() const {
        std::string style = "banner";
        if (explanation.outcome == Outcome::refused) {
            style += explanation.status ? " refused" : " waiting";
        } else if (errorCount() > 0) {
            style += " waiting";
        }
        std::string content = element("h1", "", escaped(outcomeSentence(explanation)));
        if (explanation.message) {
            content += element("pre", "", escaped(*explanation.message));
        }
        std::wstring line;
        for (const std::wstring& argument : explanation.arguments) {
            line += (line.empty() ? L"" : L" ") + argument;
        }
        content += element("p", "class=\"mono\"", escaped(line));
        if (errorCount() > 0) {
            content += element("p", "",
                               "The install has " + std::to_string(errorCount()) +
                                   (errorCount() == 1 ? " error" : " errors") + ", listed below.");
        }
        return element("div", "class=\"" + style + "\"", content);
    }

    std::size_t errorCount() const {
        return static_cast<std::size_t>(
            std::count_if(explanation.findings.begin(), explanation.findings.end(),
                          [](const Finding& finding) { return finding.severity == Severity::error; }));
    }

    std::string failure() const {
        if (!explanation.failure) {
            return "";
        }
        const Failure& why = *explanation.failure;
        std::string list;
        if (!why.meaning.empty()) {
            list += element("dt", "", "What it means") + element("dd", "", escaped(why.meaning));
        }
        if (!why.causes.empty()) {
            std::string causes;
            for (const Failure::Cause& cause : why.causes) {
                causes += escaped(cause.text) + (cause.place ? place(placeText(*cause.place)) : "<br>");
            }
            list += element("dt", "", "The likely cause") + element("dd", "", causes);
        }
        if (!why.remedy.empty()) {
            list += element("dt", "", "What to do") + element("dd", "", escaped(why.remedy));
        }
        return element("section", "class=\"why\"",
                       element("h2", "", "Why it failed") + element("dl", "", list));
    }

    std::string findings() const {
        std::string rows;
        for (const Finding& finding : explanation.findings) {
            const std::string severity = nameOf(finding.severity);
            std::string right = element("span", "class=\"severity " + severity + "\"", severity) +
                                escaped(finding.text) + place(finding.consequence) + place(finding.remedy);
            rows += row(code(fromUtf8(findingPlace(finding))), right);
        }
        return rows.empty()
                   ? ""
                   : part("Mistakes in the install", element("div", "class=\"rows findings\"", rows));
    }

    std::string road() const {
        return element("section", "class=\"road\"",
                       element("h2", "", "The road of the start") +
                           element("div", "class=\"wide-road\"", drawRoad(explanation, columnsOfWideRoad)) +
                           element("div", "class=\"narrow\"", drawRoad(explanation, 1)));
    }

    std::string assumptions() const {
        if (explanation.assumptions.empty()) {
            return "";
        }
        std::string items;
        for (const std::string& assumption : explanation.assumptions) {
            items += element("li", "data-row", escaped(assumption));
        }
        return part("Assumed", element("ul", "", items));
    }

    std::string decisions() const {
        std::string rows;
        for (const Decision& decision : explanation.decisions) {
            std::string right = decision.value
                                    ? code(*decision.value) + place("from " + sourceText(decision.source))
                                    : std::string("undecided");
            std::string looked;
            for (const Considered& considered : decision.considered) {
                looked += element("li", "", escaped(consideredText(considered)));
            }
            right += looked.empty() ? "" : element("ul", "", looked);
            rows += row(escaped(subjectName(decision.subject)), right);
        }
        return part("Decisions", element("div", "class=\"rows\"", rows));
    }

    // The sections in the order of their first elements.
    std::vector<std::string> sections() const {
        std::vector<std::string> all;
        for (const Element& one : explanation.elements) {
            if (std::find(all.begin(), all.end(), one.section) == all.end()) {
                all.push_back(one.section);
            }
        }
        return all;
    }

    static std::string hueOf(const std::string& section, const std::vector<std::string>& all) {
        const auto index = std::find(all.begin(), all.end(), section) - all.begin();
        // Neighbours differ clearly.
        return "style=\"--hue:" + std::to_string(index * 137 % 360) + "\"";
    }

    std::string command() const {
        if (!explanation.command) {
            return "";
        }
        const std::vector<std::string> all = sections();
        std::string legend;
        for (const std::string& section : all) {
            legend += element("span", "", element("i", hueOf(section, all), "") + escaped(section));
        }
        std::string chips;
        std::string rows;
        for (const Element& one : explanation.elements) {
            const std::string source = sourceText(one.source);
            chips += element("span",
                             "class=\"element\" data-row " + hueOf(one.section, all) + " title=\"" +
                                 escaped(one.section + ": " + source) + "\"",
                             escaped(one.text)) +
                     " ";
            rows += row(escaped(one.section), code(one.text) + place(source));
        }
        const std::string title =
            explanation.role == Role::daemon ? "Command for the running platform" : "Command";
        return part(title, element("div", "class=\"legend\"", legend) +
                               element("div", "class=\"command mono\"", chips) +
                               element("details", "",
                                       element("summary", "", "Each element with its source") +
                                           element("div", "class=\"rows\"", rows)));
    }

    std::string environment() const {
        std::string rows;
        for (const auto& [name, value] : explanation.setVariables) {
            rows += row(code(name), code(value));
        }
        for (const std::wstring& name : explanation.unsetVariables) {
            rows += row(code(name), "removed");
        }
        return rows.empty() ? ""
                            : part("Environment of the platform", element("div", "class=\"rows\"", rows));
    }

    std::string waits() const {
        std::string rows;
        for (const Wait& wait : explanation.waits) {
            rows += row(escaped(waitTime(wait)), escaped("for " + wait.reason + ", " + waitLimit(wait)));
        }
        return part("Waits", rows.empty() ? "None." : element("div", "class=\"rows\"", rows));
    }

    std::string log() const {
        std::string rows;
        for (const std::string& line : explanation.log) {
            if (line.empty()) {
                continue;
            }
            const std::optional<MessageEntry> entry = lookUpMessage(line);
            const bool isFatal = explanation.message == line;
            rows += element(
                "div", std::string("class=\"row wide") + (isFatal ? " fatal" : "") + "\" data-row",
                element("code", "class=\"said\"", escaped(line)) + (entry ? place(entry->meaning) : ""));
        }
        const std::string path = explanation.logPath ? code(*explanation.logPath) : "No log file was opened.";
        return part("Log",
                    element("p", "class=\"place\"", path) + element("div", "class=\"rows log\"", rows));
    }

    std::string machine() const {
        std::string rows =
            row("user", code(explanation.user)) + row("install", code(explanation.installPath));
        for (const auto& [name, value] : explanation.environment) {
            rows += row(code(name), code(value));
        }
        return part("The machine", element("div", "class=\"rows\"", rows), false);
    }
};

}  // namespace

std::string writePage(const std::vector<Explanation>& starts) {
    std::string content;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        if (starts.size() > 1) {
            content +=
                element("h2", "", "Start " + std::to_string(i + 1) + " of " + std::to_string(starts.size()));
        }
        content += PageWriter(starts[i]).write();
    }
    const std::string tools = element("div", "class=\"tools\" hidden",
                                      "<input id=\"search\" type=\"search\" placeholder=\"Search this page\" "
                                      "aria-label=\"Search this page\">"
                                      "<output id=\"count\"></output>"
                                      "<button id=\"unfold\" type=\"button\">Unfold all</button>"
                                      "<button id=\"fold\" type=\"button\">Fold all</button>");
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
           element("title", "", escaped("zelexplain: " + outcomeSentence(starts.back()))) +
           element("style", "", pageStyle) + "\n</head>\n<body>\n" + tools + element("main", "", content) +
           element("script", "", pageScript) + "\n</body>\n</html>\n";
}

}  // namespace explain
