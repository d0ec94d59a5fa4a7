#include "base/TextSearch.h"

#include "base/Text.h"
#include "base/UTF8.h"

#include <algorithm>

namespace varnel {

void SearchKey::append(const SearchKey& other) {
    if (!elements.empty())
        elements.push_back(kSeparator);
    elements.insert(elements.end(), other.elements.begin(), other.elements.end());
}

bool SearchKey::contains(const SearchKey& query) const {
    const auto same = [](std::uint32_t a, std::uint32_t b) { return (a ^ b) <= kFlags; };
    const std::vector<std::uint32_t>& wanted = query.elements;
    if (wanted.empty())
        return true;
    if (wanted.size() > elements.size())
        return false;
    const std::size_t last = elements.size() - wanted.size();
    for (std::size_t i = 0; i <= last; ++i) {
        if (!same(elements[i], wanted[0]) || !(elements[i] & kMayBegin))
            continue;
        const std::size_t end = i + wanted.size();
        if (std::equal(wanted.begin() + 1, wanted.end(), &elements[i] + 1, same) &&
            (end == elements.size() || elements[end] & kMayEndBefore))
            return true;
    }
    return false;
}

SearchKey PlainTextSearch::key(std::string_view text) {
    constexpr std::uint32_t anywhere = SearchKey::kMayBegin | SearchKey::kMayEndBefore;
    constexpr std::uint32_t brokenByte = 0x110000; // beyond every character
    SearchKey key;
    key.elements.reserve(text.size());
    const std::string lower = lowercased(text);
    for (std::string_view rest = lower; !rest.empty();) {
        const std::size_t length = utf8CharacterLength(rest);
        key.add(length ? decodeUTF8(rest.substr(0, length))
                       : brokenByte + static_cast<unsigned char>(rest.front()),
                anywhere);
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return key;
}

} // namespace varnel
