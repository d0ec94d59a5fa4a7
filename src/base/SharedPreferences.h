#pragma once

#include "base/FileEventSource.h"
#include "base/FileSystem.h"
#include "base/PreferenceStore.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>

namespace varnel {

/// Preferences that other programs, such as the command line, change while this one runs.
class SharedPreferences : public PreferenceStore {
public:
    /// Takes over what others have changed. On failure (a sentence for the user) the values stay as they
    /// were.
    virtual std::expected<void, std::string> reload() = 0;
    /// Where they are kept, for people: a path, or the name of the system's domain.
    [[nodiscard]] virtual std::string place() const = 0;

    /// What `reload` said.
    using Reloaded = std::function<void(const std::expected<void, std::string>&)>;
    /// Reloads after each change and tells of it. Main thread; `events` must outlive the subscription, which
    /// must not outlive the preferences.
    [[nodiscard]] virtual Subscription watch(FileEventSource& events, Reloaded reloaded) = 0;
};

/// Those of the system that this build is for; nothing is loaded yet. `path` is the file where the system has
/// no place of its own. `files` must outlive them.
std::unique_ptr<SharedPreferences> openSystemPreferences(FileSystem& files, const std::string& path);

} // namespace varnel
