#include "overlay/IconFiles.h"

#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace varnel {
namespace {

namespace fs = std::filesystem;

constexpr int kSizes[] = {16, 22, 24, 32, 36, 48, 64, 72, 96, 128, 192, 256, 512};
/// The theme that every application installs its icon into, and where desktops put their own applications'.
constexpr std::string_view kThemes[] = {"hicolor", "Adwaita", "breeze", "gnome"};
constexpr std::string_view kEndings[] = {".png", ".svg", ".xpm"};

bool isFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

/// "Icon=" of the entry's main section.
std::optional<std::string> iconOfDesktopEntry(const fs::path& path) {
    std::ifstream file(path);
    std::string line;
    bool isMain = false;
    while (std::getline(file, line)) {
        const std::string_view text = trimmed(line);
        if (text.starts_with('['))
            isMain = text == "[Desktop Entry]";
        else if (isMain && text.starts_with("Icon"))
            if (const auto equals = text.find('='); equals != std::string_view::npos)
                return std::string(trimmed(text.substr(equals + 1)));
    }
    return std::nullopt;
}

/// The names under which an application may have an icon, the likeliest first.
std::vector<std::string> iconNames(const std::string& applicationPath,
                                   const std::vector<std::string>& dataFolders) {
    const fs::path path(applicationPath);
    std::vector<std::string> names;
    const auto add = [&](const std::optional<std::string>& name) {
        if (name && !name->empty())
            names.push_back(*name);
    };
    if (path.extension() == ".desktop") {
        add(iconOfDesktopEntry(path));
        add(path.stem().string());
        return names;
    }
    const std::string name = path.extension() == ".app" ? path.stem().string() : path.filename().string();
    const std::string lower = lowercased(name);
    for (const std::string& folder : dataFolders)
        for (const std::string& stem : {name, lower})
            add(iconOfDesktopEntry(fs::path(folder) / "applications" / (stem + ".desktop")));
    add(name);
    add(lower);
    return names;
}

/// The sizes to try, those at or above the wish first and rising, then the smaller ones falling.
std::vector<std::string> sizeFolders(int wish) {
    std::vector<int> sizes(std::begin(kSizes), std::end(kSizes));
    const auto middle = std::ranges::lower_bound(sizes, wish);
    std::vector<std::string> folders;
    for (auto it = middle; it != sizes.end(); ++it)
        folders.push_back(std::to_string(*it) + "x" + std::to_string(*it));
    folders.emplace_back("scalable");
    for (auto it = std::make_reverse_iterator(middle); it != sizes.rend(); ++it)
        folders.push_back(std::to_string(*it) + "x" + std::to_string(*it));
    return folders;
}

std::optional<std::string> pictureNamed(const std::string& name, int size,
                                        const std::vector<std::string>& dataFolders) {
    if (name.starts_with('/'))
        return isFile(name) ? std::optional(name) : std::nullopt;
    const std::vector<std::string> sizes = sizeFolders(size);
    std::error_code ignored;
    for (const std::string_view theme : kThemes)
        for (const std::string& folder : dataFolders) {
            const fs::path root = fs::path(folder) / "icons" / theme;
            if (!fs::is_directory(root, ignored))
                continue;
            for (const std::string& sizeFolder : sizes)
                for (const std::string_view ending : kEndings)
                    if (fs::path file = root / sizeFolder / "apps" / (name + std::string(ending));
                        isFile(file))
                        return file.string();
        }
    for (const std::string& folder : dataFolders)
        for (const std::string_view ending : kEndings)
            if (fs::path file = fs::path(folder) / "pixmaps" / (name + std::string(ending)); isFile(file))
                return file.string();
    return std::nullopt;
}

} // namespace

std::vector<std::string> iconDataFolders() {
    const auto variable = [](const char* name, std::string fallback) {
        const char* value = std::getenv(name);
        return value && *value ? std::string(value) : std::move(fallback);
    };
    std::vector<std::string> folders{variable("XDG_DATA_HOME", variable("HOME", "") + "/.local/share")};
    const std::string shared = variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    for (const std::string_view folder : split(shared, ':'))
        if (folder.starts_with('/'))
            folders.emplace_back(folder);
    return folders;
}

std::optional<std::string> iconFile(const std::string& applicationPath, int size,
                                    const std::vector<std::string>& dataFolders) {
    for (const std::string& name : iconNames(applicationPath, dataFolders))
        if (auto file = pictureNamed(name, size, dataFolders))
            return file;
    return std::nullopt;
}

} // namespace varnel
