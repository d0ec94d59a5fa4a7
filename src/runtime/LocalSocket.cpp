#include "runtime/LocalSocket.h"

#include "base/FileSystem.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace varnel {

namespace {

/// A socket's address, which holds about a hundred bytes only: a longer path is reached through its opened
/// folder.
struct Address {
    sockaddr_un raw{};
    socklen_t length = sizeof raw;
    UniqueFd folder;

    /// 0 or an error number.
    int set(const std::string& path) {
        raw.sun_family = AF_UNIX;
        std::string text = path;
        const bool isName = text.starts_with('\0');
        if (isName) // as long as it is: every byte counts
            length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size());
        if (!isName && text.size() >= sizeof raw.sun_path) {
            folder.reset(::open(parentPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!folder)
                return errno;
            text = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + lastPathComponent(path);
        }
        if (text.size() >= sizeof raw.sun_path)
            return ENAMETOOLONG;
        std::memcpy(raw.sun_path, text.c_str(), text.size() + 1);
        return 0;
    }
    [[nodiscard]] const sockaddr* pointer() const { return reinterpret_cast<const sockaddr*>(&raw); }
};

std::expected<UniqueFd, int> makeSocket() {
    UniqueFd made(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (!made || ::fcntl(made.get(), F_SETFD, FD_CLOEXEC) != 0 ||
        ::fcntl(made.get(), F_SETFL, O_NONBLOCK) != 0)
        return std::unexpected(errno);
    return made;
}

} // namespace

std::expected<UniqueFd, int> LocalSocket::listenAt(const std::string& path) {
    Address address;
    if (int error = address.set(path))
        return std::unexpected(error);
    auto made = makeSocket();
    if (!made)
        return made;
    // Nobody can connect before `listen`, and by then the mode is right whatever the umask is.
    if (::bind(made->get(), address.pointer(), sizeof address.raw) != 0 || ::chmod(path.c_str(), 0600) != 0 ||
        ::listen(made->get(), 64) != 0)
        return std::unexpected(errno);
    return made;
}

std::expected<UniqueFd, int> LocalSocket::connectTo(const std::string& path) {
    Address address;
    if (int error = address.set(path))
        return std::unexpected(error);
    auto made = makeSocket();
    if (made && ::connect(made->get(), address.pointer(), address.length) != 0)
        return std::unexpected(errno);
    return made;
}

} // namespace varnel
