// A child process with a mode for every way in which a plugin can behave. The command word is the mode; as a
// plugin ("action", "hook", "choices") it takes the mode from the request.
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string readAll() {
    std::string text;
    char buffer[65536];
    for (ssize_t count; (count = ::read(0, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

void put(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0)
            ::_exit(99);
        done += static_cast<std::size_t>(count);
    }
}

/// The word after "write-", "exit-", … as a number.
long number(const std::string& mode) {
    return std::strtol(mode.c_str() + mode.rfind('-') + 1, nullptr, 10);
}

void writePid(const std::string& path, pid_t pid) {
    int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    put(file, std::to_string(pid));
    ::close(file);
}

[[noreturn]] void sleepForEver() {
    for (;;)
        ::sleep(60);
}

/// What a process inherits.
void reportInheritance() {
    sigset_t mask;
    ::sigprocmask(SIG_BLOCK, nullptr, &mask);
    int blocked = 0;
    for (int s = 1; s < 65; ++s)
        blocked += ::sigismember(&mask, s) == 1;
    struct sigaction pipe {};
    ::sigaction(SIGPIPE, nullptr, &pipe);
    int descriptors = 0;
    if (DIR* folder = ::opendir("/proc/self/fd")) {
        while (const dirent* entry = ::readdir(folder))
            descriptors += entry->d_name[0] != '.';
        ::closedir(folder);
    }
    put(1, "blocked=" + std::to_string(blocked) +
               " pipe=" + (pipe.sa_handler == SIG_DFL ? "default" : "other") + " descriptors=" +
               std::to_string(descriptors - 1) + " leader=" + (::getpgrp() == ::getpid() ? "yes" : "no"));
}

void run(const std::string& mode) {
    if (mode == "ignore-term") {
        ::signal(SIGTERM, SIG_IGN);
        sleepForEver();
    } else if (mode == "exit-on-term") {
        static std::string path = readAll();
        ::signal(SIGTERM, [](int) {
            // Long enough to be killed here, should somebody be impatient; the file tells that nobody was.
            ::usleep(20000);
            writePid(path, ::getpid());
            ::_exit(0);
        });
        sleepForEver();
    } else if (mode == "stop") {
        ::raise(SIGSTOP);
    } else if (mode == "fork-in-group") {
        const std::string path = readAll();
        if (pid_t child = ::fork(); child == 0)
            sleepForEver();
        else
            writePid(path, child);
        sleepForEver();
    } else if (mode == "leave-group" || mode == "background") {
        const std::string path = readAll();
        pid_t child = ::fork();
        if (child == 0) {
            ::setsid();
            if (mode == "background") {
                ::close(0), ::close(1), ::close(2);
            }
            ::sleep(30);
            ::_exit(0);
        }
        writePid(path, child);
    } else if (mode.starts_with("write-")) {
        put(1, std::string(static_cast<std::size_t>(number(mode)), 'x'));
    } else if (mode.starts_with("split-")) { // half and half over both streams
        const auto half = static_cast<std::size_t>(number(mode)) / 2;
        put(1, std::string(half, 'x'));
        put(2, std::string(static_cast<std::size_t>(number(mode)) - half, 'y'));
    } else if (mode == "flood") {
        const std::string block(65536, 'f');
        for (;;)
            put(1, block);
    } else if (mode == "never-read") {
        sleepForEver();
    } else if (mode == "echo") {
        put(1, readAll());
    } else if (mode == "count") {
        put(1, std::to_string(readAll().size()));
    } else if (mode == "close-output") {
        ::close(1), ::close(2);
        std::size_t length = readAll().size();
        ::_exit(length == 1048576 ? 42 : 1);
    } else if (mode.starts_with("exit-")) {
        put(2, "  something went wrong \n");
        ::_exit(static_cast<int>(number(mode)));
    } else if (mode.starts_with("signal-")) {
        ::raise(static_cast<int>(number(mode)));
    } else if (mode == "inherit") {
        reportInheritance();
    }
}

/// As a plugin: the response carries the request.
void answer(const std::string& word) {
    const std::string request = readAll();
    const std::string key = "\"mode\":\"";
    std::string mode;
    if (std::size_t at = request.find(key); at != std::string::npos)
        mode = request.substr(at + key.size(), request.find('"', at + key.size()) - at - key.size());
    if (mode.starts_with("text:")) {
        put(1, mode.substr(5));
    } else if (!mode.empty()) {
        run(mode);
    } else if (word == "choices") {
        put(1,
            R"({"choices":[{"id":"1","title":"One","detail":"first","label":"j"},{"id":"2","title":"Two"}]})");
    } else if (word == "hook") {
        if (const char* path = std::getenv("VARNEL_TEST_HOOKS")) {
            int file = ::open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
            put(file, request + "\n");
            ::close(file);
        }
    } else {
        put(2, "diagnostics are ignored\n");
        put(1, "\n  {\"success\":true,\"message\":\"done\",\"updatedDefaults\":" + request + "}\n\n");
    }
}

} // namespace

int main(int, char** arguments) {
    const std::string word = arguments[1] ? arguments[1] : "";
    if (word == "action" || word == "hook" || word == "choices")
        answer(word);
    else
        run(word);
    return 0;
}
