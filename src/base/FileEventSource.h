#pragma once

#include "base/EventLoop.h"
#include "base/Subscription.h"

#include <functional>
#include <string>

namespace varnel {

/// What happened to a watched file or folder.
enum class FileEvent {
    write,  ///< a file's content changed; in a folder an entry came, went or was renamed
    rename, ///< it was moved away or replaced by another file
    remove, ///< it was deleted
};

/// Watches single files and folders without opening them for reading. A change inside a file is no event of
/// its folder. Main thread; callbacks arrive there through the loop.
class FileEventSource {
public:
    virtual ~FileEventSource() = default;
    /// The watch follows the file that the path names now (its inode). An empty subscription when the path
    /// cannot be watched, for example because it does not exist.
    [[nodiscard]] virtual Subscription watch(const std::string& path, std::function<void(FileEvent)> callback) = 0;
};

} // namespace varnel
