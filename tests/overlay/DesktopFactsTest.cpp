#include "overlay/IconFiles.h"
#include "overlay/PanelSurroundings.h"
#include "overlay/XSettings.h"

#include "tests/base/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

/// Writes settings as a settings manager does.
class Property {
public:
    explicit Property(bool isBigEndian)
        : isBigEndian_(isBigEndian) {
        add(isBigEndian ? 1 : 0, 1);
        add(0, 3);
        add(7, 4);
    }
    void add(std::uint32_t value, int width) {
        for (int i = 0; i < width; ++i)
            bytes.push_back(static_cast<std::uint8_t>(value >> 8 * (isBigEndian_ ? width - 1 - i : i)));
    }
    void addText(const std::string& text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.resize((bytes.size() + 3) / 4 * 4);
    }
    void begin(int type, const std::string& name) {
        add(static_cast<std::uint32_t>(type), 1);
        add(0, 1);
        add(static_cast<std::uint32_t>(name.size()), 2);
        addText(name);
        add(1, 4);
    }
    std::vector<std::uint8_t> bytes;

private:
    bool isBigEndian_;
};

Property settings(bool isBigEndian) {
    Property property(isBigEndian);
    property.add(3, 4);
    property.begin(1, "Net/ThemeName");
    property.add(12, 4);
    property.addText("Adwaita-Dark");
    property.begin(2, "Some/Color");
    property.add(1, 4);
    property.add(2, 4);
    property.begin(0, "Gtk/EnableAnimations");
    property.add(0, 4);
    return property;
}

TEST(XSettings, AreReadInEitherByteOrder) {
    for (const bool isBigEndian : {false, true}) {
        const XSettings read = parseXSettings(settings(isBigEndian).bytes);
        EXPECT_EQ(read.size(), 2u);
        EXPECT_TRUE(usesDarkTheme(read));
        EXPECT_TRUE(disablesAnimations(read));
    }
    EXPECT_FALSE(usesDarkTheme({}));
    EXPECT_FALSE(disablesAnimations({{"Gtk/EnableAnimations", 1}}));
    EXPECT_FALSE(disablesAnimations({{"Gtk/EnableAnimations", "no"}}));
}

TEST(XSettings, KeepWhatCameBeforeTheDamage) {
    const std::vector<std::uint8_t> whole = settings(false).bytes;
    std::size_t most = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const XSettings read = parseXSettings(std::span(whole).first(size));
        EXPECT_GE(read.size(), most) << size;
        EXPECT_LT(read.size(), 2u) << size;
        most = read.size();
    }
    std::vector<std::uint8_t> lying = whole;
    lying[8] = lying[9] = lying[10] = lying[11] = 0xFF; // the number of settings
    EXPECT_EQ(parseXSettings(lying).size(), 2u);
}

TEST(IconFiles, FindThePictureNearestAboveTheSize) {
    TemporaryFolder home;
    const std::string& data = home.path();
    for (const char* folder :
         {"applications", "pixmaps", "icons/hicolor/48x48/apps", "icons/hicolor/128x128/apps",
          "icons/hicolor/16x16/apps", "icons/hicolor/scalable/apps"})
        std::filesystem::create_directories(home / folder);
    for (const char* file :
         {"icons/hicolor/48x48/apps/web.png", "icons/hicolor/128x128/apps/web.png",
          "icons/hicolor/16x16/apps/small.png", "icons/hicolor/scalable/apps/drawn.svg", "pixmaps/old.xpm"})
        home.write(file, "x");
    home.write("applications/browser.desktop",
               "[Desktop Action new]\nIcon=wrong\n[Desktop Entry]\nName=Browser\nIcon = web\n");
    home.write("applications/loose.desktop", "[Desktop Entry]\nIcon=" + data + "/pixmaps/old.xpm\n");
    const struct {
        std::string application, file;
        int size;
    } cases[] = {
        {data + "/applications/browser.desktop", "icons/hicolor/128x128/apps/web.png", 64},
        {data + "/applications/browser.desktop", "icons/hicolor/48x48/apps/web.png", 40},
        {"/Applications/Browser.app", "icons/hicolor/48x48/apps/web.png", 40},
        {data + "/applications/loose.desktop", "pixmaps/old.xpm", 64},
        {"/usr/bin/small", "icons/hicolor/16x16/apps/small.png", 64},
        {"/usr/bin/drawn", "icons/hicolor/scalable/apps/drawn.svg", 512},
        {"/usr/bin/old", "pixmaps/old.xpm", 64},
    };
    for (const auto& c : cases)
        EXPECT_EQ(iconFile(c.application, c.size, {"/nowhere", data}), data + "/" + c.file) << c.application;
    EXPECT_EQ(iconFile("/usr/bin/unknown", 64, {data}), std::nullopt);
    EXPECT_EQ(iconFile(data + "/applications/missing.desktop", 64, {data}), std::nullopt);
}

TEST(PanelSurroundings, MakeAWindowThatTakesNothingFromTheUser) {
    std::string calls;
    const auto note = [&calls](const char* name) {
        return [&calls, name](std::uintptr_t view, auto value) {
            calls += std::string(name) + " " + std::to_string(view) + " " + std::to_string(value) + "\n";
        };
    };
    std::string typed;
    PanelSurroundings surroundings({.styleMask = [](std::uintptr_t) { return std::uint64_t{0x10}; },
                                    .setStyleMask = note("style"),
                                    .setLevel = note("level"),
                                    .setCollectionBehavior = note("behavior"),
                                    .setHidesOnDeactivate = note("hides"),
                                    .setIgnoresMouseEvents = note("ignores"),
                                    .setAnimationBehavior = note("animation"),
                                    .accessibilityDisplayShouldReduceMotion = [] { return true; },
                                    .mainScreenCenter = [] { return std::pair(1700.5, -300.0); },
                                    .translateKey = [&typed](KeyCode) { return typed; }});
    surroundings.adoptWindow(7);
    EXPECT_EQ(calls, "style 7 144\nlevel 7 25\nbehavior 7 337\nhides 7 0\nignores 7 1\nanimation 7 2\n");
    EXPECT_EQ(surroundings.focusedPlace(), (DesktopPlace{1700, -300, false}));
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"ö", "ö"}, {"", std::nullopt}, {"\r", std::nullopt}, {" ", std::nullopt}, {"\uF700", std::nullopt}};
    for (const auto& [text, label] : cases) {
        typed = text;
        EXPECT_EQ(surroundings.keyLabel(0), label) << text;
    }
}

} // namespace
} // namespace varnel
