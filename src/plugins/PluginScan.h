#pragma once

#include "plugins/PluginDescriptor.h"
#include "plugins/PluginTrust.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

struct PluginFolders {
    std::string bundled; ///< empty: none
    std::string user;
    std::string earlierUser; ///< moved to `user` when that does not exist; empty: none
};

/// Prepares the user folder, then reads every package of both folders. Never blocks on special files; what is
/// wrong with one package concerns that package only. Any thread.
PluginRegistry scanPlugins(const PluginFolders& folders, const PluginTrustStore& trust);

/// Decides who of several packages with one identifier runs; also after a descriptor's trust has changed.
PluginRegistry resolvePlugins(std::vector<PluginDescriptor> descriptors);

/// Why a package with a trust record is not trusted any more: what changed. None when it has no record.
std::optional<std::string> lapseReason(const PluginDescriptor& descriptor, const PluginTrustStore& trust);

/// The most that one package may hold.
inline constexpr std::uint64_t kMaximumPackageBytes = std::uint64_t{4} << 30;
/// The most that a manifest may hold.
inline constexpr std::size_t kMaximumManifestBytes = std::size_t{4} << 20;

/// Reads a manifest's bytes: a plain file, no link, of moderate size. The error is a sentence.
std::expected<std::string, std::string> readManifestText(const std::string& path);

} // namespace varnel
