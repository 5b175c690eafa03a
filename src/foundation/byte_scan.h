#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <string_view>

// Searches in large texts, sixteen bytes at a time. The runtime library's search for a byte may take them one
// by one.
namespace zellauncher {

namespace byte_scan {

constexpr std::size_t blockSize = sizeof(__m128i);

inline __m128i blockAt(std::string_view bytes, std::size_t position) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + position));
}

// One bit for each byte, which is its highest one.
inline unsigned highBits(__m128i block) {
    return static_cast<unsigned>(_mm_movemask_epi8(block));
}

}  // namespace byte_scan

// The position of the first byte that is one of the sought ones, or the size of the text.
template <char... sought>
std::size_t findAny(std::string_view bytes) {
    std::size_t i = 0;
    for (; i + byte_scan::blockSize <= bytes.size(); i += byte_scan::blockSize) {
        const __m128i block = byte_scan::blockAt(bytes, i);
        __m128i matches = _mm_setzero_si128();
        ((matches = _mm_or_si128(matches, _mm_cmpeq_epi8(block, _mm_set1_epi8(sought)))), ...);
        if (const unsigned found = byte_scan::highBits(matches); found != 0) {
            return i + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    while (i < bytes.size() && ((bytes[i] != sought) && ...)) {
        ++i;
    }
    return i;
}

// Whether all bytes are below 0x80.
inline bool isAscii(std::string_view bytes) {
    std::size_t i = 0;
    for (; i + byte_scan::blockSize <= bytes.size(); i += byte_scan::blockSize) {
        if (byte_scan::highBits(byte_scan::blockAt(bytes, i)) != 0) {
            return false;
        }
    }
    unsigned seen = 0;
    for (; i < bytes.size(); ++i) {
        seen |= static_cast<unsigned char>(bytes[i]);
    }
    return seen < 0x80;
}

}  // namespace zellauncher
