#pragma once

#include "config/ConfigItem.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A configuration text with everything mended that needs no decision.
struct FixedConfig {
    std::string text;              ///< canonical; the text as it was when nothing was done
    std::vector<std::string> done; ///< a sentence for each change
};

/// Spells steps canonically, gives items an identifier that have none or somebody else's, and brings older
/// forms into the current one. Mending twice is mending once. The error is a sentence: the text does not
/// load, or saving it would drop something that is written there.
std::expected<FixedConfig, std::string> fixDocument(std::string_view text);

} // namespace varnel
