#include "config/ConfigUndoStack.h"

#include "base/Localized.h"

#include <algorithm>
#include <map>
#include <utility>

namespace varnel {

ConfigUndoStack::ConfigUndoStack(const std::vector<ConfigItem>& items, std::size_t limit)
    : limit_(limit) {
    states_.push_back({{}, {}});
    states_.front().items = shared(items);
}

void ConfigUndoStack::record(std::string name, const std::vector<ConfigItem>& items) {
    std::vector<SharedItem> next = shared(items);
    states_.resize(present_ + 1);
    states_.push_back({std::move(name), std::move(next)});
    if (states_.size() > limit_ + 1)
        states_.pop_front();
    present_ = states_.size() - 1;
}

void ConfigUndoStack::follow(const std::vector<ConfigItem>& items) {
    const auto isSame = [](const SharedItem& a, const ConfigItem& b) { return *a == b; };
    if (!std::ranges::equal(states_[present_].items, items, isSame))
        record(localized("Change Outside Varnel!"), items);
}

std::optional<std::string> ConfigUndoStack::undoName() const {
    return present_ == 0 ? std::nullopt : std::optional(states_[present_].name);
}

std::optional<std::string> ConfigUndoStack::redoName() const {
    return present_ + 1 == states_.size() ? std::nullopt : std::optional(states_[present_ + 1].name);
}

std::optional<ConfigUndoStack::Step> ConfigUndoStack::undoStep() const {
    if (present_ == 0)
        return std::nullopt;
    return Step{states_[present_].name, copied(states_[present_ - 1].items)};
}

std::optional<ConfigUndoStack::Step> ConfigUndoStack::redoStep() const {
    if (present_ + 1 == states_.size())
        return std::nullopt;
    return Step{states_[present_ + 1].name, copied(states_[present_ + 1].items)};
}

void ConfigUndoStack::didUndo() {
    if (present_ > 0)
        --present_;
}

void ConfigUndoStack::didRedo() {
    if (present_ + 1 < states_.size())
        ++present_;
}

std::vector<ConfigUndoStack::SharedItem> ConfigUndoStack::shared(const std::vector<ConfigItem>& items) const {
    std::map<Uuid, SharedItem> known;
    for (const SharedItem& item : states_[present_].items)
        known.emplace(item->id, item);
    std::vector<SharedItem> list;
    list.reserve(items.size());
    for (const ConfigItem& item : items) {
        const auto same = known.find(item.id);
        list.push_back(same != known.end() && *same->second == item
                           ? same->second
                           : std::make_shared<const ConfigItem>(item));
    }
    return list;
}

std::vector<ConfigItem> ConfigUndoStack::copied(const std::vector<SharedItem>& items) {
    std::vector<ConfigItem> list;
    list.reserve(items.size());
    for (const SharedItem& item : items)
        list.push_back(*item);
    return list;
}

} // namespace varnel
