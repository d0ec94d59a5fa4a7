#pragma once

#include "cli/Verb.h"

#include <span>

namespace varnel {

/// Every verb, in the order of the help.
std::span<const Verb* const> allVerbs();
const Verb* findVerb(std::string_view name);

} // namespace varnel
