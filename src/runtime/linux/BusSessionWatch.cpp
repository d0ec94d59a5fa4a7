#include "runtime/linux/BusSessionWatch.h"

#include "base/Localized.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace varnel {

namespace {

const std::string kLogin = "org.freedesktop.login1";
const std::string kLoginPath = "/org/freedesktop/login1";
const std::string kManager = "org.freedesktop.login1.Manager";
const std::string kSession = "org.freedesktop.login1.Session";
const std::string kUser = "org.freedesktop.login1.User";
const std::string kProperties = "org.freedesktop.DBus.Properties";
const std::string kLockedHint = "LockedHint";
constexpr const char* kScreenSavers[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                         "org.xfce.ScreenSaver", "org.mate.ScreenSaver",
                                         "org.cinnamon.ScreenSaver"};
/// A bus that was there is started again sooner or later.
constexpr Duration kFirstRetry = 1s;
constexpr Duration kSlowestRetry = 60s;

std::string loginRule(const std::string& rest) {
    return "type='signal',sender='" + kLogin + "'," + rest;
}

/// The value of `name` in an array of names and values, where the reader stands.
std::optional<bool> findBoolean(BusReader& reader, std::string_view name) {
    std::optional<bool> found;
    const std::size_t end = reader.arrayEnd(8);
    while (reader.place() < end && !reader.hasFailed()) {
        reader.align(8);
        const bool isWanted = reader.text() == name;
        std::string_view signature = reader.signature();
        if (isWanted && signature == "b")
            found = reader.boolean();
        else
            reader.skip(signature);
    }
    return reader.hasFailed() ? std::nullopt : found;
}

bool isReply(const BusMessage& message, std::string_view signature) {
    return message.type == BusMessage::Type::reply && message.signature == signature;
}

} // namespace

BusSessionWatch::BusSessionWatch(EventLoop& loop)
    : loop_(loop)
    , patience_(kFirstRetry) {}

BusSessionWatch::~BusSessionWatch() = default;

void BusSessionWatch::start(std::function<void(SessionEvent)> observer) {
    observer_ = std::move(observer);
    connectToLoginManager();
    connectToDesktop();
}

void BusSessionWatch::connectToLoginManager() {
    const auto again = [this] {
        const bool isRefused = login_ && !login_->isWelcome();
        login_.reset();
        if (isRefused)
            return; // and will be every time
        loginRetry_ = loop_.after(patience_, [this] { connectToLoginManager(); });
        patience_ = std::min(patience_ * 2, kSlowestRetry);
    };
    const bool hadOne = static_cast<bool>(loginRetry_);
    login_ = MessageBus::connect(
        loop_, systemBusAddress(),
        {.signal = [this](const BusMessage& signal) { loginSignal(signal); }, .lost = again});
    if (!login_)
        return hadOne ? again() : void();
    loginRetry_.reset();
    login_->listen(loginRule("interface='" + kManager + "',member='PrepareForSleep'"));
    delaySleep();
    findSession();
    if (isAsleep_) // and nobody told us that this was over
        prepareForSleep(false);
}

void BusSessionWatch::connectToDesktop() {
    const auto changed = [this](const BusMessage& signal) {
        if (signal.member == "ActiveChanged" && signal.signature == "b")
            observer_(BusReader(signal.body).boolean() ? SessionEvent::screenSaverOn
                                                       : SessionEvent::screenSaverOff);
    };
    desktop_ = MessageBus::connect(loop_, sessionBusAddress(),
                                   {.signal = changed, .lost = [this] {
                                        desktop_.reset(); // the session is over, and nobody tells of its end
                                        observer_(SessionEvent::screenSaverOff);
                                    }});
    if (!desktop_)
        return;
    for (const char* interface : kScreenSavers)
        desktop_->listen("type='signal',interface='" + std::string(interface) + "',member='ActiveChanged'");
}

void BusSessionWatch::askLogin(const char* interface, const char* method, std::string signature,
                               const std::string& body, MessageBus::Handler answered, std::string path) {
    login_->call({.path = std::move(path),
                  .interface = interface,
                  .member = method,
                  .destination = kLogin,
                  .signature = std::move(signature),
                  .body = body},
                 std::move(answered));
}

void BusSessionWatch::findSession() {
    const auto found = [this](const BusMessage& answer, UniqueFd) {
        if (!isReply(answer, "o"))
            return findGraphicalSession();
        followSession(std::string(BusReader(answer.body).text()));
    };
    const char* const id = std::getenv("XDG_SESSION_ID");
    if (id && *id)
        askLogin(kManager.c_str(), "GetSession", "s", BusWriter().text(id).bytes(), found, kLoginPath);
    else
        askLogin(kManager.c_str(), "GetSessionByPID", "u",
                 BusWriter().number(static_cast<std::uint32_t>(::getpid())).bytes(), found, kLoginPath);
}

/// A service of the user's is in no session; then the one with the user's display is meant.
void BusSessionWatch::findGraphicalSession() {
    askLogin(
        kProperties.c_str(), "Get", "ss", BusWriter().text(kUser).text("Display").bytes(),
        [this](const BusMessage& answer, UniqueFd) {
            BusReader reader(answer.body);
            if (!isReply(answer, "v") || reader.signature() != "(so)")
                return;
            reader.align(8);
            (void)reader.text();
            if (const std::string_view path = reader.text(); path.size() > 1)
                followSession(std::string(path));
        },
        kLoginPath + "/user/_" + std::to_string(::geteuid()));
}

void BusSessionWatch::followSession(std::string path) {
    session_ = std::move(path);
    patience_ = kFirstRetry;
    login_->listen(loginRule("path='" + session_ + "'"));
    askLogin(
        kProperties.c_str(), "Get", "ss", BusWriter().text(kSession).text(kLockedHint).bytes(),
        [this](const BusMessage& answer, UniqueFd) {
            BusReader reader(answer.body);
            if (!isReply(answer, "v") || reader.signature() != "b")
                return;
            // Lockers that set no hint may be there although it says no.
            if (const bool isLocked = reader.boolean(); isLocked != isLocked_)
                setLocked(isLocked);
        },
        session_);
}

void BusSessionWatch::delaySleep() {
    askLogin(
        kManager.c_str(), "Inhibit", "ssss",
        BusWriter()
            .text("sleep")
            .text("Varnel!")
            .text(localized("Lets go of the keyboard"))
            .text("delay")
            .bytes(),
        [this](const BusMessage&, UniqueFd descriptor) { sleepDelay_ = std::move(descriptor); }, kLoginPath);
}

void BusSessionWatch::loginSignal(const BusMessage& signal) {
    if (signal.interface == kManager && signal.member == "PrepareForSleep" && signal.signature == "b")
        return prepareForSleep(BusReader(signal.body).boolean());
    if (signal.path != session_)
        return;
    if (signal.interface == kSession && signal.member == "Lock")
        observer_(SessionEvent::lockRequested);
    else if (signal.interface == kSession && signal.member == "Unlock")
        observer_(SessionEvent::unlocked);
    else if (signal.interface == kProperties && signal.member == "PropertiesChanged")
        sessionChanged(signal);
}

void BusSessionWatch::sessionChanged(const BusMessage& signal) {
    BusReader reader(signal.body);
    if (signal.signature != "sa{sv}as" || reader.text() != kSession)
        return;
    if (const auto isLocked = findBoolean(reader, kLockedHint))
        setLocked(*isLocked);
}

void BusSessionWatch::setLocked(bool isLocked) {
    isLocked_ = isLocked;
    observer_(isLocked ? SessionEvent::locked : SessionEvent::unlocked);
}

void BusSessionWatch::prepareForSleep(bool isFallingAsleep) {
    isAsleep_ = isFallingAsleep;
    observer_(isFallingAsleep ? SessionEvent::fallingAsleep : SessionEvent::awake);
    if (!isFallingAsleep)
        return sleepDelay_ ? void() : delaySleep();
    // In a later turn: by then the keyboard server has been told too.
    loop_.post([this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired())
            sleepDelay_.reset();
    });
}

} // namespace varnel
