#pragma once

#include "overlay/KeyCaps.h"
#include "overlay/OverlayPreferences.h"
#include "overlay/SuggestionOverlayState.h"

namespace varnel {

/// What the window shows for what the engine publishes: keys labelled, rows ordered, texts in the user's
/// language. Pure.
SuggestionOverlayState suggestionState(const HintState& hints, OverlayOrder order, const KeyNaming& naming);

/// A refused key alone with the keys before it.
SuggestionOverlayState refusalState(const HintRefusal& refusal, const KeyNaming& naming);
/// Marks the refused key in what was on show.
void showRefusal(SuggestionOverlayState& state, const HintRefusal& refusal, const KeyNaming& naming);

/// Invented hints that use everything that the window can draw.
SuggestionOverlayState sampleState(const KeyNaming& naming);

} // namespace varnel
