#include "app/Lesson.h"

#include "keyboard/notation/KeyTokenCodec.h"

#include <tuple>
#include <utility>

namespace varnel {

std::optional<LessonExample> chooseExample(const std::vector<ConfigItem>& items) {
    std::optional<LessonExample> found;
    for (const ConfigItem& item : items) {
        if (item.type != ItemType::action || !item.isEnabled || item.keys.size() < 2)
            continue;
        const bool isChord = KeyTokenCodec::parse(item.keys.front()).has_value();
        if (isChord || (!found && KeyTokenCodec::isModifierOnly(item.keys.front())))
            found = LessonExample{item.keys, item.name};
        if (isChord)
            break;
    }
    return found;
}

bool Lesson::follow(Interaction interaction, const std::string& lastKey) {
    const auto before = std::tuple(hasBegun_, hasEscaped_, hasFinished_);
    const Interaction earlier = std::exchange(before_, interaction);
    const bool wasOpen = earlier == Interaction::capture || earlier == Interaction::dynamicChoice;
    if (interaction == Interaction::capture)
        hasBegun_ = true;
    if (wasOpen && interaction == Interaction::idle && lastKey == "escape")
        hasEscaped_ = true;
    if (interaction == Interaction::selectionFeedback)
        hasFinished_ = true;
    return before != std::tuple(hasBegun_, hasEscaped_, hasFinished_);
}

} // namespace varnel
