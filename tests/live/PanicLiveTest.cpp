#include "tests/live/LiveTest.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace varnel::test {
namespace {

/// Types on the keyboard itself; `Typist` posts keys as programs do.
class Hand : public X11Client {
public:
    explicit Hand(const std::string& display)
        : X11Client(display) {
        const auto* extension = xcb_get_extension_data(connection(), &xcb_input_id);
        firstEvent_ = extension->first_event;
        auto* const devices = xcb_input_xi_query_device_reply(
            connection(), xcb_input_xi_query_device(connection(), XCB_INPUT_DEVICE_ALL), nullptr);
        for (auto it = xcb_input_xi_query_device_infos_iterator(devices); it.rem > 0;
             xcb_input_xi_device_info_next(&it)) {
            const std::string name(xcb_input_xi_device_info_name(it.data), it.data->name_len);
            if (it.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && !name.contains("XTEST"))
                device_ = static_cast<std::uint8_t>(it.data->deviceid);
        }
        free(devices);
    }
    void press(std::uint8_t key) { send(1, key); }
    void release(std::uint8_t key) { send(2, key); }

private:
    void send(int offset, std::uint8_t key) {
        xcb_test_fake_input(connection(), static_cast<std::uint8_t>(firstEvent_ + offset), key, 0, XCB_NONE,
                            0, 0, device_);
        sync();
    }
    std::uint8_t firstEvent_ = 0, device_ = 0;
};

class PanicLive : public LiveTest {
protected:
    void SetUp() override {
        LiveTest::SetUp();
        char pattern[] = "/tmp/varnel-live-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        folder = pattern;
        std::ofstream(folder + "/config.json")
            << R"({"items":[{"name":"Nothing","keys":["ctrl+k","w"],"type":"action","action":null}],"pluginSettings":{}})";
        environment = {"DISPLAY=" + desktop->display(), "HOME=" + folder, "XDG_RUNTIME_DIR=" + folder,
                       "XDG_STATE_HOME=" + folder};
        program = std::make_unique<ChildProcess>(std::vector<std::string>{VARNEL_BINARY_DIR "/varnel", "run",
                                                                          "--headless", "--config",
                                                                          folder + "/config.json"},
                                                 environment);
        ASSERT_TRUE(program->readUntil("active local:off global:on AX:granted"));
    }
    void TearDown() override {
        LiveTest::TearDown();
        program.reset();
        std::filesystem::remove_all(folder);
    }

    int varnel(const std::string& verb) const {
        return ChildProcess({VARNEL_BINARY_DIR "/varnel", verb}, environment).wait().value_or(-1);
    }
    /// Whether the first key of the sequence reaches the window: only while nothing is captured.
    bool isPaused() {
        window->readAvailable();
        const int before = window->presses(key::k);
        typist->chord(key::ctrl, key::k);
        typist->tap(key::escape);
        (void)keysReachTheWindow();
        return window->presses(key::k) > before;
    }
    void letGo(Hand& hand, const std::vector<std::uint8_t>& keys) {
        for (const std::uint8_t key : keys)
            hand.release(key);
        std::this_thread::sleep_for(30ms);
    }

    std::string folder;
    std::vector<std::string> environment;
    std::unique_ptr<ChildProcess> program;
};

TEST_F(PanicLive, PausesInEveryOrderAndState) {
    Hand hand(desktop->display());
    ASSERT_FALSE(isPaused());
    std::vector<std::uint8_t> keys{key::escape, key::ctrl, key::space};
    do {
        for (const bool isOpen : {false, true}) {
            const std::string name = std::to_string(keys[0]) + " " + std::to_string(keys[1]) + " " +
                                     std::to_string(keys[2]) + (isOpen ? ", open" : "");
            if (isOpen)
                typist->chord(key::ctrl, key::k);
            typist->sync();
            for (const std::uint8_t key : keys) {
                hand.press(key);
                std::this_thread::sleep_for(20ms);
            }
            // A ctrl that comes last shows with the next repeat of the key before it.
            std::this_thread::sleep_for(keys.back() == key::ctrl ? 900ms : 20ms);
            letGo(hand, keys);
            EXPECT_TRUE(isPaused()) << name;
            EXPECT_EQ(varnel("resume"), 0);
            EXPECT_FALSE(isPaused()) << name;
        }
    } while (std::ranges::next_permutation(keys).found);
}

TEST_F(PanicLive, NeverPausesForKeysThatProgramsPost) {
    Hand hand(desktop->display());
    const std::vector<std::uint8_t> keys{key::ctrl, key::space, key::escape};
    for (const bool byHandButLast : {false, true}) {
        for (const std::uint8_t key : {key::ctrl, key::space})
            byHandButLast ? hand.press(key) : typist->press(key);
        typist->press(key::escape);
        typist->sync();
        std::this_thread::sleep_for(900ms);
        typist->release(key::escape);
        for (const std::uint8_t key : {key::ctrl, key::space})
            byHandButLast ? hand.release(key) : typist->release(key);
        typist->sync();
        EXPECT_FALSE(isPaused()) << byHandButLast;
    }
    window->forget();
    for (const std::uint8_t key : {key::space, key::escape}) {
        hand.press(key::ctrl);
        hand.press(key);
        letGo(hand, {key, key::ctrl});
        EXPECT_TRUE(window->readUntil([&] { return window->releases(key) == 1; })) << "chords pass";
    }
    EXPECT_FALSE(isPaused());
}

} // namespace
} // namespace varnel::test
