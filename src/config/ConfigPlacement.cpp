#include "config/ConfigPlacement.h"

#include "base/Text.h"
#include "base/UTF8.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <set>

namespace varnel::ConfigPlacement {
namespace {

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz", kDigits = "1234567890";
/// Base letters of the lower-case characters U+00E0 to U+00FF; a blank where there is none.
constexpr std::string_view kLatinBase = "aaaaaaaceeeeiiiidnooooo ouuuuyty";

/// The steps, in their live spelling, with which something goes on from the group.
std::set<std::string> takenSteps(const std::vector<ConfigItem>& items,
                                 const std::vector<std::string>& groupKeys) {
    const std::vector<std::string> group = KeyTokenCodec::liveSpelling(groupKeys);
    std::set<std::string> taken;
    for (const ConfigItem& item : items) {
        if (item.keys.size() <= group.size())
            continue;
        const auto same = [](const std::string& step, const std::string& key) {
            return step == key || step == KeyTokenCodec::liveSpelling(key);
        };
        if (std::equal(group.begin(), group.end(), item.keys.begin(), same))
            taken.insert(KeyTokenCodec::liveSpelling(item.keys[group.size()]));
    }
    return taken;
}

/// Letters and digits of a name in their order, accents removed.
std::string keysOf(std::string_view name) {
    std::string keys;
    const std::string lower = lowercased(name);
    for (std::string_view rest = lower; !rest.empty();) {
        const std::size_t length = std::max<std::size_t>(utf8CharacterLength(rest), 1);
        const unsigned code =
            length > 1 ? decodeUTF8(rest.substr(0, length)) : static_cast<unsigned char>(rest[0]);
        if ((code >= 'a' && code <= 'z') || (code >= '0' && code <= '9'))
            keys += static_cast<char>(code);
        else if (code >= 0xE0 && code <= 0xFF && kLatinBase[code - 0xE0] != ' ')
            keys += kLatinBase[code - 0xE0];
        rest.remove_prefix(length);
    }
    return keys;
}

/// Whether a step may stay as it is: "escape" ends sequences, and a key without modifiers that starts one is
/// lost to every application.
bool isGood(std::string_view step, bool atTop) {
    if (KeyTokenCodec::isModifierOnly(step))
        return true;
    const auto parsed = KeyTokenCodec::parse(step);
    if (!parsed || KeyTokenCodec::liveSpelling(step) == "escape")
        return false;
    const bool isFunctionKey =
        parsed->key.size() > 1 && parsed->key[0] == 'f' && parsed->key[1] >= '0' && parsed->key[1] <= '9';
    return !atTop || isFunctionKey || parsed->flags & (kModifierFlags & ~kShiftFlag);
}

} // namespace

std::vector<std::string> parentOf(const std::vector<std::string>& keys) {
    return {keys.begin(), keys.empty() ? keys.end() : keys.end() - 1};
}

std::vector<std::string> receivingGroup(const std::vector<ConfigItem>& items, const ConfigTarget& selection) {
    const bool isAction =
        selection.id && std::any_of(items.begin(), items.end(), [&](const ConfigItem& item) {
            return item.id == *selection.id && item.keys == selection.keys && item.type == ItemType::action;
        });
    return isAction ? parentOf(selection.keys) : selection.keys;
}

std::optional<std::vector<std::string>> freeKeys(const std::vector<ConfigItem>& items,
                                                 const std::vector<std::string>& groupKeys,
                                                 std::string_view wanted, std::string_view name) {
    const std::set<std::string> taken = takenSteps(items, groupKeys);
    const bool atTop = groupKeys.empty();
    std::vector<std::string> keys = groupKeys;
    const auto isFree = [&](std::string_view step) {
        return !taken.contains(KeyTokenCodec::liveSpelling(step));
    };
    if (isGood(wanted, atTop) && isFree(wanted)) {
        keys.emplace_back(wanted);
        return keys;
    }
    const std::string letters(kLetters);
    const std::pair<std::string_view, std::string> proposals[] = {
        {"", keysOf(name) + letters + std::string(kDigits)}, {"shift+", letters}};
    for (const auto& [modifier, candidates] : proposals)
        for (const char candidate : candidates)
            if (std::string step = (atTop ? "ctrl+alt+" : "") + std::string(modifier) + candidate;
                isFree(step)) {
                keys.push_back(std::move(step));
                return keys;
            }
    return std::nullopt;
}

} // namespace varnel::ConfigPlacement
