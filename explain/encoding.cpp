#include "explain/encoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace explain {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;

bool isHighSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendByte(std::string& bytes, std::uint32_t value) {
    bytes += static_cast<char>(static_cast<unsigned char>(value));
}

void appendUtf8(std::string& bytes, std::uint32_t point) {
    if (point < 0x80) {
        appendByte(bytes, point);
        return;
    }
    if (point < 0x800) {
        appendByte(bytes, 0xC0U | (point >> 6U));
    } else {
        if (point < 0x10000) {
            appendByte(bytes, 0xE0U | (point >> 12U));
        } else {
            appendByte(bytes, 0xF0U | (point >> 18U));
            appendByte(bytes, 0x80U | ((point >> 12U) & 0x3FU));
        }
        appendByte(bytes, 0x80U | ((point >> 6U) & 0x3FU));
    }
    appendByte(bytes, 0x80U | (point & 0x3FU));
}

void appendUnits(std::wstring& units, std::uint32_t point) {
    if (point < 0x10000) {
        units += static_cast<wchar_t>(point);
    } else {
        units += static_cast<wchar_t>(0xD800U + ((point - 0x10000) >> 10U));
        units += static_cast<wchar_t>(0xDC00U + ((point - 0x10000) & 0x3FFU));
    }
}

// The code point at the position, which moves past it; replacement and one byte if it is invalid.
std::uint32_t takePoint(std::string_view bytes, std::size_t& position, bool& isValid) {
    const auto byteAt = [&](std::size_t index) {
        return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U;
    };
    const std::uint32_t lead = byteAt(position);
    const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    bool isWhole = lead < 0x80 || (lead >= 0xC2 && lead <= 0xF4);
    std::uint32_t point = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length && isWhole; ++i) {
        const std::uint32_t next = byteAt(position + i);
        isWhole = (next & 0xC0U) == 0x80U;
        point = (point << 6U) | (next & 0x3FU);
    }
    const bool isPoint =
        point >= smallest[length] && point <= 0x10FFFF && !isHighSurrogate(point) && !isLowSurrogate(point);
    if (!isWhole || !isPoint) {
        isValid = false;
        ++position;
        return replacement;
    }
    position += length;
    return point;
}

std::uint32_t numberOf(wchar_t unit) {
    return static_cast<std::uint32_t>(unit);
}

}  // namespace

std::string toUtf8(std::wstring_view units) {
    std::string bytes;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const std::uint32_t unit = numberOf(units[i]);
        const std::uint32_t next = i + 1 < units.size() ? numberOf(units[i + 1]) : 0;
        if (isHighSurrogate(unit) && isLowSurrogate(next)) {
            appendUtf8(bytes, 0x10000 + ((unit - 0xD800) << 10U) + (next - 0xDC00));
            ++i;
        } else {
            appendUtf8(bytes, isHighSurrogate(unit) || isLowSurrogate(unit) ? replacement : unit);
        }
    }
    return bytes;
}

std::wstring fromUtf8(std::string_view bytes) {
    std::wstring units;
    bool isValid = true;
    for (std::size_t position = 0; position < bytes.size();) {
        appendUnits(units, takePoint(bytes, position, isValid));
    }
    return units;
}

bool isUtf8(std::string_view bytes) {
    bool isValid = true;
    for (std::size_t position = 0; position < bytes.size() && isValid;) {
        takePoint(bytes, position, isValid);
    }
    return isValid;
}

bool isUtf16(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        return true;
    }
    // Without a mark: every second byte of the beginning is a NUL.
    constexpr std::size_t looked = 64;
    const std::size_t end = std::min(bytes.size(), looked) / 2 * 2;
    std::size_t even = 0;
    std::size_t odd = 0;
    for (std::size_t i = 0; i < end; i += 2) {
        even += bytes[i] == '\0' ? 1U : 0U;
        odd += bytes[i + 1] == '\0' ? 1U : 0U;
    }
    const std::size_t most = end / 2;
    return most >= 4 && (even * 4 >= most * 3) != (odd * 4 >= most * 3);
}

std::string logLineToUtf8(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        appendUtf8(text, static_cast<unsigned char>(byte));
    }
    return text;
}

std::string toBase64(std::string_view bytes) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = (group << 8U) | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            const bool isPadding = i + k > bytes.size();
            text += isPadding ? '=' : digits[(group >> (18 - 6 * k)) & 0x3FU];
        }
    }
    return text;
}

}  // namespace explain
