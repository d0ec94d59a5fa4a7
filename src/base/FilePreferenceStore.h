#pragma once

#include "base/FileSystem.h"
#include "base/SharedPreferences.h"

#include <mutex>

namespace varnel {

/// Preferences in a file that holds one flat JSON object, kept in memory for reading. The file is read by
/// `reload` and again before each change, so that changes of other programs survive; changes replace it
/// atomically. A file that is no JSON object is never overwritten: the values in memory stay in force, and
/// the next change moves it aside to `<path>.damaged` (`.damaged-2`, …) first.
class FilePreferenceStore : public SharedPreferences {
public:
    /// Reads nothing yet: call `reload`. `files` must outlive the store.
    FilePreferenceStore(FileSystem& files, std::string path);

    /// Takes over what the file holds now; a missing file holds nothing. On failure (a sentence for the user)
    /// the values in memory stay. Any thread.
    std::expected<void, std::string> reload() override;
    [[nodiscard]] std::string place() const override { return path_; }
    /// Creates the file's folder, so that it can be watched.
    [[nodiscard]] Subscription watch(FileEventSource& events, Reloaded reloaded) override;

    [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override;
    std::expected<void, std::string> setValue(std::string_view key, std::optional<JSONValue> value) override;

private:
    std::expected<JSONValue::Object, std::string> readValues(bool& damaged);
    std::expected<void, std::string> moveAside();
    std::expected<void, std::string> write(const JSONValue::Object& values);

    FileSystem& files_;
    std::string path_;
    std::mutex fileMutex_; ///< one reader or writer of the file at a time; taken before `valuesMutex_`
    mutable std::mutex valuesMutex_;
    JSONValue::Object values_;
};

} // namespace varnel
