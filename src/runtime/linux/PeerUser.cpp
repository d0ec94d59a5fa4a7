#include "runtime/LocalSocket.h"

#include <sys/socket.h>

namespace varnel {

std::optional<uid_t> LocalSocket::peerUser(int descriptor) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return std::nullopt;
    return credentials.uid;
}

} // namespace varnel
