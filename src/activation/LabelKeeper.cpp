#include "activation/LabelKeeper.h"

#include <set>

namespace varnel {

std::optional<std::string> LabelKeeper::label(std::size_t place, std::string_view alphabet) {
    const std::size_t letters = alphabet.size();
    const char last = alphabet.back();
    if (place < letters - 1)
        return std::string(1, alphabet[place]);
    place -= letters - 1;
    // Behind the last letter: half of the second letters end the label, the others lead to a third one.
    const std::size_t pairs = (letters + 1) / 2;
    if (place < pairs)
        return std::string{last, alphabet[place]};
    place -= pairs;
    const std::size_t triples = (letters - pairs) * letters - 1;
    if (place < triples)
        return std::string{last, alphabet[pairs + place / letters], alphabet[place % letters]};
    place -= triples;
    // Behind three times the last letter.
    if (place < letters * letters)
        return std::string{last, last, last, alphabet[place / letters], alphabet[place % letters]};
    return std::nullopt;
}

std::vector<std::optional<std::string>> LabelKeeper::labels(const std::vector<std::string>& identifiers,
                                                            std::string_view alphabet) {
    std::map<std::string, std::size_t> kept;
    std::set<std::size_t> taken;
    for (const std::string& identifier : identifiers)
        if (const auto known = places_.find(identifier); known != places_.end()) {
            kept.insert(*known);
            taken.insert(known->second);
        }
    std::size_t next = 0;
    std::vector<std::optional<std::string>> result;
    for (const std::string& identifier : identifiers) {
        auto found = kept.find(identifier);
        if (found == kept.end()) {
            while (taken.contains(next))
                ++next;
            found = kept.emplace(identifier, next++).first;
        }
        result.push_back(label(found->second, alphabet));
    }
    places_ = std::move(kept);
    return result;
}

} // namespace varnel
