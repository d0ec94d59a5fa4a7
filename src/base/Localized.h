#pragma once

#include <atomic>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Finds the user's wording of an English text; none leaves it English. Any thread.
using Localizer = std::optional<std::string_view> (*)(std::string_view englishText);

namespace detail {
inline std::atomic<Localizer> localizer{nullptr};
}

/// Set once by the composition, before any text is made. Null: texts stay as they are.
inline void setLocalizer(Localizer localizer) {
    detail::localizer.store(localizer);
}

/// `text` with "%1" to "%9" replaced by the values in their order. A value is never looked into again.
inline std::string filledIn(std::string_view text, std::initializer_list<std::string_view> values) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPlace = text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
        if (const std::size_t number = isPlace ? text[i + 1] - '1' : values.size(); number < values.size()) {
            filled += values.begin()[number];
            ++i;
        } else {
            filled += text[i];
        }
    }
    return filled;
}

/// The text in the user's language. The English text with its places "%1", "%2" is the key: write it as a
/// literal, so that a tool can collect every key. Any thread.
inline std::string localized(std::string_view englishText, std::initializer_list<std::string_view> values = {}) {
    const Localizer translate = detail::localizer.load();
    return filledIn(translate ? translate(englishText).value_or(englishText) : englishText, values);
}

} // namespace varnel
