#include "keyboard/x11/XcbKeyboardEventTapSession.h"

#include "keyboard/x11/XcbTap.h"

namespace varnel {
namespace {

/// The handle that the owner holds; dropping it closes the tap, also from inside the callback.
class XcbKeyboardEventTapSession final : public KeyboardEventTapSession {
public:
    explicit XcbKeyboardEventTapSession(std::shared_ptr<XcbTap> tap)
        : tap_(std::move(tap)) {}
    ~XcbKeyboardEventTapSession() override { tap_->invalidate(); }
    void enable() override { tap_->enable(); }
    void invalidate() override { tap_->invalidate(); }
    void setInterest(const KeyInterest& interest) override { tap_->setInterest(interest); }
    [[nodiscard]] std::optional<PanicKeySet> panicKeysHeldByHand() const override {
        return tap_->panicKeysHeldByHand();
    }
    [[nodiscard]] std::string trouble() const override { return tap_->trouble(); }
    [[nodiscard]] bool isKeyboardHeldElsewhere() const override { return tap_->isKeyboardHeldElsewhere(); }

private:
    std::shared_ptr<XcbTap> tap_;
};

} // namespace

XcbKeyboardEventTapSessionFactory::XcbKeyboardEventTapSessionFactory(EventLoop& loop,
                                                                     XcbKeyboardTapOptions options)
    : loop_(loop)
    , options_(std::move(options)) {}

XcbKeyboardEventTapSessionFactory::~XcbKeyboardEventTapSessionFactory() = default;

std::unique_ptr<KeyboardEventTapSession>
XcbKeyboardEventTapSessionFactory::createSession(KeyboardTapCallback callback) {
    auto tap = XcbTap::open(loop_, options_, std::move(callback));
    error_ = tap ? std::string{} : tap.error();
    return tap ? std::make_unique<XcbKeyboardEventTapSession>(std::move(*tap)) : nullptr;
}

} // namespace varnel
