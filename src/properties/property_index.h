#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace zellauncher {

// Finds the first entry of a property list with a key: a hash table of positions, with open addressing. The
// keys stay in the list: `keyAt(position)` is the key of an entry.
class PropertyIndex {
public:
    // Adds the entry at this position, unless an earlier entry has its key.
    template <typename KeyAt>
    void add(std::size_t position, KeyAt keyAt) {
        if (4 * (used + 1) > 3 * slots.size()) {
            grow(keyAt);
        }
        std::uint32_t& slot = slots[slotOf(keyAt(position), keyAt)];
        if (slot == none) {
            slot = static_cast<std::uint32_t>(position);
            ++used;
        }
    }

    template <typename KeyAt>
    std::optional<std::size_t> find(std::string_view key, KeyAt keyAt) const {
        if (slots.empty()) {
            return std::nullopt;
        }
        const std::uint32_t position = slots[slotOf(key, keyAt)];
        return position == none ? std::nullopt : std::optional<std::size_t>(position);
    }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    static constexpr std::size_t firstSlots = 64;

    // The slot of a key; a free one if the key is not in the table.
    template <typename KeyAt>
    std::size_t slotOf(std::string_view key, KeyAt keyAt) const {
        std::size_t i = std::hash<std::string_view>{}(key) & (slots.size() - 1);
        while (slots[i] != none && keyAt(slots[i]) != key) {
            i = (i + 1) & (slots.size() - 1);
        }
        return i;
    }

    // The number of slots is a power of two.
    template <typename KeyAt>
    void grow(KeyAt keyAt) {
        std::vector<std::uint32_t> former(slots.empty() ? firstSlots : 2 * slots.size(), none);
        former.swap(slots);
        for (const std::uint32_t position : former) {
            if (position != none) {
                slots[slotOf(keyAt(position), keyAt)] = position;
            }
        }
    }

    std::vector<std::uint32_t> slots;
    std::size_t used = 0;
};

}  // namespace zellauncher
