#pragma once

#include "config/ConfigItem.h"
#include "keyboard/HintState.h"

#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// A sequence of the user's own configuration that is good for trying.
struct LessonExample {
    std::vector<std::string> trigger; ///< two steps or more
    std::string name;
    friend bool operator==(const LessonExample&, const LessonExample&) = default;
};
/// The first enabled action behind a chord; else the first behind the tap of a modifier.
std::optional<LessonExample> chooseExample(const std::vector<ConfigItem>& items);

/// What a user has tried in the first window: to begin a sequence, to leave it by Escape, to finish one.
class Lesson {
public:
    /// Follows the engine; true when something was achieved. `lastKey` is the last token that was typed.
    bool follow(Interaction interaction, const std::string& lastKey);

    [[nodiscard]] bool hasBegun() const { return hasBegun_; }
    [[nodiscard]] bool hasEscaped() const { return hasEscaped_; }
    [[nodiscard]] bool hasFinished() const { return hasFinished_; }

private:
    Interaction before_ = Interaction::idle;
    bool hasBegun_ = false;
    bool hasEscaped_ = false;
    bool hasFinished_ = false;
};

} // namespace varnel
