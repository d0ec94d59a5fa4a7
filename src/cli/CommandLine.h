#pragma once

#include "cli/Verb.h"

#include <expected>
#include <span>
#include <string>
#include <vector>

namespace varnel {

/// A call that cannot be carried out, as a sentence that names the nearest option or verb where there is one.
struct UsageError {
    std::string message;
};

/// Checks `words` (those after the verb) against the verb's table.
std::expected<VerbCall, UsageError> parseCall(const Verb& verb, std::span<const std::string> words);

/// The whole program: finds the verb, answers `--help` and `--version`, runs it. Returns the exit status.
int runCommandLine(const std::vector<std::string>& words, Console& console);

/// The help of one verb, or the list of all.
std::string helpText(const Verb& verb);
std::string helpText(std::span<const Verb* const> verbs);

} // namespace varnel
