#include "explain/road_picture.h"

#include <algorithm>
#include <vector>

#include "explain/encoding.h"
#include "explain/html.h"
#include "explain/text_writer.h"

namespace explain {

namespace {

constexpr int boxWidth = 268;
constexpr int boxHeight = 66;
constexpr int columnWidth = 304;
constexpr int rowHeight = 104;
constexpr int margin = 18;
constexpr std::size_t mostLetters = 36;
constexpr std::size_t mostSmallLetters = 42;

struct Station {
    std::string title;
    std::string value;
    std::string source;
    std::string style;
    bool isReached = true;
};

// The decisions of a start that goes all the way, in their order.
constexpr const char* allSubjects[] = {"kind",      "identity",     "baseLocation",
                                       "workspace", "role",         "configurationDirectory",
                                       "jvmRoot",   "jvmExecutable"};

const char* styleOfEnd(const Explanation& explanation) {
    if (explanation.outcome != Outcome::refused) {
        return "good";
    }
    return explanation.status ? "refused" : "waiting";
}

std::string endTitle(const Explanation& explanation) {
    switch (explanation.outcome) {
        case Outcome::started:
            return "The platform starts";
        case Outcome::provisioned:
            return "Provisioning ran";
        case Outcome::handedOver:
            return "Handed over";
        case Outcome::prepared:
            return "The user is prepared";
        case Outcome::shellRole:
            return "A desktop instead";
        case Outcome::refused:
            break;
    }
    return explanation.status ? "The start ends here" : "Waits without limit";
}

Station stationOf(const char* subject, const Explanation& explanation) {
    Station station;
    station.title = subjectName(subject);
    const auto decision =
        std::find_if(explanation.decisions.begin(), explanation.decisions.end(),
                     [&](const Decision& candidate) { return candidate.subject == subject; });
    station.isReached = decision != explanation.decisions.end() && decision->value;
    if (station.isReached) {
        station.value = toUtf8(*decision->value);
        station.source = "from " + sourceText(decision->source);
    } else {
        station.value = "not reached";
    }
    return station;
}

Station endStation(const Explanation& explanation) {
    Station station;
    station.title = endTitle(explanation);
    station.value = explanation.message.value_or("");
    station.source = explanation.status ? "status " + std::to_string(*explanation.status) : "";
    station.style = styleOfEnd(explanation);
    return station;
}

std::string countOf(std::size_t count, const char* one, const char* several) {
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

std::vector<Station> stationsOf(const Explanation& explanation) {
    std::vector<Station> all;
    all.push_back(
        {"zellauncher", countOf(explanation.arguments.size() - 1, "argument", "arguments"), "", "", true});
    std::vector<Station> missed;
    for (const char* subject : allSubjects) {
        Station station = stationOf(subject, explanation);
        (station.isReached ? all : missed).push_back(station);
    }
    if (!explanation.files.empty() || !explanation.madeDirectories.empty()) {
        all.push_back({"files", countOf(explanation.files.size(), "file changes", "files change"),
                       countOf(explanation.madeDirectories.size(), "new directory", "new directories"), "",
                       true});
    }
    Station command = {"command", countOf(explanation.elements.size(), "element", "elements"), "", "",
                       explanation.command.has_value()};
    if (command.isReached) {
        all.push_back(command);
    } else {
        command.value = "not reached";
        missed.push_back(command);
    }
    all.push_back(endStation(explanation));
    all.insert(all.end(), missed.begin(), missed.end());
    return all;
}

// The end of a source says most: the file's name, the line and the key.
std::string endOf(const std::string& text, std::size_t most) {
    const std::wstring units = fromUtf8(text);
    return units.size() <= most ? text : toUtf8(L"\u2026" + units.substr(units.size() - most + 1));
}

class Picture {
public:
    Picture(std::vector<Station> allStations, int columnCount)
        : stations(std::move(allStations)), columns(columnCount) {}

    std::string draw(const std::string& title) const {
        const auto count = static_cast<int>(stations.size());
        const int rows = (count + columns - 1) / columns;
        const int width = columns * columnWidth - (columnWidth - boxWidth) + 2 * margin;
        const int height = rows * rowHeight - (rowHeight - boxHeight) + 2 * margin;
        const auto reached = static_cast<std::size_t>(std::count_if(
            stations.begin(), stations.end(), [](const Station& station) { return station.isReached; }));
        std::string svg =
            line("track", stations.size()) + line("driven", reached) + line("middle", stations.size());
        for (std::size_t i = 0; i < stations.size(); ++i) {
            svg += box(i);
        }
        const std::string size = "width=\"" + std::to_string(width) + "\" height=\"" +
                                 std::to_string(height) + "\" viewBox=\"0 0 " + std::to_string(width) + " " +
                                 std::to_string(height) + "\"";
        return element("svg", size + " role=\"img\"", element("title", "", escaped(title)) + svg);
    }

private:
    std::vector<Station> stations;
    int columns;

    // Every other row runs from right to left, so that the road never jumps.
    int left(std::size_t station) const {
        const int index = static_cast<int>(station) % columns;
        const bool isBackward = static_cast<int>(station) / columns % 2 == 1;
        return margin + (isBackward ? columns - 1 - index : index) * columnWidth;
    }
    int top(std::size_t station) const { return margin + static_cast<int>(station) / columns * rowHeight; }

    std::string line(const char* style, std::size_t count) const {
        std::string points;
        for (std::size_t i = 0; i < count; ++i) {
            points += (points.empty() ? "" : " ") + std::to_string(left(i) + boxWidth / 2) + "," +
                      std::to_string(top(i) + boxHeight / 2);
        }
        return "<polyline class=\"" + std::string(style) + "\" points=\"" + points + "\"/>";
    }

    static std::string text(int x, int y, int size, bool isBold, const std::string& content) {
        return element("text",
                       "x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" font-size=\"" +
                           std::to_string(size) + "\"" + (isBold ? " font-weight=\"600\"" : ""),
                       escaped(content));
    }

    std::string box(std::size_t index) const {
        constexpr int indent = 12;
        const Station& station = stations[index];
        const int x = left(index);
        const int y = top(index);
        std::string content = element("title", "",
                                      escaped(station.title + ": " + station.value +
                                              (station.source.empty() ? "" : "\n" + station.source)));
        content += "<rect x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
                   std::to_string(boxWidth) + "\" height=\"" + std::to_string(boxHeight) + "\" rx=\"9\"/>";
        content += text(x + indent, y + 20, 13, true, station.title);
        content += text(x + indent, y + 39, 12, false, shortened(station.value, mostLetters));
        content += text(x + indent, y + 56, 11, false, endOf(station.source, mostSmallLetters));
        const std::string style = station.isReached ? station.style : "unreached";
        return element("g", "class=\"" + style + "\"", content);
    }
};

}  // namespace

std::string drawRoad(const Explanation& explanation, int columns) {
    return Picture(stationsOf(explanation), columns)
        .draw("The road of the start: " + outcomeSentence(explanation));
}

}  // namespace explain
