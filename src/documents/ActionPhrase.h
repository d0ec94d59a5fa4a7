#pragma once

#include "config/ConfigItem.h"

#include <string>

namespace varnel {

/// What an item does, in a few words for people, on one line: "Open Mail", "Press Ctrl+C". Empty for an item
/// without action.
std::string actionPhrase(const ConfigItem& item);

} // namespace varnel
