#include "runtime/LocalSocket.h"

#include <unistd.h>

namespace varnel {

std::optional<uid_t> LocalSocket::peerUser(int descriptor) {
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(descriptor, &user, &group) != 0)
        return std::nullopt;
    return user;
}

} // namespace varnel
