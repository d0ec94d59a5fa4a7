#pragma once

#include "keyboard/notation/KeyToken.h"
#include "keyboard/x11/CaptureProtocol.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// What the server's keys are: which of them are modifiers, and what each is called here. Keys are known by
/// their position, modifiers by what they do, so that swapped modifiers work as the user swapped them.
class KeyboardMap {
public:
    /// The server's tables as it sends them.
    struct Tables {
        std::uint8_t minimumKey = 8;
        unsigned keysPerModifier = 0;
        std::vector<std::uint8_t> modifierKeys; ///< eight rows of `keysPerModifier`
        unsigned keysymsPerKey = 0;
        std::vector<std::uint32_t> keysyms; ///< rows of `keysymsPerKey`, from `minimumKey` on
    };

    KeyboardMap() = default;
    explicit KeyboardMap(const Tables& tables);

    [[nodiscard]] KeyCode keyCode(std::uint8_t key) const;
    /// Whether it is told of as a change of flags. NumLock is an ordinary key here, CapsLock is none.
    [[nodiscard]] bool isModifier(std::uint8_t key) const { return (rows_[key] & ~ordinary_) != 0; }
    /// The locks that pressing `key` changes; 0 for none.
    [[nodiscard]] std::uint8_t locksOf(std::uint8_t key) const { return rows_[key] & locks_; }
    [[nodiscard]] KeyFlags flags(std::uint32_t modifiers) const;
    /// The flag that `key` itself sets while it is down.
    [[nodiscard]] KeyFlags flagOf(std::uint8_t key) const { return flags(rows_[key]); }
    [[nodiscard]] std::uint8_t withoutLocks(std::uint32_t modifiers) const {
        return static_cast<std::uint8_t>(modifiers & 0xFF & ~std::uint32_t{locks_});
    }
    /// `modifiers` alone and with every combination of the lock modifiers.
    [[nodiscard]] std::vector<std::uint32_t> withLocks(std::uint8_t modifiers) const;
    /// What to grab for these live spellings; those that no key can produce are left out.
    [[nodiscard]] GrabPlan plan(const std::vector<std::string>& tokens) const;
    /// The token of a combination, for messages.
    [[nodiscard]] std::string spelling(GrabCombination combination) const;

    friend bool operator==(const KeyboardMap&, const KeyboardMap&) = default;

private:
    [[nodiscard]] std::uint8_t maskOf(KeyFlags flags) const;

    std::array<std::uint8_t, 256> rows_{}; ///< for each key, the modifiers that it is
    std::uint8_t command_ = 0x40;
    std::uint8_t alternate_ = 0x08;
    std::uint8_t locks_ = 0x02;
    std::uint8_t ordinary_ = 0; ///< modifiers whose keys are ordinary keys: NumLock, ScrollLock
};

} // namespace varnel
