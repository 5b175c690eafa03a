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
    // Adds the entry at this position with this key, unless an earlier entry has the key.
    template <typename KeyAt>
    void add(std::size_t position, std::string_view key, KeyAt keyAt) {
        if (4 * (used + 1) > 3 * slots.size()) {
            grow();
        }
        const std::uint32_t hash = hashOf(key);
        Slot& slot = slots[slotOf(key, hash, keyAt)];
        if (slot.position == none) {
            slot = {static_cast<std::uint32_t>(position), hash};
            ++used;
        }
    }

    template <typename KeyAt>
    std::optional<std::size_t> find(std::string_view key, KeyAt keyAt) const {
        if (slots.empty()) {
            return std::nullopt;
        }
        const std::uint32_t position = slots[slotOf(key, hashOf(key), keyAt)].position;
        return position == none ? std::nullopt : std::optional<std::size_t>(position);
    }

    // The number of slots, of which three quarters are used at most.
    std::size_t capacity() const { return slots.size(); }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    static constexpr std::size_t firstSlots = 64;

    // The hash of the key is here too, because a key in the list is seldom in the processor's cache.
    struct Slot {
        std::uint32_t position = none;
        std::uint32_t hash = 0;
    };

    static std::uint32_t hashOf(std::string_view key) {
        return static_cast<std::uint32_t>(std::hash<std::string_view>{}(key));
    }

    // The slot of a key; a free one if the key is not in the table.
    template <typename KeyAt>
    std::size_t slotOf(std::string_view key, std::uint32_t hash, KeyAt keyAt) const {
        std::size_t i = hash & (slots.size() - 1);
        while (slots[i].position != none && (slots[i].hash != hash || keyAt(slots[i].position) != key)) {
            i = (i + 1) & (slots.size() - 1);
        }
        return i;
    }

    // The number of slots is a power of two.
    void grow() {
        std::vector<Slot> former(slots.empty() ? firstSlots : 2 * slots.size());
        former.swap(slots);
        for (const Slot& slot : former) {
            if (slot.position != none) {
                slots[freeSlot(slot.hash)] = slot;
            }
        }
    }

    std::size_t freeSlot(std::uint32_t hash) const {
        std::size_t i = hash & (slots.size() - 1);
        while (slots[i].position != none) {
            i = (i + 1) & (slots.size() - 1);
        }
        return i;
    }

    std::vector<Slot> slots;
    std::size_t used = 0;
};

}  // namespace zellauncher
