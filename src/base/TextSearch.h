#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A text in the form in which it is searched: made once, compared often. Keys of different `TextSearching`
/// objects don't go together.
struct SearchKey {
    /// Where a match may begin and end: never inside a character.
    static constexpr std::uint32_t kMayBegin = 1, kMayEndBefore = 2, kFlags = 3;
    /// No text has it: keeps matches from reaching from one text into the next.
    static constexpr std::uint32_t kSeparator = 0xFFFFFFFF;

    std::vector<std::uint32_t> elements; ///< a weight times four, and flags

    void add(std::uint32_t weight, std::uint32_t flags) { elements.push_back(weight << 2 | flags); }
    /// Another text of the same thing.
    void append(const SearchKey& other);
    /// True for an empty `query`.
    [[nodiscard]] bool contains(const SearchKey& query) const;
};

/// The rules by which one text is found in another: for people, without regard to case. One thread at a time.
class TextSearching {
public:
    virtual ~TextSearching() = default;
    /// The key of a text or of what is looked for in it. `text` should be UTF-8; broken bytes match each
    /// other.
    [[nodiscard]] virtual SearchKey key(std::string_view text) = 0;
};

/// Compares lower-case characters one by one, alike in every language. Needs no data, so the command line
/// uses it: a static program cannot load the tables of the languages.
class PlainTextSearch : public TextSearching {
public:
    [[nodiscard]] SearchKey key(std::string_view text) override;
};

/// The system's rules for the language of the process (its locale), for programs with windows. Accents count,
/// composed and decomposed letters are the same. What they need is loaded when the first key is made; where
/// the system cannot provide it the plain rules stand in. Links with the library text_search.
std::unique_ptr<TextSearching> makeSystemTextSearch();

} // namespace varnel
