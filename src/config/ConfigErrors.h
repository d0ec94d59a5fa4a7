#pragma once

#include "base/FileSystem.h"
#include "config/ConfigDocument.h"

#include <string>
#include <variant>

namespace varnel {

/// The storage was asked for a file that is not there, or to create one that is.
struct ConfigStorageProviderError {
    enum class Kind { fileNotFound, fileAlreadyExists } kind = Kind::fileNotFound;
    std::string url;
    friend bool operator==(const ConfigStorageProviderError&, const ConfigStorageProviderError&) = default;
};
std::string describe(const ConfigStorageProviderError& error);

/// `invalidConfiguration`: the file that the user chose does not decode.
struct ConfigFileSelectionError {
    std::string url;
    ConfigDecodingError underlying;
    friend bool operator==(const ConfigFileSelectionError&, const ConfigFileSelectionError&) = default;
};
std::string describe(const ConfigFileSelectionError& error);
/// Why it does not: the underlying error's description.
std::string failureReason(const ConfigFileSelectionError& error);

/// Saving would replace a file that could not be read when the program started. `reason` is the reading
/// error's description.
struct UnreadConfigError {
    std::string url;
    std::string reason;
    friend bool operator==(const UnreadConfigError&, const UnreadConfigError&) = default;
};
std::string describe(const UnreadConfigError& error);

/// Nothing is saved at `url`, nor anywhere else, because the program runs on the built-in configuration.
struct SafeModeError {
    std::string url;
    friend bool operator==(const SafeModeError&, const SafeModeError&) = default;
};
std::string describe(const SafeModeError& error);

/// Everything that can keep a configuration from being read, written or chosen.
using ConfigError = std::variant<FileError, ConfigStorageProviderError, ConfigFileSelectionError,
                                 ConfigDecodingError, ConfigEncodingError, UnreadConfigError, SafeModeError>;
std::string describe(const ConfigError& error);

} // namespace varnel
