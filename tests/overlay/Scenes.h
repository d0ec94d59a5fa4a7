#pragma once

#include "overlay/SuggestionOverlayState.h"

#include <string>
#include <vector>

namespace varnel::test {

/// Hints as users meet them, by name: for pictures, measurements and tests.
std::vector<std::string> sceneNames();
/// The named scene; with an unknown name, an empty state.
SuggestionOverlayState scene(const std::string& name);

} // namespace varnel::test
