#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace varnel {

/// A child process that ends with this value.
class TestProcess {
public:
    /// Runs `argv` (looked up in PATH) with `DISPLAY` set to `display`; output goes to /dev/null.
    TestProcess(std::vector<std::string> argv, const std::string& display)
        : TestProcess([&] {
            setenv("DISPLAY", display.c_str(), 1);
            const int nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, 1);
            dup2(nowhere, 2);
            std::vector<char*> words;
            for (std::string& word : argv)
                words.push_back(word.data());
            words.push_back(nullptr);
            execvp(words[0], words.data());
        }) {}
    /// Runs `work` in a copy of this process, which ends with it.
    explicit TestProcess(const std::function<void()>& work)
        : id_(fork()) {
        if (id_ != 0)
            return;
        work();
        _exit(0);
    }
    ~TestProcess() { stop(); }
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;

    [[nodiscard]] pid_t id() const { return id_; }
    void suspend() { kill(id_, SIGSTOP); }
    void resume() { kill(id_, SIGCONT); }
    void stop() {
        if (id_ <= 0)
            return;
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
        id_ = 0;
    }

private:
    pid_t id_;
};

/// An X server of its own, without a screen to see.
class XServer {
public:
    explicit XServer(const std::string& screen = "1280x800x24") {
        int ends[2];
        if (pipe(ends) != 0)
            return;
        process_ = std::make_unique<TestProcess>([&] {
            const std::string number = std::to_string(ends[1]);
            const int nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, 2);
            execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", screen.c_str(), "-noreset",
                   "-nolisten", "tcp", nullptr);
        });
        close(ends[1]);
        std::string text;
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
            text += c;
        close(ends[0]);
        if (!text.empty())
            display_ = ":" + text;
    }

    /// ":7"; empty when the server did not start.
    [[nodiscard]] const std::string& display() const { return display_; }
    TestProcess& process() { return *process_; }

private:
    std::unique_ptr<TestProcess> process_;
    std::string display_;
};

/// Asks every few milliseconds until it holds; false after `limit`.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    return true;
}

} // namespace varnel
