#include "commands/DesktopEntryFolders.h"

#include "base/Text.h"

#include <algorithm>
#include <set>

namespace varnel {

namespace {

constexpr std::string_view kSuffix = ".desktop";
constexpr std::uint64_t kLargestEntry = 1 << 20;
constexpr int kDeepestFolder = 4;

/// The entries below a folder: relative paths, sorted.
void collect(FileSystem& files, const std::string& folder, const std::string& prefix, int depth,
             std::vector<std::string>& found) {
    auto names = files.list(folder);
    if (!names)
        return;
    std::ranges::sort(*names);
    for (const std::string& name : *names) {
        if (name.ends_with(kSuffix)) {
            found.push_back(prefix + name);
            continue;
        }
        // Other files than entries are rare here, for instance caches.
        const auto info = depth < kDeepestFolder && !name.contains('.') ? files.info(appendPath(folder, name))
                                                                        : std::unexpected(FileError{});
        if (info && info->kind == FileSystem::Info::Kind::folder)
            collect(files, appendPath(folder, name), prefix + name + "/", depth + 1, found);
    }
}

/// What a mimeapps.list has chosen for a type, best first.
std::vector<std::string> chosenFor(std::string_view list, std::string_view mimeType) {
    bool isInGroup = false;
    for (const std::string_view raw : split(list, '\n')) {
        const std::string_view line = trimmed(raw);
        if (line.starts_with('['))
            isInGroup = line == "[Default Applications]";
        const std::size_t equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos || trimmed(line.substr(0, equals)) != mimeType)
            continue;
        std::vector<std::string> identifiers;
        for (const std::string_view identifier : split(line.substr(equals + 1), ';'))
            identifiers.emplace_back(trimmed(identifier));
        return identifiers;
    }
    return {};
}

std::string identifierOf(std::string relativePath) {
    std::ranges::replace(relativePath, '/', '-');
    return relativePath.substr(0, relativePath.size() - kSuffix.size());
}

} // namespace

std::string_view environmentValue(const std::vector<std::string>& environment, std::string_view name) {
    for (const std::string_view variable : environment)
        if (variable.starts_with(name) && variable.substr(name.size()).starts_with('='))
            return variable.substr(name.size() + 1);
    return {};
}

DesktopEntryFolders::DesktopEntryFolders(FileSystem& files, const std::vector<std::string>& environment)
    : files_(files) {
    const std::string_view home = environmentValue(environment, "HOME");
    const auto own = [&](std::string_view variable, std::string_view fallback) {
        const std::string_view folder = environmentValue(environment, variable);
        return folder.empty() ? appendPath(home, fallback) : std::string(folder);
    };
    const auto add = [&](std::string_view dataFolder) {
        // Relative ones are to be ignored.
        if (dataFolder.starts_with('/'))
            folders_.push_back(appendPath(dataFolder, "applications"));
    };
    add(own("XDG_DATA_HOME", ".local/share"));
    const std::string_view shared = environmentValue(environment, "XDG_DATA_DIRS");
    for (const std::string_view folder : split(shared.empty() ? "/usr/local/share:/usr/share" : shared, ':'))
        add(folder);
    defaultLists_.push_back(appendPath(own("XDG_CONFIG_HOME", ".config"), "mimeapps.list"));
    for (const std::string& folder : folders_)
        defaultLists_.push_back(appendPath(folder, "mimeapps.list"));
}

std::optional<DesktopEntry> DesktopEntryFolders::read(const std::string& path) {
    const auto info = files_.info(path);
    if (!info || info->kind != FileSystem::Info::Kind::file || info->size > kLargestEntry)
        return std::nullopt;
    const auto text = files_.readFile(path);
    std::optional<DesktopEntry> entry = text ? parseDesktopEntry(*text, path) : std::nullopt;
    return entry && !entry->isHidden ? entry : std::nullopt;
}

void DesktopEntryFolders::visit(const Visitor& visitor) {
    std::set<std::string> seen;
    for (const std::string& folder : folders_) {
        std::vector<std::string> paths;
        collect(files_, folder, "", 0, paths);
        for (const std::string& path : paths) {
            const std::string identifier = identifierOf(path);
            if (!seen.insert(identifier).second)
                continue;
            const std::optional<DesktopEntry> entry = read(appendPath(folder, path));
            if (entry && !visitor(*entry, identifier))
                return;
        }
    }
}

std::optional<DesktopEntry> DesktopEntryFolders::entryWithIdentifier(std::string_view identifier) {
    if (identifier.ends_with(kSuffix))
        identifier.remove_suffix(kSuffix.size());
    if (identifier.empty() || identifier.contains('/'))
        return std::nullopt;
    const std::string fileName = std::string(identifier) + std::string(kSuffix);
    for (const std::string& folder : folders_)
        if (const std::string path = appendPath(folder, fileName); files_.exists(path))
            return read(path);
    // A dash of the identifier may stand for a folder.
    std::optional<DesktopEntry> found;
    if (identifier.contains('-'))
        visit([&](const DesktopEntry& entry, const std::string& candidate) {
            if (candidate == identifier)
                found = entry;
            return !found;
        });
    return found;
}

std::optional<DesktopEntry> DesktopEntryFolders::entryNamed(std::string_view name) {
    const std::string wanted = lowercased(name);
    std::optional<DesktopEntry> byName, byFile, byLastPart;
    visit([&](const DesktopEntry& entry, const std::string& identifier) {
        const std::string lower = lowercased(identifier);
        if (lowercased(entry.name) == wanted)
            byName = entry;
        else if (!byFile && lower == wanted)
            byFile = entry;
        else if (!byLastPart && lower.substr(lower.rfind('.') + 1) == wanted)
            byLastPart = entry;
        return !byName;
    });
    return byName ? byName : byFile ? byFile : byLastPart;
}

std::optional<DesktopEntry> DesktopEntryFolders::entryForType(std::string_view mimeType) {
    for (const std::string& path : defaultLists_) {
        const auto list = files_.readFile(path);
        for (const std::string& identifier : chosenFor(list.value_or(""), mimeType))
            if (std::optional<DesktopEntry> entry = entryWithIdentifier(identifier))
                return entry;
    }
    return firstEntry([&](const DesktopEntry& entry) {
        return std::ranges::find(entry.mimeTypes, mimeType) != entry.mimeTypes.end();
    });
}

std::optional<DesktopEntry>
DesktopEntryFolders::firstEntry(const std::function<bool(const DesktopEntry&)>& matches) {
    std::optional<DesktopEntry> found;
    visit([&](const DesktopEntry& entry, const std::string&) {
        if (matches(entry))
            found = entry;
        return !found;
    });
    return found;
}

} // namespace varnel
