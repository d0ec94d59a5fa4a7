#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// What a desktop entry file says about an application, escapes resolved. Localised values are not read.
struct DesktopEntry {
    std::string path; ///< of the file
    std::string name;
    std::string icon;
    std::string exec;          ///< the command line, quoting and field codes still in it
    std::string tryExec;       ///< a program that must be there, else the application counts as not installed
    std::string workingFolder; ///< empty: none demanded
    std::string startupClass;  ///< WM_CLASS of its windows, where it is known to differ
    std::vector<std::string> categories;
    std::vector<std::string> mimeTypes;
    bool isHidden = false; ///< counts as deleted
    bool needsTerminal = false;
};

/// Nothing when the text is no entry of an application.
std::optional<DesktopEntry> parseDesktopEntry(std::string_view text, std::string path);

/// The program and its arguments with these files or URLs in place of the field codes; without a field code
/// for them they come last. The error says what is wrong with the command line.
std::expected<std::vector<std::string>, std::string> commandLine(const DesktopEntry& entry,
                                                                 const std::vector<std::string>& files = {});

} // namespace varnel
