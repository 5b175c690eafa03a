#include "explain/json_writer.h"

#include <nlohmann/json.hpp>

#include "explain/check/findings_json.h"
#include "explain/encoding.h"
#include "explain/names.h"

namespace explain {

namespace {

using Json = nlohmann::ordered_json;

Json textOrNull(const std::wstring& text) {
    return text.empty() ? Json(nullptr) : Json(toUtf8(text));
}

Json lineOrNull(std::size_t line) {
    return line == 0 ? Json(nullptr) : Json(line);
}

Json placeJson(const Place& place) {
    return {
        {"file", textOrNull(place.file)}, {"line", lineOrNull(place.line)}, {"name", textOrNull(place.name)}};
}

Json sourceJson(const ValueSource& source) {
    Json json = {{"kind", nameOf(source.kind)},
                 {"file", textOrNull(source.file)},
                 {"line", lineOrNull(source.line)},
                 {"name", textOrNull(source.name)}};
    if (source.origin) {
        json["origin"] = placeJson(*source.origin);
    }
    return json;
}

// A source, and beside it the origin of a value from the user's own properties.
void addSource(Json& json, const ValueSource& source) {
    json["source"] = sourceJson(source);
    if (source.origin) {
        json["origin"] = placeJson(*source.origin);
    }
}

Json consideredJson(const Considered& considered) {
    Json json = sourceJson(considered.source);
    json["result"] = nameOf(considered.result);
    const bool hasValue = considered.result != Considered::Result::missing &&
                          considered.source.kind != ValueSource::Kind::found;
    json["value"] = hasValue ? Json(toUtf8(considered.value)) : Json(nullptr);
    return json;
}

Json decisionsJson(const Explanation& explanation) {
    Json all = Json::array();
    for (const Decision& decision : explanation.decisions) {
        Json json = {{"subject", decision.subject},
                     {"value", decision.value ? Json(toUtf8(*decision.value)) : Json(nullptr)}};
        if (decision.value) {
            addSource(json, decision.source);
        } else {
            json["source"] = nullptr;
        }
        json["considered"] = Json::array();
        for (const Considered& considered : decision.considered) {
            json["considered"].push_back(consideredJson(considered));
        }
        all.push_back(std::move(json));
    }
    return all;
}

Json elementsJson(const Explanation& explanation) {
    Json all = Json::array();
    for (const Element& element : explanation.elements) {
        Json json = {{"text", toUtf8(element.text)}, {"section", element.section}};
        addSource(json, element.source);
        all.push_back(std::move(json));
    }
    return all;
}

Json textsJson(const std::vector<std::wstring>& texts) {
    Json all = Json::array();
    for (const std::wstring& text : texts) {
        all.push_back(toUtf8(text));
    }
    return all;
}

Json environmentJson(const Explanation& explanation) {
    Json set = Json::object();
    for (const auto& [name, value] : explanation.setVariables) {
        set[toUtf8(name)] = toUtf8(value);
    }
    return {{"set", std::move(set)}, {"unset", textsJson(explanation.unsetVariables)}};
}

Json fileJson(const FileChange& file) {
    Json json = {{"path", toUtf8(file.path)}, {"change", nameOf(file.kind)}, {"from", textOrNull(file.from)}};
    const bool hasContent = file.kind != FileChange::Kind::removed && !file.isDirectory;
    if (hasContent && !isUtf8(file.content)) {
        json["content"] = nullptr;
        json["contentBase64"] = toBase64(file.content);
    } else {
        json["content"] = hasContent ? Json(file.content) : Json(nullptr);
    }
    return json;
}

Json waitsJson(const Explanation& explanation) {
    Json all = Json::array();
    for (const Wait& wait : explanation.waits) {
        all.push_back(
            {{"reason", wait.reason},
             {"milliseconds", wait.milliseconds},
             {"limitMilliseconds", wait.limitMilliseconds ? Json(*wait.limitMilliseconds) : Json(nullptr)}});
    }
    return all;
}

Json failureJson(const Failure& failure) {
    Json causes = Json::array();
    for (const Failure::Cause& cause : failure.causes) {
        Json json = {{"text", cause.text}};
        json["place"] = cause.place ? placeJson(*cause.place) : Json(nullptr);
        causes.push_back(std::move(json));
    }
    return {{"meaning", failure.meaning}, {"causes", std::move(causes)}, {"remedy", failure.remedy}};
}

Json roleJson(Role role) {
    switch (role) {
        case Role::mainProcess:
            return "mainProcess";
        case Role::daemon:
            return "daemon";
        case Role::unknown:
            break;
    }
    return nullptr;
}

Json explanationJson(const Explanation& explanation) {
    Json json;
    json["outcome"] = nameOf(explanation.outcome);
    json["status"] = explanation.status ? Json(*explanation.status) : Json(nullptr);
    json["message"] = explanation.message ? Json(*explanation.message) : Json(nullptr);
    json["failure"] = explanation.failure ? failureJson(*explanation.failure) : Json(nullptr);
    json["role"] = roleJson(explanation.role);
    json["decisions"] = decisionsJson(explanation);
    json["command"] = explanation.command ? Json(toUtf8(*explanation.command)) : Json(nullptr);
    json["elements"] = elementsJson(explanation);
    json["environment"] = environmentJson(explanation);
    json["files"] = Json::array();
    for (const FileChange& file : explanation.files) {
        json["files"].push_back(fileJson(file));
    }
    json["directories"] = textsJson(explanation.madeDirectories);
    json["removedDirectories"] = textsJson(explanation.removedDirectories);
    json["log"] = explanation.log;
    json["logPath"] = explanation.logPath ? Json(toUtf8(*explanation.logPath)) : Json(nullptr);
    json["waits"] = waitsJson(explanation);
    json["assumptions"] = explanation.assumptions;
    json["findings"] = findingsJson(explanation.findings);
    return json;
}

}  // namespace

std::string writeJson(const std::vector<Explanation>& starts) {
    Json json = explanationJson(starts.back());
    if (starts.size() > 1) {
        json["starts"] = Json::array();
        for (const Explanation& start : starts) {
            json["starts"].push_back(explanationJson(start));
        }
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace explain
