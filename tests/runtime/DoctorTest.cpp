#include "runtime/Doctor.h"
#include "base/ManualEventLoop.h"
#include "runtime/Permissions.h"
#include "runtime/ServiceLoginItem.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace varnel {
namespace {

using Grade = DoctorFinding::Grade;

/// All is well, on a system that is both.
DoctorFacts healthy() {
    DoctorFacts facts;
    facts.version = "1.0";
    facts.paths.home = "/home/ada";
    facts.user = "ada";
    facts.host = "lovelace";
    facts.configuration = {.file = {.path = "/home/ada/c.json", .exists = true, .mode = 0644, .error = {}},
                           .error = {},
                           .actionCount = 2,
                           .firstKeys = {"ctrl+j"}};
    facts.preferencesPlace = "/home/ada/p.json";
    facts.status = JSONValue::Object{{"version", "1.0"}, {"configPath", "/home/ada/c.json"}};
    facts.display = DoctorDisplay{.name = ":1",
                                  .error = {},
                                  .extensions = {{"XTEST", true}},
                                  .windowManager = "Openbox",
                                  .trayHost = "tint2",
                                  .trouble = "",
                                  .grabbers = {"openbox"}};
    facts.mac =
        DoctorMac{.permissions = {.isTrusted = true, .posting = AccessState::granted, .mayPostEvents = true},
                  .tapLevel = "hid",
                  .symbols = {{"GetProcessForPID", true}},
                  .missingSymbols = {},
                  .bundleIdentifier = "com.brackwell.varnel"};
    facts.watchLimits = DoctorWatchLimits{.watches = 1, .instances = 1, .error = {}};
    facts.helpers["varnel-keyguard"] = true;
    return facts;
}

TEST(Doctor, FindsWhatIsInTheWay) {
    for (const DoctorFinding& finding : examine(healthy()))
        EXPECT_EQ(finding.grade, Grade::fine) << finding.id << ": " << finding.text;

    const struct {
        std::function<void(DoctorFacts&)> arrange;
        const char* id;
        Grade grade;
        const char* text; ///< a part of it, or of the remedy
    } rows[] = {
        {[](auto& f) { f.status.reset(); }, "application.running", Grade::note, "not running"},
        {[](auto& f) { (*f.status)["statusLine"] = "active local:off global:off AX:denied"; },
         "application.running", Grade::warning, "captures no keys"},
        {[](auto& f) {
             (*f.status)["suspensionReasons"] = JSONValue::Array{"game", "pause"};
         },
         "application.running", Grade::note, "paused: game, pause."},
        {[](auto& f) { f.version = "2.0"; }, "application.version", Grade::warning, "1.0, this program 2.0"},
        {[](auto& f) { f.socketError = "It is silent."; }, "application.socket", Grade::warning, "silent"},
        {[](auto& f) { f.socketFolder = {.path = "/r", .exists = true, .mode = 0755, .error = {}}; },
         "application.folder", Grade::warning, "chmod 700 /r"},
        {[](auto& f) { f.configuration.file.path = "/home/ada/other.json"; }, "application.configuration",
         Grade::note, "~/c.json"},
        {[](auto& f) { f.configuration.file.exists = false; }, "configuration.file", Grade::note, "~/c.json"},
        {[](auto& f) { f.configuration.error = "bad"; }, "configuration.file", Grade::failure, "bad"},
        {[](auto& f) { f.configuration.actionCount = 0; }, "configuration.file", Grade::warning,
         "no enabled"},
        {[](auto& f) { f.preferencesError = "damaged"; }, "preferences", Grade::failure, "damaged"},
        {[](auto& f) { f.configuration.file.mode = 0666; }, "files.mode", Grade::warning,
         "chmod go-w ~/c.json"},
        {[](auto& f) { f.capabilities = {{.path = "/p", .exists = true, .isOwn = false, .error = {}}}; },
         "files.owner", Grade::warning, "/p"},
        {[](auto& f) { f.capabilities = {{.path = "/p", .error = "no access to /p"}}; }, "files.unreadable",
         Grade::failure, "no access"},
        {[](auto& f) { f.display->name.clear(); }, "display", Grade::warning, "No X display"},
        {[](auto& f) { f.display->error = "gone", f.display->isWaylandSession = true; }, "display",
         Grade::warning, "X11 session"},
        {[](auto& f) { f.display->extensions["XTEST"] = false; }, "display.extension", Grade::warning,
         "XTEST"},
        {[](auto& f) { f.display->trouble = "another program holds ctrl+j"; }, "keyboard.grabs",
         Grade::warning, "openbox"},
        {[](auto& f) { f.mac->permissions.isTrusted = false; }, "permissions.accessibility", Grade::warning,
         "off and on again"},
        {[](auto& f) { f.mac->permissions.posting = AccessState::denied; }, "permissions.posting",
         Grade::warning, "refuses"},
        {[](auto& f) { f.mac->tapLevel.clear(); }, "keyboard.tap", Grade::warning, "cannot be captured"},
        {[](auto& f) { f.mac->permissions.isSecureInputOn = true; }, "keyboard.secureInput", Grade::warning,
         "Secure input"},
        {[](auto& f) { f.mac->symbols["SLSOptional"] = false; }, "windows.private", Grade::note,
         "SLSOptional"},
        {[](auto& f) {
             f.mac->symbols["CGSNeeded"] = false;
             f.mac->missingSymbols = {"CGSNeeded"};
         },
         "windows.private", Grade::warning, "cannot be focused"},
        {[](auto& f) { f.watchLimits->error = "No space left"; }, "files.watching", Grade::warning,
         "max_user_watches"},
        {[](auto& f) { f.helpers["varnel-keyguard"] = false; }, "helper", Grade::warning, "missing"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.id) + " " + row.text);
        DoctorFacts facts = healthy();
        row.arrange(facts);
        std::string found;
        for (const DoctorFinding& finding : examine(facts))
            if (finding.id == row.id && finding.grade == row.grade)
                found += finding.text + finding.remedy;
        EXPECT_NE(found.find(row.text), std::string::npos) << found;
    }
}

TEST(Doctor, NamesNeitherUserNorComputer) {
    const DoctorFacts facts = healthy();
    const struct {
        const char *text, *redacted;
    } rows[] = {
        {"/home/ada/x and /home/ada", "~/x and ~"}, {"/home/adam/x", "/home/adam/x"},
        {"ada@lovelace:0", "USER@HOST:0"},          {"/run/ada/ada.sock", "/run/USER/USER.sock"},
        {"lovelaces adapter", "lovelaces adapter"}, {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(redacted(row.text, facts), row.redacted);
}

TEST(Doctor, TakesTheRunningApplicationsWordForItsPermissions) {
    DoctorMac mac = *healthy().mac;
    mac.permissions.listening = AccessState::denied;
    mac.symbols["CGSNeeded"] = false;
    mac.missingSymbols = {"CGSNeeded"};
    const DoctorMac told = doctorMac(asJSON(mac));
    EXPECT_EQ(told.permissions, mac.permissions);
    EXPECT_EQ(told.symbols, mac.symbols);
    EXPECT_EQ(told.missingSymbols, mac.missingSymbols);
    EXPECT_EQ(told.tapLevel + told.bundleIdentifier, "hidcom.brackwell.varnel");
    EXPECT_FALSE(doctorMac({{"symbols", 3}, {"isTrusted", "yes"}}).permissions.isTrusted);
}

struct FakePermissions {
    bool trusted = false, mayPost = true;
    std::uint32_t listen = 2;
    int prompts = 0, postRequests = 0;
    std::shared_ptr<std::atomic<int>> listenRequests = std::make_shared<std::atomic<int>>(0);

    PermissionTable table() {
        return {.isTrusted = [this] { return trusted; },
                .promptForTrust = [this] { return ++prompts, trusted; },
                .checkListenAccess = [this] { return listen; },
                .checkPostAccess = [] { return 1u; },
                .requestListenAccess = [asked = listenRequests] { return ++*asked > 0; },
                .mayPostEvents = [this] { return mayPost; },
                .requestPostEvents = [this] { return ++postRequests > 0; },
                .isSecureInputOn = [] { return true; }};
    }
};

TEST(Permissions, AreAskedForOnceAndOnlyWhereTheyAreMissing) {
    const struct {
        bool trusted, mayPost;
        std::uint32_t listen;
        int postRequests, listenRequests;
    } rows[] = {
        {true, false, 2, 0, 0}, {false, true, 2, 0, 1}, {false, false, 1, 1, 0}, {false, true, 0, 0, 0}};
    for (const auto& row : rows) {
        FakePermissions system{.trusted = row.trusted, .mayPost = row.mayPost, .listen = row.listen};
        ManualEventLoop loop;
        Permissions permissions(system.table(), loop);
        permissions.request();
        permissions.request();
        EXPECT_EQ(system.prompts, 1);
        EXPECT_EQ(system.postRequests, row.postRequests);
        for (int i = 0; i < 2000 && *system.listenRequests < row.listenRequests; ++i)
            std::this_thread::sleep_for(1ms);
        EXPECT_EQ(*system.listenRequests, row.listenRequests) << "on a thread of its own";
        EXPECT_EQ(permissions.states().posting, AccessState::denied);
    }
}

TEST(Permissions, NoticeWhenTheyAreGiven) {
    FakePermissions system;
    ManualEventLoop loop;
    Permissions permissions(system.table(), loop);
    int given = 0;
    permissions.whenTrusted([&] { ++given; });
    loop.advance(5s);
    system.trusted = true;
    EXPECT_EQ(given, 0);
    loop.advance(1s);
    EXPECT_EQ(given, 1);
    loop.advance(10s);
    EXPECT_EQ(given, 1) << "nobody looks any more";
}

TEST(ServiceLoginItem, RegistersOnlyWhatTheUserHasNotSwitchedOff) {
    using Kind = LaunchAtLoginState::Kind;
    const struct {
        std::int64_t status;
        bool enabled;
        Kind kind;
        const char* calls;
    } rows[] = {
        {0, true, Kind::off, "register"},
        {3, true, Kind::off, "register"},
        {1, true, Kind::on, ""},
        {2, true, Kind::needsApproval, ""},
        {2, false, Kind::needsApproval, "out"},
        {1, false, Kind::on, "out"},
        {0, false, Kind::off, ""},
        {9, true, Kind::unknown, "register"},
    };
    for (const auto& row : rows) {
        std::string calls;
        ServiceLoginItem item({.status = [&] { return row.status; },
                               .registerService = [&]() -> std::optional<std::string> {
                                   calls += "register";
                                   return "not signed";
                               },
                               .unregisterService = [&]() -> std::optional<std::string> {
                                   calls += "out";
                                   return std::nullopt;
                               }});
        EXPECT_EQ(item.state().kind, row.kind);
        const auto done = item.setEnabled(row.enabled);
        EXPECT_EQ(calls, row.calls) << row.status;
        EXPECT_EQ(done ? "" : done.error(), calls == "register" ? "not signed" : "");
    }
}

} // namespace
} // namespace varnel
