#include "plugins/PluginProcessRunner.h"

#include "base/Localized.h"
#include "plugins/PluginSpawn.h"
#include "plugins/ProcessSystem.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>
#include <system_error>

namespace varnel {

namespace {

using Kind = PluginProcessError::Kind;
using Clock = std::chrono::steady_clock;

/// While this lives, writing to a closed pipe on this thread is only an error number.
class PipeSignalBlock {
public:
    PipeSignalBlock() {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
        wasPending_ = isPending();
    }
    ~PipeSignalBlock() {
        int signal;
        if (!wasPending_ && isPending())
            ::sigwait(&pipe_, &signal);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    PipeSignalBlock(const PipeSignalBlock&) = delete;
    PipeSignalBlock& operator=(const PipeSignalBlock&) = delete;

private:
    static bool isPending() {
        sigset_t pending;
        ::sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t pipe_, before_;
    bool wasPending_;
};

/// Keeps what fits under the limit of both streams together.
class PluginProcessOutputCollector {
public:
    explicit PluginProcessOutputCollector(std::size_t maximumOutputBytes)
        : maximumOutputBytes_(maximumOutputBytes) {}

    void add(std::string& stream, std::string_view chunk) {
        const std::size_t room = maximumOutputBytes_ - std::min(capturedByteCount_, maximumOutputBytes_);
        capturedByteCount_ += chunk.size();
        stream.append(chunk.substr(0, room));
    }
    [[nodiscard]] bool didExceedLimit() const { return capturedByteCount_ > maximumOutputBytes_; }

private:
    std::size_t maximumOutputBytes_;
    std::size_t capturedByteCount_ = 0;
};

/// One running child, from its start until it has been reaped and its output has ended.
class PluginProcessSession {
public:
    PluginProcessSession(pid_t processIdentifier, PluginPipes pipes, std::string_view input,
                         const PluginProcessLimits& limits)
        : processIdentifier_(processIdentifier)
        , input_(input)
        , stdin_(std::move(pipes.standardInput.writeEnd))
        , stdout_(std::move(pipes.standardOutput.readEnd))
        , stderr_(std::move(pipes.standardError.readEnd))
        , exit_(watchChildExit(processIdentifier))
        , collector_(limits.maximumOutputBytes) {
        // A request that fits a pipe's smallest buffer can't block; a larger one must not.
        if (input_.size() > PIPE_BUF)
            ::fcntl(stdin_.get(), F_SETFL, O_NONBLOCK);
        writeInput();
    }

    /// True when the process has ended and both streams as well.
    bool waitForCompletion(TimePoint deadline) { return drain(deadline) && exit_->waitUntil(deadline); }

    /// Ends the process group: SIGTERM, and SIGKILL for what is left of it after the grace.
    void terminate(Duration grace) {
        ::kill(-processIdentifier_, SIGTERM);
        bool isComplete = waitForCompletion(Clock::now() + grace);
        // Reaped now, an ended leader no longer counts as a member of its group.
        if (exit_->waitUntil(Clock::now()))
            collect();
        if (::kill(-processIdentifier_, 0) != 0 && errno != EPERM) {
            if (!isComplete)
                finish(grace);
            return;
        }
        ::kill(-processIdentifier_, SIGKILL);
        if (!isComplete)
            finish(grace);
    }

    std::expected<PluginProcessResult, PluginProcessError> result(std::size_t limit) {
        collect();
        if (!status_->has_value())
            return std::unexpected(
                PluginProcessError{Kind::launchFailed,
                                   localized("Could not observe plugin process: %1",
                                             {std::system_category().message(status_->error())}),
                                   0, status_->error()});
        if (collector_.didExceedLimit())
            return std::unexpected(PluginProcessError{Kind::outputLimitExceeded, {}, limit, 0});
        const int status = **status_;
        output_.exitStatus = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        return std::move(output_);
    }

private:
    void collect() {
        if (!status_)
            status_ = exit_->collect();
    }

    /// What is left to wait for once the group has been told to end.
    void finish(Duration grace) {
        const TimePoint deadline = Clock::now() + grace;
        drain(deadline);
        if (!status_ && exit_->waitUntil(deadline))
            collect();
    }

    void writeInput() {
        if (input_.empty()) {
            stdin_.reset();
            return;
        }
        PipeSignalBlock block;
        ssize_t count = ::write(stdin_.get(), input_.data(), input_.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        // A child that has closed its input does not want the rest: that is no error.
        input_.remove_prefix(count < 0 ? input_.size() : static_cast<std::size_t>(count));
        if (input_.empty())
            stdin_.reset();
    }

    void read(UniqueFd& pipe, std::string& stream) {
        char buffer[65536];
        ssize_t count = ::read(pipe.get(), buffer, sizeof buffer);
        if (count > 0)
            collector_.add(stream, {buffer, static_cast<std::size_t>(count)});
        else if (count == 0 || (errno != EINTR && errno != EAGAIN))
            pipe.reset();
    }

    /// Moves bytes until both streams have ended and the input is written: true; or the deadline is past.
    bool drain(TimePoint deadline) {
        while (stdin_ || stdout_ || stderr_) {
            // Negative descriptors are passed over.
            pollfd pipes[] = {
                {stdin_.get(), POLLOUT, 0}, {stdout_.get(), POLLIN, 0}, {stderr_.get(), POLLIN, 0}};
            auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (left <= 0)
                return false;
            if (::poll(pipes, 3, static_cast<int>(std::min<long long>(left, INT_MAX))) < 0)
                continue;
            if (pipes[0].revents)
                writeInput();
            if (pipes[1].revents)
                read(stdout_, output_.standardOutput);
            if (pipes[2].revents)
                read(stderr_, output_.standardError);
        }
        return true;
    }

    pid_t processIdentifier_;
    std::string_view input_; ///< what is still to be written
    UniqueFd stdin_, stdout_, stderr_;
    std::unique_ptr<ChildExit> exit_;
    std::optional<std::expected<int, int>> status_;
    PluginProcessOutputCollector collector_;
    PluginProcessResult output_;
};

bool isMissing(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

/// Not before now, and not past what the clock can count.
TimePoint deadlineAfter(Duration timeout) {
    constexpr Duration kLongest = std::chrono::hours(24 * 365);
    return Clock::now() + std::clamp(timeout, Duration::zero(), kLongest);
}

} // namespace

std::string describe(const PluginProcessError& error) {
    switch (error.kind) {
    case Kind::missingExecutable:
        return localized("Plugin executable not found at %1", {error.detail});
    case Kind::timedOut:
        return localized("Plugin command '%1' timed out", {error.detail});
    case Kind::outputLimitExceeded:
        return localized("Plugin output exceeded %1 byte limit", {std::to_string(error.limit)});
    case Kind::launchFailed:
    case Kind::invalidResponse:
        break;
    }
    return error.detail;
}

std::expected<PluginProcessResult, PluginProcessError> runPluginProcess(const std::string& executable,
                                                                        std::string_view commandWord,
                                                                        std::string_view input,
                                                                        const PluginProcessLimits& limits) {
    if (isMissing(executable))
        return std::unexpected(PluginProcessError{Kind::missingExecutable, executable, 0, 0});
    auto pipes = PluginPipes::open();
    if (!pipes)
        return std::unexpected(pipes.error());
    const TimePoint deadline = deadlineAfter(limits.timeout);
    auto child = spawnPlugin(executable, commandWord, *pipes);
    if (!child)
        return std::unexpected(child.error());
    pipes->standardInput.readEnd.reset();
    pipes->standardOutput.writeEnd.reset();
    pipes->standardError.writeEnd.reset();
    PluginProcessSession session(*child, std::move(*pipes), input, limits);
    if (session.waitForCompletion(deadline))
        return session.result(limits.maximumOutputBytes);
    session.terminate(std::max(limits.terminationGrace, Duration::zero()));
    return std::unexpected(PluginProcessError{Kind::timedOut, std::string(commandWord), 0, 0});
}

} // namespace varnel
