#include "documents/SXHKDReader.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kMostExpansions = 1000;

struct Line {
    int number = 0;
    std::string text;
};

/// Lines with their continuations; a backslash at the end of a comment is part of the comment.
std::vector<Line> logicalLines(std::string_view text) {
    std::vector<Line> lines;
    bool continues = false;
    int number = 0;
    for (std::string_view physical : split(text, '\n')) {
        ++number;
        if (physical.ends_with('\r'))
            physical.remove_suffix(1);
        if (!continues)
            lines.push_back({number, {}});
        const bool isComment = !continues && trimmed(physical).starts_with('#');
        continues = !isComment && physical.ends_with('\\');
        if (continues)
            physical.remove_suffix(1);
        lines.back().text += physical;
    }
    return lines;
}

/// The words of a comment line; empty for a mere ornament.
std::string commentText(std::string_view line) {
    line = trimmed(line);
    while (line.starts_with('#'))
        line.remove_prefix(1);
    line = trimmed(line);
    const bool hasWords =
        std::ranges::any_of(line, [](unsigned char c) { return std::isalnum(c) != 0 || c >= 0x80; });
    return hasWords ? std::string(line) : std::string();
}

/// A piece of a hotkey or command: fixed text is a sequence of one choice.
struct Piece {
    std::vector<std::string> choices;
    bool isSequence = false;
};

bool isAlphanumeric(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

void addChoice(std::vector<std::string>& choices, const std::string& text) {
    const std::string_view core = trimmed(text);
    const bool isRange = core.size() == 3 && core[1] == '-' && isAlphanumeric(core[0]) &&
                         isAlphanumeric(core[2]) && core[0] <= core[2];
    if (isRange)
        for (char c = core[0]; c <= core[2]; ++c)
            choices.emplace_back(1, c);
    else
        choices.push_back(core == "_" ? std::string() : text);
}

/// The text cut at its braces; `\{`, `\}` and, between braces, `\,` stand for the characters themselves.
std::expected<std::vector<Piece>, std::string> piecesOf(std::string_view text) {
    std::vector<Piece> pieces{{{""}, false}};
    std::string choice;
    bool isOpen = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        const bool isEscaped = text[i] == '\\' && (next == '{' || next == '}' || (isOpen && next == ','));
        std::string& target = isOpen ? choice : pieces.back().choices.front();
        if (isEscaped) {
            target += next;
            ++i;
        } else if (text[i] == '{' && isOpen) {
            return std::unexpected(localized("a “{” inside another can't be read"));
        } else if (text[i] == '{') {
            pieces.push_back({{}, true});
            isOpen = true;
        } else if (isOpen && (text[i] == ',' || text[i] == '}')) {
            addChoice(pieces.back().choices, std::exchange(choice, {}));
            if (text[i] == '}') {
                pieces.push_back({{""}, false});
                isOpen = false;
            }
        } else if (text[i] == '}') {
            return std::unexpected(localized("a “}” has no “{”; a brace for the shell is written “\\}”"));
        } else {
            target += text[i];
        }
    }
    if (isOpen)
        return std::unexpected(localized("a “{” is not closed; a brace for the shell is written “\\{”"));
    return pieces;
}

std::vector<std::size_t> shape(const std::vector<Piece>& pieces) {
    std::vector<std::size_t> sizes;
    for (const Piece& piece : pieces)
        if (piece.isSequence)
            sizes.push_back(piece.choices.size());
    return sizes;
}

/// The text with the given choices, and in `chosen` those choices alone.
std::string filled(const std::vector<Piece>& pieces, const std::vector<std::size_t>& indices,
                   std::string* chosen = nullptr) {
    std::string text;
    std::size_t sequence = 0;
    for (const Piece& piece : pieces) {
        const std::string& choice = piece.choices[piece.isSequence ? indices[sequence++] : 0];
        text += choice;
        const std::string_view core = trimmed(choice);
        if (chosen && piece.isSequence && !core.empty())
            (*chosen += chosen->empty() ? "" : " ") += core;
    }
    return text;
}

} // namespace

std::vector<SXHKDBlock> readSXHKD(std::string_view text) {
    std::vector<SXHKDBlock> blocks;
    std::string comment;
    bool wantsCommand = false;
    for (const Line& line : logicalLines(text)) {
        const std::string_view content = trimmed(line.text);
        if (content.starts_with('#')) {
            if (!wantsCommand)
                comment = commentText(content);
        } else if (content.empty()) {
            comment.clear();
        } else if (line.text[0] == ' ' || line.text[0] == '\t') {
            if (!wantsCommand)
                blocks.push_back({line.number, {}, {}, {}});
            blocks.back().command = content;
            wantsCommand = false;
        } else {
            blocks.push_back({line.number, std::string(content), {}, std::exchange(comment, {})});
            wantsCommand = true;
        }
    }
    return blocks;
}

std::expected<std::vector<SXHKDExpansion>, std::string> expandSXHKD(const SXHKDBlock& block) {
    const auto hotkey = piecesOf(block.hotkey);
    const auto command = piecesOf(block.command);
    if (!hotkey || !command)
        return std::unexpected(hotkey ? command.error() : hotkey.error());
    const std::vector<std::size_t> sizes = shape(*hotkey), commandSizes = shape(*command);
    if (!commandSizes.empty() && commandSizes != sizes)
        return std::unexpected(localized("the “{…}” of the command do not match those of the hotkey; a brace "
                                         "for the shell is written “\\{”"));
    std::size_t count = 1;
    for (const std::size_t size : sizes)
        count = std::min(count * size, kMostExpansions + 1);
    if (count > kMostExpansions)
        return std::unexpected(
            localized("it stands for more than %1 hotkeys", {std::to_string(kMostExpansions)}));
    std::vector<SXHKDExpansion> expansions;
    std::vector<std::size_t> indices(sizes.size());
    for (std::size_t n = 0; n < count; ++n) {
        SXHKDExpansion expansion{filled(*hotkey, indices), {}, {}};
        expansion.command = filled(*command, indices, &expansion.choice);
        expansions.push_back(std::move(expansion));
        for (std::size_t i = sizes.size(); i-- > 0;) {
            if (++indices[i] < sizes[i])
                break;
            indices[i] = 0;
        }
    }
    return expansions;
}

} // namespace varnel
