#pragma once

#include "base/FileSystem.h"
#include "commands/DesktopEntry.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The folders in which applications leave their desktop entries. Reads the disk at every question.
class DesktopEntryFolders {
public:
    /// Takes the folders from the environment ("NAME=value" strings); the earlier ones win. `files` must
    /// outlive it.
    DesktopEntryFolders(FileSystem& files, const std::vector<std::string>& environment);

    /// The entry with this desktop-file identifier, ".desktop" being optional. One that is hidden hides those
    /// of the later folders.
    std::optional<DesktopEntry> entryWithIdentifier(std::string_view identifier);
    /// The entry that goes by this name, in any case: by its Name, else by its file's name, else by the last
    /// part of a dotted identifier.
    std::optional<DesktopEntry> entryNamed(std::string_view name);
    /// The application that the user has chosen for a MIME type, else the first one that takes it.
    std::optional<DesktopEntry> entryForType(std::string_view mimeType);
    /// The first entry, in the order of folders and file names, of which `matches` is true.
    std::optional<DesktopEntry> firstEntry(const std::function<bool(const DesktopEntry&)>& matches);

    /// The file at `path` as an entry; nothing when it is none or counts as deleted.
    std::optional<DesktopEntry> read(const std::string& path);

private:
    /// False ends the walk.
    using Visitor = std::function<bool(const DesktopEntry& entry, const std::string& identifier)>;
    void visit(const Visitor& visitor);

    FileSystem& files_;
    std::vector<std::string> folders_;
    std::vector<std::string> defaultLists_; ///< mimeapps.list files, the user's first
};

/// The value of a variable among "NAME=value" strings; empty when it is not there.
std::string_view environmentValue(const std::vector<std::string>& environment, std::string_view name);

} // namespace varnel
