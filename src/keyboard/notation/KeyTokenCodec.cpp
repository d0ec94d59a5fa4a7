#include "keyboard/notation/KeyTokenCodec.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/notation/KeyTable.h"

#include <charconv>

namespace varnel::KeyTokenCodec {
namespace {

constexpr std::string_view kNumberedPrefix = "keycode";

std::string prepared(std::string_view token) {
    return lowercased(trimmed(token));
}

std::optional<KeyCode> decimalKeyCode(std::string_view digits) {
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    KeyCode code = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code);
    return error == std::errc() ? std::optional(code) : std::nullopt;
}

std::optional<KeyCode> keyCodeFor(std::string_view key) {
    if (auto code = keyCodeNamed(key))
        return code;
    return key.starts_with(kNumberedPrefix) ? decimalKeyCode(key.substr(kNumberedPrefix.size()))
                                            : std::nullopt;
}

struct Parts {
    KeyFlags flags = 0;
    std::vector<std::string_view> keys; ///< whatever is no modifier name
};

Parts partsOf(std::string_view text) {
    Parts parts;
    for (std::string_view part : split(text, '+')) {
        if (auto modifier = modifierNamed(part))
            parts.flags |= modifierFlag(*modifier);
        else
            parts.keys.push_back(part);
    }
    return parts;
}

void appendModifiers(std::string& out, KeyFlags flags) {
    for (Modifier modifier : kModifiers)
        if (flags & modifierFlag(modifier)) {
            out += modifierName(modifier);
            out += '+';
        }
}

void appendKeyName(std::string& out, KeyCode code) {
    if (auto name = nameOfKeyCode(code); !name.empty()) {
        out += name;
        return;
    }
    char digits[8];
    out += kNumberedPrefix;
    out.append(digits, std::to_chars(digits, digits + sizeof digits, code).ptr);
}

std::string explainKey(std::string_view key) {
    if (key.starts_with(kNumberedPrefix))
        return localized("'%1': expected a number from 0 to 65535 after 'keycode'", {key});
    std::vector<std::string> names;
    for (const NamedKey& known : keyTable())
        names.emplace_back(known.name);
    for (Modifier modifier : kModifiers)
        names.emplace_back(modifierName(modifier));
    const std::string text = localized("unknown key '%1'", {key});
    const std::string near = nearest(key, names);
    return near.empty() ? text : localized("%1; did you mean '%2'?", {text, near});
}

} // namespace

std::optional<ParsedKeyToken> parse(std::string_view token) {
    const std::string text = prepared(token);
    const Parts parts = partsOf(text);
    if (parts.keys.size() != 1)
        return std::nullopt;
    const auto code = keyCodeFor(parts.keys.front());
    if (!code)
        return std::nullopt;
    ParsedKeyToken parsed{std::string(parts.keys.front()), *code, parts.flags, {}};
    parsed.normalizedToken = format(parsed.key, parsed.flags);
    return parsed;
}

std::string explain(std::string_view token) {
    const std::string text = prepared(token);
    if (text.empty())
        return localized("an empty token");
    const Parts parts = partsOf(text);
    std::string_view unknown;
    for (std::string_view key : parts.keys) {
        if (key.empty())
            return localized("'%1': a key or modifier is missing beside '+'", {text});
        if (key != trimmed(key))
            return localized("'%1': no blanks beside '+'", {text});
        if (unknown.empty() && !keyCodeFor(key))
            unknown = key;
    }
    if (!unknown.empty())
        return explainKey(unknown);
    if (parts.keys.size() > 1)
        return localized("'%1': more than one key; the steps of a sequence are separate tokens", {text});
    return {};
}

std::optional<std::string> normalize(std::string_view token) {
    auto parsed = parse(token);
    return parsed ? std::optional(std::move(parsed->normalizedToken)) : std::nullopt;
}

std::string format(std::string_view keyName, KeyFlags flags) {
    std::string out;
    appendModifiers(out, flags);
    return out += prepared(keyName);
}

bool hasModifier(std::string_view modifierName, KeyFlags flags) {
    const auto modifier = modifierNamed(prepared(modifierName));
    return modifier && (flags & modifierFlag(*modifier));
}

bool isModifierOnly(std::string_view token) {
    const std::string text = prepared(token);
    std::string_view rest = text;
    while (true) {
        const auto plus = rest.find('+');
        if (!modifierNamed(rest.substr(0, plus)))
            return false;
        if (plus == std::string_view::npos)
            return true;
        rest.remove_prefix(plus + 1);
    }
}

std::string keyName(KeyCode code) {
    std::string out;
    appendKeyName(out, code);
    return out;
}

void formatLive(KeyCode code, KeyFlags flags, std::string& out) {
    out.clear();
    appendModifiers(out, flags);
    appendKeyName(out, code);
}

std::string liveSpelling(std::string_view token) {
    auto parsed = parse(token);
    if (!parsed)
        return prepared(token);
    std::string out;
    formatLive(parsed->keyCode, parsed->flags, out);
    return out;
}

std::vector<std::string> liveSpelling(const std::vector<std::string>& tokens) {
    std::vector<std::string> result;
    result.reserve(tokens.size());
    for (const std::string& token : tokens)
        result.push_back(liveSpelling(token));
    return result;
}

} // namespace varnel::KeyTokenCodec
