#pragma once

#include "cli/Verb.h"
#include "config/ConfigItem.h"

#include <expected>
#include <optional>
#include <string>

namespace varnel {

/// A configuration file as a verb was told to read it.
struct ConfigText {
    std::string path; ///< for messages, and to save to: "-" is standard input
    std::string text;
};

/// The file named by `argument` or `--config`, else the active one, which is located as the application does
/// but never created. The error is a sentence for the user.
std::expected<ConfigText, std::string> readConfig(const VerbCall& call,
                                                  const std::optional<std::string>& argument = std::nullopt);

/// Saves as the application does, with the backup. The error is a sentence.
std::expected<void, std::string> saveConfig(const std::string& path, const std::string& text);

/// The decoded configuration of `--config`, else the active one.
std::expected<ConfigFileDocument, std::string> loadConfig(const VerbCall& call);

} // namespace varnel
