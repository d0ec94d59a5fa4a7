#pragma once

#include "plugins/PluginManifest.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The package folder with the manifest's `executable` appended, standardized; an absolute one counts as
/// itself.
std::string pluginExecutablePath(std::string_view packageFolder, std::string_view executable);

/// Tells whether something exists at a path; links are followed.
using PathExists = std::function<bool(const std::string&)>;

/// Every message about a decoded manifest, in a fixed order; none when it is usable. `executablePath` is
/// `pluginExecutablePath`'s.
std::vector<std::string> validatePluginManifest(const PluginManifest& manifest,
                                                std::string_view packageFolder,
                                                std::string_view executablePath, const PathExists& exists);
/// The same, asking the real file system.
std::vector<std::string> validatePluginManifest(const PluginManifest& manifest,
                                                std::string_view packageFolder,
                                                std::string_view executablePath);

} // namespace varnel
