#include "documents/SXHKDImport.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "base/UTF8.h"
#include "documents/ImportBuilder.h"
#include "documents/SXHKDReader.h"
#include "documents/X11Keys.h"
#include "keyboard/notation/KeyToken.h"

#include <algorithm>
#include <expected>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kLongestChoice = 60;

/// A hotkey read as the steps of a sequence.
struct Chain {
    std::vector<std::string> steps;
    bool passesThrough = false;
    bool isOnRelease = false;
    std::vector<std::string> notes;
};

std::string validUTF8(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = utf8CharacterLength(text);
        length == 0 ? appendUTF8(out, 0xFFFD) : void(out += text.substr(0, length));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

std::optional<Modifier> modifierFor(std::string_view word) {
    constexpr std::pair<std::string_view, Modifier> words[] = {
        {"super", Modifier::cmd}, {"mod4", Modifier::cmd},   {"control", Modifier::ctrl},
        {"ctrl", Modifier::ctrl}, {"alt", Modifier::alt},    {"mod1", Modifier::alt},
        {"meta", Modifier::alt},  {"shift", Modifier::shift}};
    const std::string lower = lowercased(word);
    for (const auto& [name, modifier] : words)
        if (name == lower)
            return modifier;
    return std::nullopt;
}

bool isForeignModifier(std::string_view word) {
    constexpr std::string_view foreign[] = {"any", "hyper", "mode_switch", "lock", "mod2", "mod3", "mod5"};
    return std::ranges::find(foreign, lowercased(word)) != std::end(foreign);
}

/// The words of one chord, divided by plus signs and blanks.
std::vector<std::string_view> wordsOf(std::string_view chord) {
    std::vector<std::string_view> words;
    while (!chord.empty()) {
        const std::size_t end = std::min(chord.find_first_of("+ \t"), chord.size());
        if (end > 0)
            words.push_back(chord.substr(0, end));
        chord.remove_prefix(std::min(end + 1, chord.size()));
    }
    return words;
}

class ChainReader {
public:
    /// The error is a clause.
    std::expected<Chain, std::string> read(std::string_view hotkey) {
        while (true) {
            const std::size_t end = std::min(hotkey.find_first_of(";:"), hotkey.size());
            if (std::string reason = readChord(hotkey.substr(0, end)); !reason.empty())
                return std::unexpected(std::move(reason));
            if (end == hotkey.size())
                break;
            if (hotkey[end] == ':')
                chain_.notes.push_back(
                    localized("it ends after one key; in sxhkd the chain stayed open until Escape"));
            hotkey.remove_prefix(end + 1);
        }
        if (chain_.passesThrough && chain_.steps.size() == 1)
            return std::unexpected(localized(
                "“~” hands the key to the application as well; only the first key of a chain can do so"));
        return std::move(chain_);
    }

private:
    std::string readChord(std::string_view chord) {
        KeyFlags flags = 0;
        std::string key;
        std::string_view modifierKey;
        for (std::string_view word : wordsOf(chord)) {
            if (std::string reason = readMarks(word); !reason.empty())
                return reason;
            if (const auto modifier = modifierFor(word)) {
                flags |= modifierFlag(*modifier);
                continue;
            }
            if (isForeignModifier(word))
                return localized("there is no modifier “%1” in Varnel", {word});
            if (!key.empty() || !modifierKey.empty())
                return localized("a step has one key only, and “%1” is a second one", {word});
            if (const auto tapped = modifierForKeysym(word))
                modifierKey = *tapped;
            else if (std::string reason = readKey(word, key, flags); !reason.empty())
                return reason;
        }
        if (!modifierKey.empty())
            return addTap(modifierKey, flags);
        if (key.empty())
            return localized("a step has no key");
        std::string step;
        for (const Modifier modifier : kModifiers)
            if (flags & modifierFlag(modifier))
                (step += modifierName(modifier)) += '+';
        chain_.steps.push_back(step + key);
        if (chain_.isOnRelease)
            chain_.notes.push_back(localized("it runs when the key goes down, not when it is let go"));
        return {};
    }

    /// Takes the marks off the beginning of a word.
    std::string readMarks(std::string_view& word) {
        for (; word.size() > 1 && (word[0] == '@' || word[0] == '~' || word[0] == '!');
             word.remove_prefix(1)) {
            if (word[0] == '!')
                return localized("the mark “!” has no counterpart");
            if (word[0] == '~' && !chain_.steps.empty())
                return localized(
                    "“~” hands the key to the application as well; only the first key of a chain "
                    "can do so");
            chain_.passesThrough = chain_.passesThrough || word[0] == '~';
            chain_.isOnRelease = chain_.isOnRelease || word[0] == '@';
        }
        return {};
    }

    std::string readKey(std::string_view word, std::string& key, KeyFlags& flags) {
        if (word.starts_with("button") && word.size() > 6 && word[6] >= '0' && word[6] <= '9')
            return localized("mouse buttons can't begin or continue a sequence");
        const auto found = keyForKeysym(word);
        if (!found)
            return localized("no key of a PC keyboard is known as “%1”", {singleLine(word, 40)});
        if (found->isShifted && !(flags & kShiftFlag))
            chain_.notes.push_back(localized("“%1” is typed with Shift, which was added", {word}));
        flags |= found->isShifted ? kShiftFlag : 0;
        key = found->name;
        return {};
    }

    /// A modifier key of its own runs on release anyway; its own modifier is held at that moment.
    std::string addTap(std::string_view modifier, KeyFlags flags) {
        if ((flags & ~modifierFlag(*modifierNamed(modifier))) != 0)
            return localized("a modifier can only be tapped alone");
        chain_.notes.push_back(localized("it runs when the modifier is tapped alone, left or right"));
        chain_.steps.emplace_back(modifier);
        return {};
    }

    Chain chain_;
};

std::string itemName(const SXHKDBlock& block, const SXHKDExpansion& expansion) {
    const std::string choice = singleLine(expansion.choice, kLongestChoice);
    if (block.comment.empty() || choice.empty())
        return block.comment;
    return block.comment + ": " + choice;
}

void importExpansion(const SXHKDBlock& block, const SXHKDExpansion& expansion, ImportBuilder& builder) {
    const std::string rule(trimmed(expansion.hotkey));
    auto chain = ChainReader().read(expansion.hotkey);
    if (!chain) {
        builder.leaveOut(block.line, rule, chain.error());
        return;
    }
    std::string_view command = trimmed(expansion.command);
    if (command.starts_with(';')) {
        command = trimmed(command.substr(1));
        chain->notes.push_back(
            localized("sxhkd waited for the command to end; Varnel waits two seconds at most"));
    }
    if (command.empty()) {
        builder.leaveOut(block.line, rule, localized("it has no command"));
        return;
    }
    ImportedRule imported{.line = block.line,
                          .rule = rule,
                          .name = itemName(block, expansion),
                          .triggers = {std::move(chain->steps)},
                          .action = {core::shell, "run", {{"command", command}}},
                          .passesThrough = chain->passesThrough,
                          .yields = chain->isOnRelease,
                          .notes = std::move(chain->notes)};
    builder.convert(std::move(imported));
}

} // namespace

ImportReport importSXHKD(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    ImportBuilder builder;
    for (const SXHKDBlock& block : readSXHKD(validUTF8(text))) {
        if (block.hotkey.empty()) {
            builder.leaveOut(block.line, block.command, localized("a command without a hotkey above it"));
            continue;
        }
        const auto expansions = expandSXHKD(block);
        if (!expansions)
            builder.leaveOut(block.line, block.hotkey, expansions.error());
        else
            for (const SXHKDExpansion& expansion : *expansions)
                importExpansion(block, expansion, builder);
    }
    return builder.finished();
}

} // namespace varnel
