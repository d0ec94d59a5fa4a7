#pragma once

#include "config/ConfigItem.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// The lists that an editor can go back to and forward to. Each step is a whole list with the name of what
/// led to it; items that steps have in common are kept once. Stepping is done in two halves, so that a save
/// that fails leaves the stack where it was.
class ConfigUndoStack {
public:
    static constexpr std::size_t kDefaultLimit = 100;

    /// `limit`: how many steps can be undone; the oldest are forgotten.
    explicit ConfigUndoStack(const std::vector<ConfigItem>& items, std::size_t limit = kDefaultLimit);

    /// The list after an edit, which is now the present one. What had been undone is forgotten.
    void record(std::string name, const std::vector<ConfigItem>& items);
    /// The list as somebody else changed it, in a text editor for example: a step of its own, unless it is
    /// the present list anyway.
    void follow(const std::vector<ConfigItem>& items);

    /// A list to save, and the name of the edit that it takes back or brings back.
    struct Step {
        std::string name;
        std::vector<ConfigItem> items;
    };
    [[nodiscard]] std::optional<std::string> undoName() const; ///< none: nothing can be undone
    [[nodiscard]] std::optional<std::string> redoName() const;
    [[nodiscard]] std::optional<Step> undoStep() const;
    [[nodiscard]] std::optional<Step> redoStep() const;
    /// The list of `undoStep` has been saved and is now the present one.
    void didUndo();
    void didRedo();

private:
    using SharedItem = std::shared_ptr<const ConfigItem>;
    struct State {
        std::string name; ///< of the edit that made it
        std::vector<SharedItem> items;
    };
    [[nodiscard]] std::vector<SharedItem> shared(const std::vector<ConfigItem>& items) const;
    static std::vector<ConfigItem> copied(const std::vector<SharedItem>& items);

    std::size_t limit_;
    std::deque<State> states_;
    std::size_t present_ = 0;
};

} // namespace varnel
