#include "explain/html.h"

#include "explain/encoding.h"

namespace explain {

std::string escaped(std::string_view text) {
    std::string html;
    for (const char byte : text) {
        const bool isControl = static_cast<unsigned char>(byte) < 0x20 && byte != '\n' && byte != '\t';
        if (byte == '&') {
            html += "&amp;";
        } else if (byte == '<') {
            html += "&lt;";
        } else if (byte == '>') {
            html += "&gt;";
        } else if (byte == '"') {
            html += "&quot;";
        } else if (byte != '\r') {
            html += isControl || byte == 0x7F ? std::string("\xEF\xBF\xBD") : std::string(1, byte);
        }
    }
    return html;
}

std::string escaped(std::wstring_view text) {
    return escaped(toUtf8(text));
}

std::string element(const std::string& name, const std::string& attributes, const std::string& content) {
    return "<" + name + (attributes.empty() ? "" : " ") + attributes + ">" + content + "</" + name + ">";
}

std::string shortened(const std::string& text, std::size_t most) {
    const std::wstring units = fromUtf8(text);
    if (units.size() <= most) {
        return text;
    }
    const std::size_t half = (most - 1) / 2;
    return toUtf8(units.substr(0, most - 1 - half) + L"\u2026" + units.substr(units.size() - half));
}

}  // namespace explain
