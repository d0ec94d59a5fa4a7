#include "runtime/SignalWatch.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

namespace varnel {

namespace {

constexpr int kSignals[] = {SIGHUP, SIGTERM, SIGINT};

/// Where the handler writes to; signal handlers can only reach what is static.
volatile std::sig_atomic_t handlerDescriptor = -1;

void onSignal(int signal) {
    int saved = errno;
    auto byte = static_cast<unsigned char>(signal);
    // A full pipe holds more news than anybody needs.
    [[maybe_unused]] ssize_t written = ::write(handlerDescriptor, &byte, 1);
    errno = saved;
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

} // namespace

SignalWatch::SignalWatch(EventLoop& loop, std::function<void(int)> received)
    : received_(std::move(received)) {
    int ends[2];
    if (::pipe(ends) != 0)
        return;
    readEnd_.reset(ends[0]);
    writeEnd_.reset(ends[1]);
    for (int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    readable_ = loop.watchReadable(readEnd_.get(), [this] { drain(); });
    handlerDescriptor = writeEnd_.get();
    setHandler(SIGPIPE, SIG_IGN);
    for (int signal : kSignals)
        setHandler(signal, onSignal);
}

SignalWatch::~SignalWatch() {
    for (int signal : kSignals)
        setHandler(signal, SIG_DFL);
    handlerDescriptor = -1;
}

void SignalWatch::drain() {
    unsigned char signals[64];
    ssize_t got = ::read(readEnd_.get(), signals, sizeof signals);
    for (ssize_t i = 0; i < got; ++i)
        received_(signals[i]);
}

} // namespace varnel
