#include "keyboard/x11/CaptureGuard.h"

#include <xcb/xcb.h>

#include <cerrno>
#include <initializer_list>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace varnel {
namespace {

/// A connected socket on which nothing but further requests has to be written; empty when there is none.
UniqueFd connectedSocket(const std::string& display) {
    xcb_connection_t* const connection = xcb_connect(display.empty() ? nullptr : display.c_str(), nullptr);
    UniqueFd socket;
    const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (xcb_connection_has_error(connection) == 0 && nothing) {
        const int descriptor = xcb_get_file_descriptor(connection);
        socket.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
        // The library shuts its socket down when it disconnects, for all who share it: give it another one.
        ::dup2(nothing.get(), descriptor);
    }
    xcb_disconnect(connection);
    return socket;
}

} // namespace

CaptureGuard::CaptureGuard(const std::string& program, const std::string& display, std::uint32_t resource) {
    const UniqueFd server = connectedSocket(display);
    int ends[2];
    if (!server || ::pipe2(ends, O_CLOEXEC) != 0)
        return;
    const UniqueFd readEnd(ends[0]);
    pipe_.reset(ends[1]);
    ::fcntl(pipe_.get(), F_SETFL, O_NONBLOCK);

    // The child gets the two as standard input and output, whose numbers everybody knows.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, readEnd.get(), 0);
    posix_spawn_file_actions_adddup2(&actions, server.get(), 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A group of its own: what stops us from the terminal must not stop the guard as well.
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    std::string name = program, process = std::to_string(::getpid()), id = std::to_string(resource);
    char* const arguments[] = {name.data(), process.data(), id.data(), nullptr};
    if (::posix_spawn(&process_, program.c_str(), &actions, &attributes, arguments, environ) != 0) {
        process_ = -1;
        pipe_.reset();
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

CaptureGuard::~CaptureGuard() {
    pipe_.reset();
    while (process_ > 0 && ::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void CaptureGuard::tell(bool isCapturing) {
    const char word = isCapturing ? 'b' : 'e';
    // A full pipe or a guard that has died changes nothing for us.
    if (pipe_ && ::write(pipe_.get(), &word, 1) < 0 && errno == EPIPE)
        pipe_.reset();
}

} // namespace varnel
