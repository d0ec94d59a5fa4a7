#include "activation/PrivateWindowServer.h"

#include "activation/RunningWindowActivation.h"
#include "tests/activation/WindowDoubles.h"

#include <gtest/gtest.h>

#include <thread>

namespace varnel {
namespace {

/// What stands behind the fake functions; they are plain addresses and so share one.
struct FakeServer {
    std::int32_t serialStatus = 0, frontStatus = 0, keyStatus = 0;
    std::vector<std::vector<std::uint8_t>> records;
    std::vector<std::uint32_t> frontCalls; ///< window and options in turn
    JSONValue displays;
    std::map<std::uint64_t, JSONValue> windowsBySpace;
    JSONValue spacesOfWindow;
    JSONValue title;
    int alive = 0; ///< native objects not yet released
    int callers = 0, mostCallers = 0;
};
FakeServer server;

NativeReference native(JSONValue value) {
    ++server.alive;
    return new JSONValue(std::move(value));
}
const JSONValue& content(NativeReference reference) {
    return *static_cast<const JSONValue*>(reference);
}

NativeValues nativeValues() {
    return {.read = content,
            .makeNumbers =
                [](std::span<const std::uint64_t> numbers) {
                    JSONValue::Array list;
                    for (auto number : numbers)
                        list.emplace_back(static_cast<double>(number));
                    return native(list);
                },
            .makeString = [](const std::string& text) { return native(text); },
            .release =
                [](NativeReference reference) {
                    --server.alive;
                    delete static_cast<const JSONValue*>(reference);
                }};
}

std::int32_t connection() {
    return 41;
}
NativeReference copyDisplays(std::int32_t) {
    return native(server.displays);
}
NativeReference copySpaces(std::int32_t, std::int32_t, NativeReference) {
    return native(server.spacesOfWindow);
}
NativeReference copyWindows(std::int32_t, std::uint32_t, NativeReference spaces, std::uint32_t,
                            std::uint64_t*, std::uint64_t*) {
    return native(
        server.windowsBySpace[static_cast<std::uint64_t>(*content(spaces).array()->front().number())]);
}
std::int32_t copyProperty(std::int32_t, std::uint32_t, NativeReference key, NativeReference* out) {
    if (content(key) != JSONValue("kCGSWindowTitle") || server.title.isNull())
        return 1001;
    *out = native(server.title);
    return 0;
}
std::int32_t setFront(ProcessSerialNumber* serial, std::uint32_t window, std::uint32_t options) {
    EXPECT_EQ(serial->low, 55u);
    server.frontCalls.insert(server.frontCalls.end(), {window, options});
    return server.frontStatus;
}
std::int32_t postRecord(ProcessSerialNumber*, std::uint8_t* record) {
    server.mostCallers = std::max(server.mostCallers, ++server.callers);
    std::this_thread::yield();
    server.records.emplace_back(record, record + kEventRecordSize);
    --server.callers;
    return server.keyStatus;
}
std::int32_t getWindow(NativeReference element, std::uint32_t* window) {
    *window = reinterpret_cast<std::uintptr_t>(element) == 0xE1 ? 77 : 0;
    return 0;
}
std::int32_t getProcess(ProcessIdentifier process, ProcessSerialNumber* serial) {
    serial->low = static_cast<std::uint32_t>(process) + 5;
    return server.serialStatus;
}

const std::map<std::string, void*, std::less<>>& allSymbols() {
    const auto address = [](auto* function) { return reinterpret_cast<void*>(function); };
    static const std::map<std::string, void*, std::less<>> symbols{
        {"CGSMainConnectionID", address(connection)},
        {"CGSCopyManagedDisplaySpaces", address(copyDisplays)},
        {"CGSCopySpacesForWindows", address(copySpaces)},
        {"CGSCopyWindowProperty", address(copyProperty)},
        {"_SLPSSetFrontProcessWithOptions", address(setFront)},
        {"SLPSPostEventRecordTo", address(postRecord)},
        {"CGSCopyWindowsWithOptionsAndTags", address(copyWindows)},
        {"CGSManagedDisplayIsAnimating", address(connection)},
        {"_AXUIElementGetWindow", address(getWindow)},
        {"GetProcessForPID", address(getProcess)}};
    return symbols;
}

/// Libraries have what `inLibrary` accepts; everything that exists at all is among what is loaded.
SymbolLoader loader(std::function<bool(std::string_view)> exists, bool opens = true, bool inLibrary = true) {
    return {.open = [opens](const char*) -> void* { return opens ? &server : nullptr; },
            .symbol = [exists, inLibrary](void* library, const char* name) -> void* {
                const auto found = allSymbols().find(std::string_view(name));
                if (found == allSymbols().end() || !exists(name) || (library && !inLibrary))
                    return nullptr;
                return found->second;
            }};
}
bool always(std::string_view) {
    return true;
}

PrivateWindowServer makeServer() {
    server = FakeServer{};
    const SymbolLoader all = loader(always);
    return {loadSkyLightSymbols(all), loadHIServicesSymbols(all), nativeValues(), [] { return 12; }};
}

JSONValue space(int identifier) {
    return JSONValue::Object{{"ManagedSpaceID", identifier}};
}
JSONValue display(const char* identifier, int current, JSONValue::Array spaces) {
    return JSONValue::Object{
        {"Display Identifier", identifier}, {"Current Space", space(current)}, {"Spaces", spaces}};
}

TEST(PrivateWindowServerSymbols, NeedsEveryRequiredNameAndNoOptionalOne) {
    for (const char* name :
         {"CGSMainConnectionID", "CGSCopyManagedDisplaySpaces", "CGSCopySpacesForWindows",
          "CGSCopyWindowProperty", "_SLPSSetFrontProcessWithOptions", "SLPSPostEventRecordTo"})
        EXPECT_FALSE(loadSkyLightSymbols(loader([&](std::string_view each) { return each != name; })))
            << name;
    for (const char* name : {"_AXUIElementGetWindow", "GetProcessForPID"})
        EXPECT_FALSE(loadHIServicesSymbols(loader([&](std::string_view each) { return each != name; })))
            << name;
    const auto bare = loadSkyLightSymbols(
        loader([](std::string_view name) { return name != "CGSCopyWindowsWithOptionsAndTags"; }));
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->copyWindowsWithOptionsAndTags, nullptr);
    EXPECT_EQ(bare->setSpaceFrontProcess, nullptr);
    EXPECT_NE(bare->isDisplayAnimating, nullptr) << "found under its second name";
    EXPECT_FALSE(loadSkyLightSymbols(loader(always, false))) << "the framework does not open";
    EXPECT_TRUE(loadSkyLightSymbols(loader(always, true, false))) << "found among everything loaded";
}

TEST(PrivateWindowServerSymbols, AreListedForPeople) {
    std::string missing;
    std::size_t required = 0;
    bool animating = false;
    const auto list = listPrivateSymbols(loader([](std::string_view name) {
        return name != "SLPSPostEventRecordTo" && name != "SLSSpaceSetFrontPSN" && name != "GetProcessForPID";
    }));
    for (const PrivateSymbol& symbol : list) {
        required += symbol.isRequired ? 1 : 0;
        missing += symbol.isRequired && !symbol.isFound ? symbol.name + " " : "";
        animating = animating || (symbol.name == "SLSManagedDisplayIsAnimating" && symbol.isFound);
    }
    EXPECT_EQ(missing, "SLPSPostEventRecordTo GetProcessForPID ");
    EXPECT_EQ(list.size(), 14u);
    EXPECT_EQ(required, 8u);
    EXPECT_TRUE(animating) << "listed under its first name, found under the second";
}

TEST(PrivateWindowServerSymbols, AreAbsentOnASystemWithoutTheFramework) {
    const SymbolLoader system = systemSymbolLoader();
    EXPECT_NE(system.symbol(nullptr, "malloc"), nullptr);
    EXPECT_EQ(system.symbol(nullptr, "CGSNoSuchFunction"), nullptr);
#ifdef __linux__
    EXPECT_FALSE(loadSkyLightSymbols(system));
#endif
}

TEST(PrivateWindowServer, PostsTheTwoRecordsByteForByte) {
    PrivateWindowServer subject = makeServer();
    server.displays = JSONValue::Array{display("Main", 3, {space(3), space(4)})};
    server.spacesOfWindow = JSONValue::Array{4};
    const PrivateWindowFocusResult result = subject.focus(50, 0x01020304);
    EXPECT_EQ(result, (PrivateWindowFocusResult{
                          true, true, "makeKeyDown=0 makeKeyUp=0 targetSpaces=4 currentSpace=3", 3, 12}));
    EXPECT_EQ(server.frontCalls, (std::vector<std::uint32_t>{0x01020304, 0x200}));
    std::vector<std::uint8_t> expected(256, 0);
    expected[0x04] = 0xF8;
    expected[0x08] = 0x01;
    const std::uint8_t minusOne[] = {0, 0, 0, 0, 0, 0, 0xF0, 0xBF};
    std::copy(std::begin(minusOne), std::end(minusOne), expected.begin() + 0x20);
    std::copy(std::begin(minusOne), std::end(minusOne), expected.begin() + 0x28);
    expected[0x3A] = 0x10;
    const std::uint8_t number[] = {4, 3, 2, 1};
    std::copy(std::begin(number), std::end(number), expected.begin() + 0x3C);
    ASSERT_EQ(server.records.size(), 2u);
    EXPECT_EQ(server.records[0], expected);
    expected[0x08] = 0x02;
    EXPECT_EQ(server.records[1], expected);
    EXPECT_EQ(server.alive, 0);
}

TEST(PrivateWindowServer, ReportsWhatFailed) {
    PrivateWindowServer subject = makeServer();
    server.serialStatus = -600;
    EXPECT_EQ(subject.focus(50, 9), (PrivateWindowFocusResult{true, false, "GetProcessForPID failed: -600",
                                                              std::nullopt, std::nullopt}));
    server.serialStatus = 0;
    server.frontStatus = 1000;
    EXPECT_EQ(subject.focus(50, 9),
              (PrivateWindowFocusResult{true, false, "_SLPSSetFrontProcessWithOptions failed: 1000",
                                        std::nullopt, 12}));
    EXPECT_TRUE(server.records.empty());
    server.frontStatus = 0;
    server.keyStatus = 3;
    EXPECT_EQ(subject.focus(50, 9).detail, "makeKeyDown=3 makeKeyUp=3 targetSpaces=none currentSpace=none");
    EXPECT_EQ(server.alive, 0);
}

TEST(PrivateWindowServer, SaysThatItIsUnavailableWithoutEitherTable) {
    const SymbolLoader all = loader(always);
    PrivateWindowServer noSkyLight(std::nullopt, loadHIServicesSymbols(all), nativeValues(),
                                   [] { return 12; });
    PrivateWindowServer noHIServices(loadSkyLightSymbols(all), std::nullopt, nativeValues(),
                                     [] { return 12; });
    const PrivateWindowFocusResult expected{false, false, "private API unavailable", std::nullopt,
                                            std::nullopt};
    EXPECT_EQ(noSkyLight.focus(50, 9), expected);
    EXPECT_EQ(noHIServices.focus(50, 9), expected);
    EXPECT_FALSE(noSkyLight.spaceSnapshot());
    EXPECT_FALSE(noSkyLight.windowTitle(9));
    EXPECT_FALSE(noHIServices.windowNumber({.handle = 0xE1}));
}

TEST(PrivateWindowServer, TakesTheSpacesAndTheWindowsInThem) {
    PrivateWindowServer subject = makeServer();
    server.displays = JSONValue::Array{display("A", 4, {space(9), space(4)}),
                                       display("B", 6, {JSONValue::Object{{"id64", 6}}}),
                                       JSONValue::Object{{"Spaces", JSONValue::Array{space(70)}}},
                                       "no display", display("C", -1, {space(-5), "x"})};
    server.windowsBySpace = {{9, JSONValue::Array{11}}, {4, JSONValue::Array{12, 11}}, {6, JSONValue("odd")}};
    const auto snapshot = subject.spaceSnapshot();
    WindowServerSpaceSnapshot expected;
    expected.currentSpaceID = 4;
    expected.visibleSpaceIDs = {4, 6};
    expected.spaceIndexesByID = {{9, 0}, {4, 1}, {6, 2}};
    expected.windowIDsInAllSpaces = {11, 12};
    expected.spaceIDsByWindowID = {{11, {9, 4}}, {12, {4}}};
    expected.displayIDBySpaceID = {{9, "A"}, {4, "A"}, {6, "B"}};
    expected.currentSpaceIDByDisplayID = {{"A", 4}, {"B", 6}};
    expected.spaceIDsByDisplayID = {{"A", {9, 4}}, {"B", {6}}, {"C", {}}};
    EXPECT_EQ(snapshot, expected);
    EXPECT_EQ(parseManagedDisplaySpaces("not a list"), WindowServerSpaceSnapshot{});
    EXPECT_EQ(server.alive, 0);
}

TEST(PrivateWindowServer, ReadsNumbersAndTitles) {
    PrivateWindowServer subject = makeServer();
    EXPECT_EQ(subject.windowNumber({.handle = 0xE1}), 77u);
    EXPECT_EQ(subject.windowNumber({.handle = 0xE2}), std::nullopt);
    EXPECT_EQ(subject.windowTitle(9), std::nullopt);
    server.title = "Notes";
    EXPECT_EQ(subject.windowTitle(9), "Notes");
    EXPECT_EQ(server.alive, 0);
}

TEST(PrivateWindowServer, LetsOneThreadInAtATime) {
    PrivateWindowServer subject = makeServer();
    const auto work = [&] {
        for (int i = 0; i < 50; ++i)
            (void)subject.focus(50, 9);
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(server.records.size(), 200u);
    EXPECT_EQ(server.mostCallers, 1);
}

/// Remembers the request and answers as told.
class ScriptedFocusing : public WindowFocusing {
public:
    WindowFocusOutcome outcome;
    std::optional<WindowFocusRequest> request;
    WindowFocusOutcome focus(const WindowFocusRequest& asked) override {
        request = asked;
        return outcome;
    }
};

TEST(RunningWindowActivation, CombinesThePrivateFocusWithTheSequence) {
    struct Row {
        const char* name;
        bool isPrivateThere, hasElements;
        ProcessIdentifier front;
        WindowFocusOutcome outcome;
        std::string error; ///< empty: success
    };
    const WindowFocusOutcome done{true, false, true, true};
    const Row rows[] = {
        {"both work", true, true, 50, done, ""},
        {"without the private functions", false, true, 1, done, ""},
        {"the application offers no element, but is in front", true, false, 50, {}, ""},
        {"no element and not in front", true, false, 1, {}, "The window no longer exists."},
        {"no element and no private functions", false, false, 50, {}, "The window no longer exists."},
        {"the application stays behind", true, true, 1, {}, "Notes could not be brought to the front."},
        {"another window is in front",
         true,
         true,
         50,
         {false, false, true, false},
         "Notes is in front, but did not bring the chosen window forward."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PrivateWindowServer available = makeServer();
        PrivateWindowServer absent(std::nullopt, std::nullopt, nativeValues(), [] { return 12; });
        ScriptedFocusing focusing;
        focusing.outcome = row.outcome;
        RecordingLog log;
        WindowActivationEnvironment environment;
        environment.findElements = [&](const RunningWindow&) {
            return row.hasElements ? std::optional(WindowElements{{.handle = 1}, {.handle = 2}})
                                   : std::nullopt;
        };
        environment.activateApplication = [](const RunningWindow&) { return ApplicationActivation{}; };
        environment.frontmostProcess = [&] { return row.front; };
        RunningWindowActivation activation(focusing, row.isPrivateThere ? &available : &absent, environment,
                                           99, log);
        const auto result = activation.activate({.id = 9, .process = 50, .applicationName = "Notes"});
        EXPECT_EQ(result ? "" : result.error().message, row.error);
        EXPECT_EQ(server.frontCalls.empty(), !row.isPrivateThere);
        if (row.hasElements) {
            ASSERT_TRUE(focusing.request);
            EXPECT_EQ(focusing.request->applicationIsFrontmost, row.front == 50);
        }
        EXPECT_EQ(log.lines.at(1),
                  row.isPrivateThere
                      ? "windowActivation.privateFocus=true attempted=true detail=makeKeyDown=0 "
                        "makeKeyUp=0 targetSpaces=none currentSpace=none"
                      : "windowActivation.privateFocus=false attempted=false detail=private API "
                        "unavailable");
    }
}

TEST(RunningWindowActivation, LeavesItsOwnProcessAlone) {
    PrivateWindowServer available = makeServer();
    ScriptedFocusing focusing;
    RecordingLog log;
    RunningWindowActivation activation(focusing, &available, {}, 99, log);
    EXPECT_FALSE(activation.activate({.id = 9, .process = 99}));
    EXPECT_TRUE(server.frontCalls.empty());
}

} // namespace
} // namespace varnel
