#pragma once

#include "activation/AccessibilityElement.h"
#include "activation/WindowGeometry.h"
#include "base/FileSystem.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace varnel {

/// Which window a frame belongs to. Numbers are given again some day, processes too; both at once are not.
struct WindowIdentity {
    ProcessIdentifier process = 0;
    WindowNumber number = 0;
    friend auto operator<=>(const WindowIdentity&, const WindowIdentity&) = default;
};

/// Frames to go back to, in a file, for a system whose windows cannot carry them. A file that is damaged or
/// cannot be read counts as empty: what is lost is a place to go back to. One process at a time.
class WindowFrameStore {
public:
    /// `path` is absolute and its folder the user's own; when it is empty nothing is kept.
    WindowFrameStore(FileSystem& files, std::string path)
        : files_(files)
        , path_(std::move(path)) {}

    [[nodiscard]] std::optional<Rectangle> frame(const WindowIdentity& window) const;
    /// Keeps the frame, or forgets it when there is none, and every one whose window no longer `exists`. The
    /// old file stays as it is when this fails.
    std::expected<void, FileError> keep(const WindowIdentity& window, const std::optional<Rectangle>& frame,
                                        const std::function<bool(const WindowIdentity&)>& exists);

private:
    [[nodiscard]] std::map<WindowIdentity, Rectangle> read() const;

    FileSystem& files_;
    std::string path_;
};

} // namespace varnel
