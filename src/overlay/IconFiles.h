#pragma once

#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// Where a desktop keeps application icons: its data folders in their order ("/usr/share"), each with icon
/// themes, desktop entries and loose pictures.
std::vector<std::string> iconDataFolders();

/// The picture of an application known by the path of its desktop entry, its program or an ".app" of the same
/// name: a file that exists, nearest above `size` pixels. Reads folders: not for the main thread.
std::optional<std::string> iconFile(const std::string& applicationPath, int size,
                                    const std::vector<std::string>& dataFolders);

} // namespace varnel
