#include "documents/KeyCaps.h"

#include "base/Text.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel::KeyCaps {
namespace {

constexpr std::size_t kLongestCap = 40;

// What is printed on keys is the same in every language.
constexpr std::pair<std::string_view, std::string_view> kCaps[] = {
    {"minus", "-"},
    {"equal", "="},
    {"leftbracket", "["},
    {"rightbracket", "]"},
    {"semicolon", ";"},
    {"quote", "'"},
    {"backslash", "\\"},
    {"comma", ","},
    {"slash", "/"},
    {"period", "."},
    {"grave", "`"},
    {"return", "Return"},
    {"delete", "⌫"},
    {"escape", "Esc"},
    {"forwarddelete", "⌦"},
    {"pageup", "Page Up"},
    {"pagedown", "Page Down"},
    {"left", "←"},
    {"right", "→"},
    {"down", "↓"},
    {"up", "↑"},
};
// Keys without a name in the notation that many keyboards have.
constexpr std::pair<std::string_view, std::string_view> kNumberedCaps[] = {
    {"10", "§"},  {"72", "Vol +"}, {"73", "Vol −"}, {"74", "Mute"}, {"110", "Menu"}, {"396", "Calc"},
    {"419", "⏭"}, {"420", "⏯"},    {"421", "⏮"},    {"422", "⏹"}, {"480", "☀ −"},  {"481", "☀ +"},
};
constexpr std::pair<std::string_view, std::string_view> kKeypadCaps[] = {
    {"decimal", "."}, {"multiply", "*"}, {"plus", "+"}, {"divide", "/"}, {"minus", "-"}, {"equals", "="},
};

std::string capitalized(std::string_view name) {
    std::string text(name);
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

template <typename Table>
std::string_view found(const Table& table, std::string_view name) {
    const auto it = std::ranges::find(table, name, &std::pair<std::string_view, std::string_view>::first);
    return it == std::end(table) ? std::string_view() : it->second;
}

std::string keyCap(std::string_view name) {
    constexpr std::string_view keypad = "keypad", numbered = "keycode";
    if (const std::string_view cap = found(kCaps, name); !cap.empty())
        return std::string(cap);
    if (name.starts_with(keypad)) {
        const std::string_view rest = name.substr(keypad.size());
        const std::string_view sign = found(kKeypadCaps, rest);
        return "Num " + (sign.empty() ? capitalized(rest) : std::string(sign));
    }
    if (name.starts_with(numbered)) {
        const std::string_view rest = name.substr(numbered.size());
        const std::string_view cap = found(kNumberedCaps, rest);
        return cap.empty() ? "#" + std::string(rest) : std::string(cap);
    }
    return capitalized(name);
}

} // namespace

std::vector<std::string> ofStep(std::string_view step) {
    std::vector<std::string> caps;
    const auto parsed = KeyTokenCodec::parse(step);
    if (!parsed && !KeyTokenCodec::isModifierOnly(step))
        return {singleLine(step, kLongestCap)};
    const std::string live = parsed ? KeyTokenCodec::liveSpelling(step) : lowercased(trimmed(step));
    for (const std::string_view part : split(live, '+'))
        caps.push_back(keyCap(part));
    return caps;
}

std::string stepText(std::string_view step) {
    return join(ofStep(step), "+");
}

std::string triggerText(const std::vector<std::string>& steps) {
    std::vector<std::string> texts;
    texts.reserve(steps.size());
    for (const std::string& step : steps)
        texts.push_back(stepText(step));
    return join(texts, ", ");
}

} // namespace varnel::KeyCaps
