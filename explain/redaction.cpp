#include "explain/redaction.h"

#include <algorithm>
#include <cwctype>
#include <set>

#include "explain/encoding.h"
#include "explain/environment.h"

namespace explain {

namespace {

constexpr std::size_t shortestValue = 4;  // a shorter one would be found everywhere
constexpr const char* leftOut = "<left out: not UTF-8>";

struct Secret {
    std::wstring text;
    std::wstring replacement;
};

bool isWordUnit(wchar_t unit) {
    return std::iswalnum(static_cast<wint_t>(unit)) != 0 || unit == L'_';
}

std::wstring withSlashes(std::wstring text) {
    std::replace(text.begin(), text.end(), L'\\', L'/');
    return text;
}

// As a property file spells it.
std::wstring escapedForm(const std::wstring& text) {
    std::wstring escapes;
    for (const wchar_t unit : text) {
        if (unit == L'\\' || unit == L':' || unit == L'=') {
            escapes += L'\\';
        }
        escapes += unit;
    }
    return escapes;
}

std::wstring lowerCase(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t unit) {
        return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(unit)));
    });
    return text;
}

class Redactor {
public:
    explicit Redactor(const Explanation& explanation) {
        addName(explanation.user);
        if (const std::wstring* name = findVariable(explanation.environment, L"USERNAME")) {
            addName(*name);
        }
        const Variables ordinary = ordinaryVariables();
        for (const auto& [name, value] : explanation.environment) {
            const std::wstring* usual = findVariable(ordinary, name);
            if (value.size() >= shortestValue && (usual == nullptr || *usual != value)) {
                addSecret(value, L"<" + name + L">");
            }
        }
        // A value may contain another one.
        std::stable_sort(secrets.begin(), secrets.end(), [](const Secret& left, const Secret& right) {
            return left.text.size() > right.text.size();
        });
    }

    std::wstring redacted(std::wstring text) const {
        for (const Secret& secret : secrets) {
            replaceAll(text, secret);
        }
        return text;
    }
    std::string redacted(const std::string& utf8) const { return toUtf8(redacted(fromUtf8(utf8))); }

private:
    std::vector<Secret> secrets;

    void addSecret(const std::wstring& text, const std::wstring& replacement) {
        for (const std::wstring& form : {text, withSlashes(text), escapedForm(text)}) {
            secrets.push_back({lowerCase(form), replacement});
        }
    }

    void addName(const std::wstring& name) {
        if (!name.empty()) {
            addSecret(name, L"<user>");
        }
    }

    // Whole words only, without regard to case.
    static void replaceAll(std::wstring& text, const Secret& secret) {
        const std::wstring lower = lowerCase(text);
        std::wstring result;
        std::size_t begin = 0;
        for (std::size_t found = lower.find(secret.text); found != std::wstring::npos;) {
            const std::size_t end = found + secret.text.size();
            const bool beginsWord =
                found == 0 || !isWordUnit(lower[found - 1]) || !isWordUnit(secret.text.front());
            const bool endsWord =
                end == lower.size() || !isWordUnit(lower[end]) || !isWordUnit(secret.text.back());
            if (beginsWord && endsWord) {
                result += text.substr(begin, found - begin) + secret.replacement;
                begin = end;
                found = lower.find(secret.text, end);
            } else {
                found = lower.find(secret.text, found + 1);
            }
        }
        text = result + text.substr(begin);
    }

    static Variables ordinaryVariables() {
        StartOptions options;
        options.install.path = L"C:\\";
        Variables variables = defaultSystem(options).environment;
        for (const wchar_t* ofUser :
             {L"USERNAME", L"USERPROFILE", L"HOMEPATH", L"APPDATA", L"LOCALAPPDATA", L"TEMP", L"TMP"}) {
            unsetVariable(variables, ofUser);
        }
        return variables;
    }
};

void redact(std::wstring& text, const Redactor& redactor) {
    text = redactor.redacted(text);
}

void redact(std::string& text, const Redactor& redactor) {
    text = redactor.redacted(text);
}

template <typename Text>
void redact(std::optional<Text>& text, const Redactor& redactor) {
    if (text) {
        redact(*text, redactor);
    }
}

template <typename Item>
void redact(std::vector<Item>& items, const Redactor& redactor) {
    for (Item& item : items) {
        redact(item, redactor);
    }
}

void redact(Place& place, const Redactor& redactor) {
    redact(place.file, redactor);
    redact(place.name, redactor);
}

void redact(ValueSource& source, const Redactor& redactor) {
    redact(source.file, redactor);
    // The name of a variable or key is none of the user's; an argument is named by its own text.
    if (source.kind == ValueSource::Kind::argument || source.kind == ValueSource::Kind::found) {
        redact(source.name, redactor);
    }
    if (source.origin) {
        redact(source.origin->file, redactor);
    }
}

void redact(Considered& considered, const Redactor& redactor) {
    if (considered.source.kind == ValueSource::Kind::environment) {
        considered.value = considered.result == Considered::Result::missing
                               ? std::wstring()
                               : L"<" + considered.source.name + L">";
    } else {
        redact(considered.value, redactor);
    }
    redact(considered.source, redactor);
}

void redact(Decision& decision, const Redactor& redactor) {
    // The kind and the role are names of the launcher's own.
    if (decision.subject != "kind" && decision.subject != "role") {
        redact(decision.value, redactor);
    }
    redact(decision.source, redactor);
    redact(decision.considered, redactor);
}

void redact(Element& element, const Redactor& redactor) {
    redact(element.text, redactor);
    redact(element.source, redactor);
}

void redactContent(std::string& content, const Redactor& redactor) {
    content = isUtf8(content) ? redactor.redacted(content) : std::string(leftOut);
}

void redact(FileChange& file, const Redactor& redactor) {
    redact(file.path, redactor);
    redact(file.from, redactor);
    redactContent(file.content, redactor);
    redactContent(file.formerContent, redactor);
}

void redact(Failure::Cause& cause, const Redactor& redactor) {
    redact(cause.text, redactor);
    if (cause.place) {
        redact(*cause.place, redactor);
    }
}

void redact(Finding& finding, const Redactor& redactor) {
    redact(finding.file, redactor);
    redact(finding.text, redactor);
    redact(finding.consequence, redactor);
    redact(finding.remedy, redactor);
}

void redactValues(std::map<std::wstring, std::wstring>& variables) {
    for (auto& [name, value] : variables) {
        value = L"<" + name + L">";
    }
}

}  // namespace

void redact(Explanation& explanation) {
    const Redactor redactor(explanation);
    redact(explanation.message, redactor);
    if (explanation.failure) {
        redact(explanation.failure->causes, redactor);
    }
    redact(explanation.findings, redactor);
    redact(explanation.decisions, redactor);
    redact(explanation.command, redactor);
    redact(explanation.elements, redactor);
    redact(explanation.files, redactor);
    redact(explanation.madeDirectories, redactor);
    redact(explanation.removedDirectories, redactor);
    redact(explanation.log, redactor);
    redact(explanation.logPath, redactor);
    redact(explanation.assumptions, redactor);
    redact(explanation.installPath, redactor);
    redact(explanation.arguments, redactor);
    redactValues(explanation.setVariables);
    redactValues(explanation.environment);
    explanation.user = L"<user>";
}

}  // namespace explain
