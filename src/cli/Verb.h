#pragma once

#include "cli/Console.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varnel {

/// How a verb ends.
namespace ExitStatus {
inline constexpr int fine = 0;
inline constexpr int no = 1;     ///< the answer is "no", or there are warnings
inline constexpr int failed = 2; ///< the call or the input is wrong, or something cannot be read
} // namespace ExitStatus

/// Complains, and gives the status of what failed.
inline int fail(Console& console, std::string_view message) {
    console.complain(message);
    return ExitStatus::failed;
}

/// An option that a verb takes. Texts are literals.
struct VerbOption {
    std::string_view name;  ///< with its dashes: "--config"
    std::string_view value; ///< what stands for its value in the help ("FILE"); empty for a switch
    std::string_view help;
};

/// The options that several verbs share.
inline constexpr VerbOption kJSONOption{"--json", "", "print JSON"};
inline constexpr VerbOption kConfigOption{"--config", "FILE", "use this configuration file"};
inline constexpr VerbOption kBundledPluginsOption{"--bundled-plugins", "DIR",
                                                  "the folder of the bundled plugins"};
inline constexpr VerbOption kUserPluginsOption{"--user-plugins", "DIR", "the folder of the user's plugins"};

/// A call of a verb, already checked against its table: only known options, values where they belong, and a
/// number of arguments that the verb accepts. `--option=value`, `--option value` and `--` are understood.
struct VerbCall {
    std::string program; ///< argv[0]
    std::vector<std::string> arguments;
    std::vector<std::pair<std::string, std::string>> options; ///< as given, in order; switches have no value

    [[nodiscard]] bool has(std::string_view option) const;
    /// The value given last.
    [[nodiscard]] std::optional<std::string> value(std::string_view option) const;
};

/// One word of the command line, in a file of its own below verbs/. Listed in Verbs.cpp.
struct Verb {
    std::string_view name;
    std::string_view arguments = {}; ///< as the help shows them: "TOKEN…"
    std::string_view summary;   ///< one line for the list of verbs
    std::size_t minimumArguments = 0;
    std::size_t maximumArguments = 0;
    std::span<const VerbOption> options;
    bool isForPrograms = false; ///< prints what programs read, whatever the options: always in English
    /// Returns the exit status. Results go to `console.out`, diagnostics to `console.complain`.
    int (*run)(const VerbCall& call, Console& console) = nullptr;
};
inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

} // namespace varnel
