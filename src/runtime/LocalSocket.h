#pragma once

#include "base/UniqueFd.h"

#include <expected>
#include <optional>
#include <string>

#include <sys/types.h>

namespace varnel {

/// Sockets with a place in the file system. Everything here returns at once; failures are error numbers.
namespace LocalSocket {

/// Listening, readable and writable by its owner only. The file must not exist yet.
std::expected<UniqueFd, int> listenAt(const std::string& path);
/// Connected, not blocking. A path that begins with NUL is a name outside of the file system. ECONNREFUSED or
/// ENOENT: nobody listens. EAGAIN: somebody does, but is very busy.
std::expected<UniqueFd, int> connectTo(const std::string& path);
/// The user at the other end.
std::optional<uid_t> peerUser(int descriptor);

} // namespace LocalSocket
} // namespace varnel
