#pragma once

#include <atomic>
#include <string>
#include <utility>

namespace varnel {

/// Translates a text for the user; the English text, values filled in, is the key.
using Localizer = std::string (*)(std::string englishText);

namespace detail {
inline std::atomic<Localizer> localizer{nullptr};
}

/// Set once by the composition, before any text is made. Null: texts stay as they are.
inline void setLocalizer(Localizer localizer) {
    detail::localizer.store(localizer);
}

/// The text in the user's language. Any thread.
inline std::string localized(std::string englishText) {
    const Localizer translate = detail::localizer.load();
    return translate ? translate(std::move(englishText)) : englishText;
}

} // namespace varnel
