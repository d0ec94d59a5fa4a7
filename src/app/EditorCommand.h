#pragma once

#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The command line of the editor for the configuration; absent or empty: the system's program for the file.
inline constexpr std::string_view kEditorPreference = "configurationEditor";

/// The words that open `path`: those of `preference` with the path in place of "%f", or at their end. Words
/// may be quoted as in a shell; nothing is expanded. `findProgram` gives the path of a program in PATH, ""
/// for none. The error is a sentence with the remedy.
std::expected<std::vector<std::string>, std::string>
editorCommand(std::string_view preference, const std::string& path, const std::string& systemOpener,
              const std::function<std::string(const std::string&)>& findProgram);

} // namespace varnel
