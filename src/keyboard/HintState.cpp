#include "keyboard/HintState.h"

namespace varnel {

std::string_view interactionName(Interaction interaction) {
    switch (interaction) {
    case Interaction::idle:
        return "idle";
    case Interaction::capture:
        return "capture";
    case Interaction::pendingPassthrough:
        return "pendingPassthrough";
    case Interaction::dynamicChoice:
        return "dynamicChoice";
    case Interaction::selectionFeedback:
        return "selectionFeedback";
    case Interaction::frozenOverlay:
        return "frozenOverlay";
    }
    return "idle";
}

} // namespace varnel
