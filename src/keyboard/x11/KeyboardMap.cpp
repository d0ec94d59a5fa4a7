#include "keyboard/x11/KeyboardMap.h"

#include "keyboard/notation/KeyPositions.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>

namespace varnel {
namespace {

constexpr std::uint8_t kShift = 0x01;
constexpr std::uint8_t kLock = 0x02;
constexpr std::uint8_t kControl = 0x04;
constexpr KeyCode kCapsLockCode = 57;

namespace keysym {
constexpr std::uint32_t scrollLock = 0xFF14, numLock = 0xFF7F;
constexpr std::uint32_t altLeft = 0xFFE9, altRight = 0xFFEA, superLeft = 0xFFEB, superRight = 0xFFEC;
} // namespace keysym

/// The X11 keys at each position; most have one, a few (F13 and Print) share theirs.
std::vector<std::uint8_t> keysAt(KeyCode code) {
    std::vector<std::uint8_t> keys;
    for (unsigned key = KeyPositions::kX11Offset; key < 256; ++key)
        if (KeyPositions::keyCodeForX11(static_cast<std::uint8_t>(key)) == code)
            keys.push_back(static_cast<std::uint8_t>(key));
    return keys;
}

} // namespace

KeyboardMap::KeyboardMap(const Tables& tables) {
    std::uint8_t command = 0, alternate = 0, numLock = 0, scrollLock = 0;
    const auto keysymsOf = [&](std::uint8_t key) {
        const std::size_t first = std::size_t{tables.keysymsPerKey} * (key - tables.minimumKey);
        const bool isThere =
            key >= tables.minimumKey && first + tables.keysymsPerKey <= tables.keysyms.size();
        const auto begin = tables.keysyms.begin();
        return isThere ? std::vector<std::uint32_t>(
                             begin + static_cast<std::ptrdiff_t>(first),
                             begin + static_cast<std::ptrdiff_t>(first + tables.keysymsPerKey))
                       : std::vector<std::uint32_t>{};
    };
    for (std::size_t i = 0; i < tables.modifierKeys.size(); ++i) {
        const std::uint8_t key = tables.modifierKeys[i];
        const auto bit = static_cast<std::uint8_t>(1u << (i / tables.keysPerModifier));
        if (key == 0)
            continue;
        rows_[key] |= bit;
        for (const std::uint32_t symbol : keysymsOf(key)) {
            if (symbol == keysym::altLeft || symbol == keysym::altRight)
                alternate |= bit;
            if (symbol == keysym::superLeft || symbol == keysym::superRight)
                command |= bit;
            if (symbol == keysym::numLock)
                numLock |= bit;
            if (symbol == keysym::scrollLock)
                scrollLock |= bit;
        }
    }
    alternate_ = alternate != 0 ? alternate : alternate_;
    command_ = command != 0 ? command : command_;
    const auto used = static_cast<std::uint8_t>(kShift | kControl | alternate_ | command_);
    ordinary_ = static_cast<std::uint8_t>((numLock | scrollLock) & ~used);
    locks_ = kLock | ordinary_;
}

KeyCode KeyboardMap::keyCode(std::uint8_t key) const {
    const KeyCode position = KeyPositions::keyCodeForX11(key);
    const std::uint8_t row = rows_[key];
    if ((row & kLock) != 0)
        return kCapsLockCode;
    for (const Modifier modifier : kModifiers) {
        if ((flags(row) & modifierFlag(modifier)) == 0)
            continue;
        return modifierForKeyCode(position) == modifier ? position : modifierKeyCode(modifier);
    }
    return position;
}

KeyFlags KeyboardMap::flags(std::uint32_t modifiers) const {
    return ((modifiers & kShift) != 0 ? kShiftFlag : 0) | ((modifiers & kControl) != 0 ? kControlFlag : 0) |
           ((modifiers & alternate_) != 0 ? kAlternateFlag : 0) |
           ((modifiers & command_) != 0 ? kCommandFlag : 0);
}

std::uint8_t KeyboardMap::maskOf(KeyFlags flags) const {
    return static_cast<std::uint8_t>(
        ((flags & kShiftFlag) != 0 ? kShift : 0) | ((flags & kControlFlag) != 0 ? kControl : 0) |
        ((flags & kAlternateFlag) != 0 ? alternate_ : 0) | ((flags & kCommandFlag) != 0 ? command_ : 0));
}

std::vector<std::uint32_t> KeyboardMap::withLocks(std::uint8_t modifiers) const {
    std::vector<std::uint32_t> variants{modifiers};
    for (unsigned bit = 1; bit < 0x100; bit <<= 1) {
        if ((locks_ & bit) == 0)
            continue;
        for (std::size_t i = variants.size(); i-- > 0;)
            variants.push_back(variants[i] | bit);
    }
    return variants;
}

GrabPlan KeyboardMap::plan(const std::vector<std::string>& tokens) const {
    GrabPlan plan;
    for (const std::string& token : tokens) {
        if (const std::optional<Modifier> modifier = modifierNamed(token)) {
            for (unsigned key = KeyPositions::kX11Offset; key < 256; ++key)
                if ((flagOf(static_cast<std::uint8_t>(key)) & modifierFlag(*modifier)) != 0) {
                    plan.tapKeys.set(key);
                    plan.combinations.push_back({static_cast<std::uint8_t>(key), 0});
                }
            continue;
        }
        const std::optional<ParsedKeyToken> parsed = KeyTokenCodec::parse(token);
        if (!parsed)
            continue;
        for (const std::uint8_t key : keysAt(parsed->keyCode))
            if (!isModifier(key))
                plan.combinations.push_back({key, maskOf(parsed->flags)});
    }
    std::sort(plan.combinations.begin(), plan.combinations.end());
    plan.combinations.erase(std::unique(plan.combinations.begin(), plan.combinations.end()),
                            plan.combinations.end());
    return plan;
}

std::string KeyboardMap::spelling(GrabCombination combination) const {
    const std::uint8_t key = combination.key;
    if (isModifier(key))
        for (const Modifier modifier : kModifiers)
            if ((flagOf(key) & modifierFlag(modifier)) != 0)
                return std::string(modifierName(modifier));
    return KeyTokenCodec::format(KeyTokenCodec::keyName(keyCode(key)), flags(combination.modifiers));
}

} // namespace varnel
