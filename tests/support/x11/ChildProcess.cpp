#include "tests/support/x11/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace varnel::test {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& environment) {
    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    input_.reset(in[1]);
    output_.reset(out[0]);
    const UniqueFd childInput(in[0]), childOutput(out[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, childInput.get(), 0);
    posix_spawn_file_actions_adddup2(&actions, childOutput.get(), 1);
    std::vector<char*> arguments, variables;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    for (const std::string& variable : environment)
        variables.push_back(const_cast<char*>(variable.c_str()));
    // The first of two variables of the same name counts.
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.push_back(*variable);
    arguments.push_back(nullptr);
    variables.push_back(nullptr);
    const int error =
        ::posix_spawnp(&process_, command[0].c_str(), &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        process_ = -1;
        throw std::runtime_error("cannot start " + command[0]);
    }
    ::signal(SIGPIPE, SIG_IGN);
}

ChildProcess::~ChildProcess() {
    if (process_ <= 0)
        return;
    signal(SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void ChildProcess::signal(int number) const {
    if (process_ > 0)
        ::kill(process_, number);
}

void ChildProcess::write(const std::string& line) const {
    const std::string text = line + "\n";
    if (::write(input_.get(), text.data(), text.size()) < 0)
        return; // it has ended; the caller sees that by what is missing
}

std::optional<std::string> ChildProcess::readLine(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (true) {
        if (const std::size_t end = pending_.find('\n'); end != std::string::npos) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        pollfd source{output_.get(), POLLIN, 0};
        if (::poll(&source, 1, static_cast<int>(std::max<long>(0, left.count()))) <= 0)
            return std::nullopt;
        char buffer[65536];
        const ssize_t length = ::read(output_.get(), buffer, sizeof buffer);
        if (length <= 0)
            return std::nullopt;
        pending_.append(buffer, static_cast<std::size_t>(length));
    }
}

bool ChildProcess::readUntil(const std::string& line, milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    while (true) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        const auto read = readLine(std::max(left, milliseconds(0)));
        if (!read || *read == line)
            return read.has_value();
    }
}

std::vector<std::string> ChildProcess::readAvailable() {
    std::vector<std::string> lines;
    while (auto line = readLine(milliseconds(0)))
        lines.push_back(std::move(*line));
    return lines;
}

std::optional<int> ChildProcess::wait(milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    int status = 0;
    while (::waitpid(process_, &status, WNOHANG) == 0) {
        if (Clock::now() >= deadline)
            return std::nullopt;
        ::usleep(5000);
    }
    process_ = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace varnel::test
