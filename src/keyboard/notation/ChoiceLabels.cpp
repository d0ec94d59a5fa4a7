#include "keyboard/notation/ChoiceLabels.h"

#include "base/Text.h"

#include <algorithm>

namespace varnel::ChoiceLabels {
namespace {

std::string labelOf(long long index, std::string_view alphabet) {
    const auto size = static_cast<long long>(alphabet.size());
    std::string label;
    for (; index >= 0; index = index / size - 1)
        label.insert(label.begin(), alphabet[static_cast<std::size_t>(index % size)]);
    return label;
}

} // namespace

std::vector<std::string> labels(long long count, bool useFullAlphabet) {
    const std::string_view alphabet = useFullAlphabet ? kFullAlphabet : kHomeRowAlphabet;
    const auto wanted = static_cast<std::size_t>(std::max(count, 0LL));
    std::vector<std::string> result;
    // Labels come in the order of their length and stems, so the label to give way is always the first left.
    std::size_t gone = 0;
    for (long long index = 0; result.size() - gone < wanted; ++index) {
        std::string label = labelOf(index, alphabet);
        if (gone < result.size() && label.size() == result[gone].size() + 1 &&
            label.starts_with(result[gone]))
            ++gone;
        result.push_back(std::move(label));
    }
    result.erase(result.begin(), result.begin() + static_cast<std::ptrdiff_t>(gone));
    return result;
}

bool areValid(const std::vector<std::string>& labels) {
    std::vector<std::string_view> sorted(labels.begin(), labels.end());
    std::ranges::sort(sorted);
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        if (sorted[i].empty() || sorted[i].find_first_not_of(kFullAlphabet) != std::string_view::npos)
            return false;
        // Sorted, whatever begins with a label follows it directly.
        if (i + 1 < sorted.size() && sorted[i + 1].starts_with(sorted[i]))
            return false;
    }
    return true;
}

std::optional<std::vector<std::string>> ownLabels(const std::vector<std::optional<std::string>>& labels) {
    std::vector<std::string> own;
    own.reserve(labels.size());
    for (const auto& label : labels)
        own.push_back(label ? lowercased(trimmed(*label)) : std::string());
    return areValid(own) ? std::optional(std::move(own)) : std::nullopt;
}

} // namespace varnel::ChoiceLabels
