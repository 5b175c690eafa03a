#include "properties/packed_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "foundation/byte_scan.h"

namespace zellauncher {

namespace {

constexpr std::uint32_t firstOfTwoBytes = 0x80;
constexpr std::uint32_t firstOfThreeBytes = 0x800;

std::uint32_t valueOf(wchar_t unit) {
    return static_cast<std::uint32_t>(unit) & 0xFFFFU;
}

char lead(std::uint32_t mark, std::uint32_t bits) {
    return static_cast<char>(mark | bits);
}

char following(std::uint32_t bits) {
    return static_cast<char>(0x80U | (bits & 0x3FU));
}

std::size_t packedUnitSize(std::uint32_t unit) {
    if (unit < firstOfTwoBytes) {
        return 1;
    }
    return unit < firstOfThreeBytes ? 2 : 3;
}

void appendPackedUnit(std::string& bytes, std::uint32_t unit) {
    if (unit < firstOfTwoBytes) {
        bytes += static_cast<char>(unit);
    } else if (unit < firstOfThreeBytes) {
        bytes += lead(0xC0U, unit >> 6U);
        bytes += following(unit);
    } else {
        bytes += lead(0xE0U, unit >> 12U);
        bytes += following(unit >> 6U);
        bytes += following(unit);
    }
}

std::uint32_t bitsOf(char byte, std::uint32_t mask) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(byte)) & mask;
}

bool isPlain(char byte) {
    return bitsOf(byte, 0x80U) == 0;
}

// The unit of several bytes at this position, which moves to its end.
std::uint32_t unpackedUnit(std::string_view bytes, std::size_t& position) {
    const bool hasTwoBytes = bitsOf(bytes[position], 0x20U) == 0;
    std::uint32_t unit = bitsOf(bytes[position++], hasTwoBytes ? 0x1FU : 0x0FU);
    for (int following = hasTwoBytes ? 1 : 2; following > 0; --following) {
        unit = unit << 6U | bitsOf(bytes[position++], 0x3FU);
    }
    return unit;
}

}  // namespace

std::size_t packedSize(std::wstring_view text) {
    std::size_t size = 0;
    for (const wchar_t unit : text) {
        size += packedUnitSize(valueOf(unit));
    }
    return size;
}

std::size_t packedSize(std::string_view text) {
    if (isAscii(text)) {
        return text.size();
    }
    std::size_t size = 0;
    for (const char byte : text) {
        size += isPlain(byte) ? 1U : 2U;
    }
    return size;
}

void appendPacked(std::string& bytes, std::string_view text, std::size_t size) {
    if (size == text.size()) {
        bytes += text;
        return;
    }
    for (const char byte : text) {
        appendPackedUnit(bytes, bitsOf(byte, 0xFFU));
    }
}

void appendPacked(std::string& bytes, std::wstring_view text, std::size_t size) {
    if (size == text.size()) {
        const std::size_t former = bytes.size();
        bytes.resize(former + size);
        std::transform(text.begin(), text.end(), bytes.data() + former,
                       [](wchar_t unit) { return static_cast<char>(unit); });
        return;
    }
    bytes.reserve(bytes.size() + size);
    for (const wchar_t unit : text) {
        appendPackedUnit(bytes, valueOf(unit));
    }
}

std::wstring unpacked(std::string_view bytes) {
    if (isAscii(bytes)) {
        return {bytes.begin(), bytes.end()};
    }
    std::wstring text(bytes.size(), L'\0');
    std::size_t length = 0;
    for (std::size_t i = 0; i < bytes.size();) {
        text[length++] =
            static_cast<wchar_t>(isPlain(bytes[i]) ? bitsOf(bytes[i++], 0x7FU) : unpackedUnit(bytes, i));
    }
    text.resize(length);
    return text;
}

}  // namespace zellauncher
