#pragma once

#include "config/ConfigDocument.h"

#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// Where a text that does not load was probably damaged, when that is not where reading it failed.
struct ConfigDamage {
    JSONPosition position;
    std::string hint; ///< a clause that follows the reader's own message
};

/// For text that is no JSON: a bracket too many or too few shows only where reading gives up, often far away.
/// Finds the first line, before that one, whose indentation contradicts the brackets; else the end of the
/// line before blank ones.
std::optional<ConfigDamage> findBrokenText(std::string_view text, JSONPosition failure);

/// For a member that is missing: an unknown member of the same object that is spelled much like it.
std::optional<ConfigDamage> findMisspelledMember(std::string_view text, const ConfigFault& fault);

} // namespace varnel
