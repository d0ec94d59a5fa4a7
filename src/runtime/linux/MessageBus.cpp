#include "runtime/linux/MessageBus.h"

#include "base/Text.h"
#include "runtime/LocalSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace varnel {

namespace {

const std::string kBusName = "org.freedesktop.DBus";
const std::string kBusPath = "/org/freedesktop/DBus";
constexpr std::size_t kDescriptorsAtOnce = 4;

/// Addresses write what is not plain as "%2f".
std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%' || i + 2 >= text.size()) {
            plain.push_back(text[i]);
            continue;
        }
        const std::string digits(text.substr(i + 1, 2));
        plain.push_back(static_cast<char>(std::strtol(digits.c_str(), nullptr, 16)));
        i += 2;
    }
    return plain;
}

/// Where the socket lies, as `LocalSocket` names places; "" when the address is of another kind.
std::string socketOf(std::string_view address) {
    constexpr std::string_view kKind = "unix:";
    if (!address.starts_with(kKind))
        return {};
    for (const std::string_view pair : split(address.substr(kKind.size()), ',')) {
        if (pair.starts_with("path="))
            return unescaped(pair.substr(5));
        if (pair.starts_with("abstract="))
            return '\0' + unescaped(pair.substr(9));
    }
    return {};
}

/// Says who we are, in hexadecimal digits of decimal digits, and that descriptors may come.
std::string greeting() {
    std::string user;
    for (const char digit : std::to_string(::geteuid())) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        user += {kDigits[static_cast<unsigned char>(digit) >> 4], kDigits[digit & 15]};
    }
    return '\0' + ("AUTH EXTERNAL " + user) + "\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n";
}

} // namespace

std::unique_ptr<MessageBus> MessageBus::connect(EventLoop& loop, const std::string& address,
                                                Observers observers) {
    for (const std::string_view one : split(address, ';')) {
        const std::string place = socketOf(one);
        auto socket = place.empty() ? std::unexpected(ENOENT) : LocalSocket::connectTo(place);
        if (socket)
            return std::unique_ptr<MessageBus>(
                new MessageBus(loop, *std::move(socket), std::move(observers)));
    }
    return nullptr;
}

MessageBus::MessageBus(EventLoop& loop, UniqueFd socket, Observers observers)
    : socket_(std::move(socket))
    , observers_(std::move(observers))
    , loop_(loop) {
    readable_ = loop_.watchReadable(socket_.get(), [this] { read(); });
    send(greeting());
    call({.path = kBusPath, .interface = kBusName, .member = "Hello", .destination = kBusName});
}

MessageBus::~MessageBus() = default;

void MessageBus::call(BusMessage message, Handler answered) {
    message.type = BusMessage::Type::call;
    message.serial = ++lastSerial_;
    if (answered)
        waiting_.emplace(message.serial, std::move(answered));
    send(encodeBusMessage(message));
}

void MessageBus::listen(const std::string& rule) {
    call({.path = kBusPath,
          .interface = kBusName,
          .member = "AddMatch",
          .destination = kBusName,
          .signature = "s",
          .body = BusWriter().text(rule).bytes()});
}

/// We say little, so the socket has always room for it; a bus that reads nothing any more is lost.
void MessageBus::send(const std::string& bytes) {
    if (isLost_ ||
        ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()))
        return;
    isLost_ = true;
    loop_.post([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired())
            lose();
    });
}

void MessageBus::lose() {
    isLost_ = true;
    readable_.reset();
    if (const auto lost = std::exchange(observers_.lost, nullptr))
        lost();
}

void MessageBus::read() {
    const std::weak_ptr alive(alive_);
    while (!alive.expired() && !isLost_ && receive())
        if (isGreeted_ || takeGreeting())
            takeMessages();
}

bool MessageBus::receive() {
    std::array<char, 4096> buffer{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(kDescriptorsAtOnce * sizeof(int))> control{};
    iovec place{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t length = ::recvmsg(socket_.get(), &message, MSG_CMSG_CLOEXEC);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return false;
    if (length <= 0) {
        lose();
        return false;
    }
    received_.append(buffer.data(), static_cast<std::size_t>(length));
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof descriptor, sizeof descriptor);
            descriptors_.emplace_back(descriptor);
        }
    }
    return true;
}

bool MessageBus::takeGreeting() {
    // One line lets us in, the other says whether descriptors may come.
    const std::size_t first = received_.find("\r\n");
    const std::size_t second = first == received_.npos ? first : received_.find("\r\n", first + 2);
    if (first != received_.npos && !received_.starts_with("OK")) {
        lose();
        return false;
    }
    if (second == received_.npos)
        return false;
    received_.erase(0, second + 2);
    return isGreeted_ = true;
}

void MessageBus::takeMessages() {
    const std::weak_ptr alive(alive_);
    for (;;) {
        const auto length = busMessageLength(received_);
        if (!length)
            return lose();
        if (*length == 0 || *length > received_.size())
            return;
        const auto message = decodeBusMessage(std::string_view(received_).substr(0, *length));
        if (!message)
            return lose();
        received_.erase(0, *length);
        deliver(*message);
        if (alive.expired() || isLost_)
            return;
    }
}

void MessageBus::deliver(const BusMessage& message) {
    UniqueFd descriptor;
    for (std::uint32_t i = 0; i < message.descriptors && !descriptors_.empty(); ++i) {
        if (i == 0)
            descriptor = std::move(descriptors_.front());
        descriptors_.pop_front();
    }
    // One that is sent to us alone goes past what we listen for, and may come from anybody.
    if (message.type == BusMessage::Type::signal && message.destination.empty() && observers_.signal)
        return observers_.signal(message);
    if (message.type != BusMessage::Type::reply && message.type != BusMessage::Type::error)
        return;
    if (auto waiting = waiting_.extract(message.replyTo))
        waiting.mapped()(message, std::move(descriptor));
}

std::string systemBusAddress() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address && *address ? address : "unix:path=/run/dbus/system_bus_socket";
}

std::string sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return address;
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && *folder ? "unix:path=" + std::string(folder) + "/bus" : "";
}

} // namespace varnel
