#include "support/text.h"

#include <algorithm>
#include <cstdint>

namespace launchertest {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;

bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

void appendUtf8(std::string& bytes, std::uint32_t point) {
    const auto append = [&](std::uint32_t byte) {
        bytes += static_cast<char>(static_cast<unsigned char>(byte));
    };
    if (point < 0x80) {
        append(point);
    } else if (point < 0x800) {
        append(0xC0U | (point >> 6U));
        append(0x80U | (point & 0x3FU));
    } else if (point < 0x10000) {
        append(0xE0U | (point >> 12U));
        append(0x80U | ((point >> 6U) & 0x3FU));
        append(0x80U | (point & 0x3FU));
    } else {
        append(0xF0U | (point >> 18U));
        append(0x80U | ((point >> 12U) & 0x3FU));
        append(0x80U | ((point >> 6U) & 0x3FU));
        append(0x80U | (point & 0x3FU));
    }
}

void appendUnits(std::wstring& text, std::uint32_t point) {
    if (point < 0x10000) {
        text += static_cast<wchar_t>(point);
        return;
    }
    text += static_cast<wchar_t>(0xD800U + ((point - 0x10000U) >> 10U));
    text += static_cast<wchar_t>(0xDC00U + ((point - 0x10000U) & 0x3FFU));
}

// The code point at the head of the bytes, and how many bytes it takes.
std::uint32_t decode(std::string_view bytes, std::size_t& length) {
    const auto byteAt = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
    };
    const std::uint32_t first = byteAt(0);
    length = 1;
    if (first < 0x80) {
        return first;
    }
    const std::size_t expected = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || bytes.size() < expected) {
        return replacement;
    }
    std::uint32_t point = first & (0xFFU >> (expected + 1));
    for (std::size_t i = 1; i < expected; ++i) {
        if ((byteAt(i) & 0xC0U) != 0x80) {
            return replacement;
        }
        point = (point << 6U) | (byteAt(i) & 0x3FU);
    }
    length = expected;
    return point;
}

}  // namespace

std::string withLineFeeds(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool isLineEnd = bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n';
        if (!isLineEnd) {
            text += bytes[i];
        }
    }
    return text;
}

std::vector<std::string> splitLines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const bool hasReturn = end > 0 && text[end - 1] == '\r';
        lines.emplace_back(text.substr(0, hasReturn ? end - 1 : end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::size_t countOccurrences(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

std::size_t countLinesBeginningWith(std::string_view text, std::string_view beginning) {
    const std::vector<std::string> all = splitLines(text);
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [&](const std::string& line) { return line.starts_with(beginning); }));
}

std::string toUtf8(std::wstring_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto point = static_cast<std::uint32_t>(text[i]);
        if (isHighSurrogate(point) && i + 1 < text.size() &&
            isLowSurrogate(static_cast<std::uint32_t>(text[i + 1]))) {
            const auto low = static_cast<std::uint32_t>(text[++i]);
            point = 0x10000U + ((point - 0xD800U) << 10U) + (low - 0xDC00U);
        } else if (isHighSurrogate(point) || isLowSurrogate(point)) {
            point = replacement;
        }
        appendUtf8(bytes, point);
    }
    return bytes;
}

std::wstring fromUtf8(std::string_view bytes) {
    std::wstring text;
    while (!bytes.empty()) {
        std::size_t length = 0;
        appendUnits(text, decode(bytes, length));
        bytes.remove_prefix(length);
    }
    return text;
}

std::wstring pipeText(std::string_view payload) {
    std::wstring text;
    for (std::size_t i = 0; i + 1 < payload.size(); i += 2) {
        const auto low = static_cast<unsigned char>(payload[i]);
        const auto high = static_cast<unsigned char>(payload[i + 1]);
        text += static_cast<wchar_t>(low + high * 256);
    }
    return text;
}

}  // namespace launchertest
