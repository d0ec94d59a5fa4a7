#include "overlay/KeyCaps.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "base/UTF8.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace varnel {
namespace {

enum Kind { letter, digit, punctuation, named, function, keypad, bareModifier, unnamed, malformed };

struct Glyph {
    std::string_view key;
    std::string_view symbol;
};
/// What keyboards with symbols print on their keys.
constexpr Glyph kSymbols[] = {
    {"cmd", "⌘"},    {"ctrl", "⌃"}, {"alt", "⌥"},   {"shift", "⇧"},  {"return", "↩"},
    {"enter", "↩"},  {"tab", "⇥"},  {"space", "␣"}, {"delete", "⌫"}, {"forwarddelete", "⌦"},
    {"escape", "⎋"}, {"home", "↖"}, {"end", "↘"},   {"pageup", "⇞"}, {"pagedown", "⇟"},
};
/// What these keys bear everywhere; punctuation for keyboards whose layout is not known.
constexpr Glyph kMarks[] = {
    {"left", "←"},       {"right", "→"},        {"up", "↑"},          {"down", "↓"},   {"equal", "="},
    {"minus", "-"},      {"rightbracket", "]"}, {"leftbracket", "["}, {"quote", "'"},  {"semicolon", ";"},
    {"backslash", "\\"}, {"comma", ","},        {"slash", "/"},       {"period", "."}, {"grave", "`"},
};
constexpr Glyph kKeypadMarks[] = {
    {"decimal", "."}, {"multiply", "×"}, {"plus", "+"}, {"divide", "÷"}, {"minus", "−"}, {"equals", "="},
};

template <std::size_t N>
std::string_view glyph(const Glyph (&glyphs)[N], std::string_view key) {
    const auto* found = std::ranges::find(glyphs, key, &Glyph::key);
    return found == std::end(glyphs) ? std::string_view() : found->symbol;
}

std::string word(std::string_view key) {
    if (key == "cmd")
        return localized("Super");
    if (key == "ctrl")
        return localized("Ctrl");
    if (key == "alt")
        return localized("Alt");
    if (key == "shift")
        return localized("Shift");
    if (key == "return" || key == "enter")
        return localized("Enter");
    if (key == "tab")
        return localized("Tab");
    if (key == "space")
        return localized("Space");
    if (key == "delete")
        return localized("Backspace");
    if (key == "forwarddelete")
        return localized("Del");
    if (key == "escape")
        return localized("Esc");
    if (key == "help")
        return localized("Ins");
    if (key == "home")
        return localized("Home");
    if (key == "end")
        return localized("End");
    if (key == "pageup")
        return localized("PgUp");
    if (key == "pagedown")
        return localized("PgDn");
    return {};
}

/// The number behind `prefix`, when there is nothing else behind it.
std::optional<int> numberAfter(std::string_view prefix, std::string_view key) {
    if (!key.starts_with(prefix) || key.size() == prefix.size() || key.size() > prefix.size() + 4)
        return std::nullopt;
    key.remove_prefix(prefix.size());
    if (key.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    return std::atoi(std::string(key).c_str());
}

/// Upper case of one Latin, Greek or Cyrillic letter; every other text stays. A form that does not come back
/// when it is put in lower case is not the same letter.
std::string upperCased(std::string_view text) {
    if (text.empty() || utf8CharacterLength(text) != text.size())
        return std::string(text);
    const unsigned code = decodeUTF8(text);
    for (const unsigned distance : {0x20u, 0x50u, 0x01u}) {
        std::string upper;
        if (code > distance + 0x20)
            appendUTF8(upper, code - distance);
        if (!upper.empty() && upper != text && lowercased(upper) == text)
            return upper;
    }
    return std::string(text);
}

std::string keypadCap(std::string_view key) {
    key.remove_prefix(std::string_view("keypad").size());
    if (key == "enter")
        return localized("Num %1", {localized("Enter")});
    if (key == "clear")
        return localized("Num Lock");
    const std::string_view mark = glyph(kKeypadMarks, key);
    return localized("Num %1", {mark.empty() ? key : mark});
}

std::string keyCap(const ParsedKeyToken& key, const KeyNaming& naming) {
    if (naming.usesSymbols)
        if (const std::string_view symbol = glyph(kSymbols, key.key); !symbol.empty())
            return std::string(symbol);
    if (std::string text = word(key.key); !text.empty())
        return text;
    if (key.key.starts_with("keypad"))
        return keypadCap(key.key);
    if (naming.layoutLabel)
        if (const auto label = naming.layoutLabel(key.keyCode); label && !label->empty())
            return upperCased(*label);
    if (const std::string_view mark = glyph(kMarks, key.key); !mark.empty())
        return std::string(mark);
    if (const auto number = numberAfter("keycode", key.key))
        return localized("Key %1", {std::to_string(*number)});
    if (const auto number = numberAfter("f", key.key))
        return "F" + std::to_string(*number);
    return upperCased(key.key);
}

std::string modifierCap(std::string_view modifier, const KeyNaming& naming) {
    return naming.usesSymbols ? std::string(glyph(kSymbols, modifier)) : word(modifier);
}

int kindOf(const ParsedKeyToken& key, const std::string& cap) {
    if (key.key.starts_with("keypad"))
        return keypad;
    if (numberAfter("keycode", key.key))
        return unnamed;
    if (numberAfter("f", key.key))
        return function;
    if (utf8CharacterLength(cap) != cap.size() || !word(key.key).empty())
        return named;
    if (cap.size() == 1 && cap[0] >= '0' && cap[0] <= '9')
        return digit;
    const bool isLetter = cap.size() > 1 ? lowercased(cap) != cap : cap[0] >= 'A' && cap[0] <= 'Z';
    return isLetter ? letter : punctuation;
}

} // namespace

KeyCaps keyCaps(std::string_view token, const KeyNaming& naming) {
    KeyCaps caps;
    if (KeyTokenCodec::isModifierOnly(token)) {
        for (const std::string_view modifier : split(token, '+'))
            caps.push_back(modifierCap(modifier, naming));
        return caps;
    }
    const auto parsed = KeyTokenCodec::parse(token);
    if (!parsed)
        return {std::string(token)};
    for (const Modifier modifier : kModifiers)
        if ((parsed->flags & modifierFlag(modifier)) != 0)
            caps.push_back(modifierCap(modifierName(modifier), naming));
    caps.push_back(keyCap(*parsed, naming));
    return caps;
}

KeyCaps choiceCaps(std::string_view label, const KeyNaming& naming) {
    KeyCaps caps;
    for (const char c : label)
        for (std::string& cap : keyCaps(std::string_view(&c, 1), naming))
            caps.push_back(std::move(cap));
    return caps;
}

KeyRank keyRank(std::string_view token, const KeyNaming& naming) {
    KeyRank rank;
    if (KeyTokenCodec::isModifierOnly(token)) {
        rank.kind = bareModifier;
        rank.label = token;
        return rank;
    }
    const auto parsed = KeyTokenCodec::parse(token);
    if (!parsed) {
        rank.kind = malformed;
        rank.label = token;
        return rank;
    }
    rank.label = keyCap(*parsed, naming);
    rank.kind = kindOf(*parsed, rank.label);
    rank.flags = parsed->flags;
    rank.modifierCount = std::popcount(parsed->flags);
    if (rank.kind == function)
        rank.number = *numberAfter("f", parsed->key);
    else if (rank.kind == unnamed)
        rank.number = *numberAfter("keycode", parsed->key);
    else if (rank.label == "0" && rank.kind == digit)
        rank.number = 1; // on the keyboard it follows the 9
    return rank;
}

} // namespace varnel
