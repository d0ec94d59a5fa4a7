#pragma once

#include "base/UniqueFd.h"

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace varnel {

/// The other end of `varnel-keyguard`, a small process that watches over this one while it holds the
/// keyboard: when this process is stopped meanwhile, it has the server close our connection, which frees
/// every key. Main thread only.
class CaptureGuard {
public:
    /// Starts `program`, with a connection to `display` of its own that serves to close the client that owns
    /// `resource`. Does nothing more when that fails: there is no guard then.
    CaptureGuard(const std::string& program, const std::string& display, std::uint32_t resource);
    /// Ends the process and waits for it.
    ~CaptureGuard();
    CaptureGuard(const CaptureGuard&) = delete;
    CaptureGuard& operator=(const CaptureGuard&) = delete;

    /// One short write, which never blocks.
    void tell(bool isCapturing);

private:
    UniqueFd pipe_;
    pid_t process_ = -1;
};

} // namespace varnel
