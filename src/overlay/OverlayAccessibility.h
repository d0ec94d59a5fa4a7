#pragma once

namespace varnel {

class SuggestionOverlayWidget;

/// Lets assistive technology see the painted window as a list with one item a row. Once a process is enough.
void installOverlayAccessibility();
/// Tells those who listen that the window shows something else now.
void tellAssistants(SuggestionOverlayWidget& widget);

} // namespace varnel
