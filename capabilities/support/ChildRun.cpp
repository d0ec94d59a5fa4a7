#include "capabilities/support/ChildRun.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace varnel::capability {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kKeptErrorText = 4096;
constexpr std::size_t kShownErrorLine = 160;

int childEnded[2] = {-1, -1};

/// Wakes the wait for output when a child ends: the pipe may stay open in a process that it left behind.
void noteChildEnded(int) {
    const int saved = errno;
    [[maybe_unused]] const ssize_t ignored = ::write(childEnded[1], "x", 1);
    errno = saved;
}

UniqueFd awayFromStandardStreams(int descriptor) {
    if (descriptor > 2)
        return UniqueFd(descriptor);
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    ::close(descriptor);
    return UniqueFd(moved);
}

bool makePipe(UniqueFd& readEnd, UniqueFd& writeEnd) {
    int ends[2];
    if (::pipe(ends) != 0)
        return false;
    readEnd = awayFromStandardStreams(ends[0]);
    writeEnd = awayFromStandardStreams(ends[1]);
    return readEnd && writeEnd && ::fcntl(readEnd.get(), F_SETFD, FD_CLOEXEC) == 0 &&
           ::fcntl(writeEnd.get(), F_SETFD, FD_CLOEXEC) == 0;
}

/// Makes the end of a child wake a poll; once for the process.
bool watchChildren() {
    if (childEnded[0] >= 0)
        return true;
    UniqueFd readEnd, writeEnd;
    if (!makePipe(readEnd, writeEnd))
        return false;
    ::fcntl(readEnd.get(), F_SETFL, O_NONBLOCK);
    ::fcntl(writeEnd.get(), F_SETFL, O_NONBLOCK);
    childEnded[0] = readEnd.release();
    childEnded[1] = writeEnd.release();
    struct sigaction action {};
    action.sa_handler = noteChildEnded;
    action.sa_flags = SA_NOCLDSTOP | SA_RESTART;
    return ::sigaction(SIGCHLD, &action, nullptr) == 0;
}

int spawn(const std::vector<std::string>& words, int errors, pid_t& child) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errors, 2);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    const int code = ::posix_spawnp(&child, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return code;
}

} // namespace

std::expected<ChildRun, int> ChildRun::start(const std::vector<std::string>& words) {
    ChildRun run;
    UniqueFd writeEnd;
    if (!watchChildren() || !makePipe(run.errors_, writeEnd))
        return std::unexpected(errno);
    if (const int code = spawn(words, writeEnd.get(), run.child_); code != 0)
        return std::unexpected(code);
    return run;
}

bool ChildRun::readErrors() {
    char buffer[4096];
    const ssize_t count = ::read(errors_.get(), buffer, sizeof buffer);
    if (count < 0)
        return errno == EINTR || errno == EAGAIN;
    errorText_.append(buffer, static_cast<std::size_t>(count));
    if (errorText_.size() > kKeptErrorText)
        errorText_.erase(0, errorText_.size() - kKeptErrorText);
    return count > 0;
}

void ChildRun::drainWhatIsThere() {
    pollfd ready{errors_.get(), POLLIN, 0};
    // At most what a pipe holds: a process left behind may go on writing.
    for (int i = 0; i < 16 && ::poll(&ready, 1, 0) > 0 && readErrors(); ++i) {
    }
}

std::optional<int> ChildRun::wait(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    for (bool open = true;;) {
        int status = 0;
        if (::waitpid(child_, &status, WNOHANG) == child_) {
            drainWhatIsThere();
            return status;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return std::nullopt;
        pollfd waits[2] = {{childEnded[0], POLLIN, 0}, {errors_.get(), POLLIN, 0}};
        if (::poll(waits, open ? 2 : 1, static_cast<int>(left)) <= 0)
            continue;
        char note[16];
        if (waits[0].revents != 0 && ::read(childEnded[0], note, sizeof note) < 0 && errno != EAGAIN)
            return std::nullopt;
        if (open && waits[1].revents != 0)
            open = readErrors();
    }
}

std::string ChildRun::errorLine() const {
    const std::string_view text = trimmed(errorText_);
    const std::size_t lineBreak = text.find_last_of("\r\n");
    return singleLine(lineBreak == std::string_view::npos ? text : text.substr(lineBreak + 1),
                      kShownErrorLine);
}

void ChildRun::keepReading() const {
    if (::fork() != 0)
        return;
    ::setsid();
    ::signal(SIGCHLD, SIG_DFL);
    // Whoever runs us waits for the end of these streams.
    for (int descriptor = 0; descriptor < 3; ++descriptor)
        ::close(descriptor);
    char buffer[4096];
    ssize_t count;
    do
        count = ::read(errors_.get(), buffer, sizeof buffer);
    while (count > 0 || (count < 0 && errno == EINTR));
    ::_exit(0);
}

void ChildRun::end() const {
    ::kill(-child_, SIGKILL);
}

std::string describeEnd(std::string_view what, int waitStatus, std::string_view errorLine) {
    std::string text =
        WIFSIGNALED(waitStatus)
            ? localized("%1 was ended by signal %2", {what, std::to_string(WTERMSIG(waitStatus))})
            : localized("%1 ended with status %2", {what, std::to_string(WEXITSTATUS(waitStatus))});
    return errorLine.empty() ? text : text + ": " + std::string(errorLine);
}

} // namespace varnel::capability
