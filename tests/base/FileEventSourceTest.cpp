#include "base/ManualEventLoop.h"
#include "base/PollEventLoop.h"
#include "base/VnodeFileEventSource.h"
#include "base/linux/InotifyFileEventSource.h"
#include "tests/base/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace varnel {
namespace {

namespace fs = std::filesystem;

std::string name(FileEvent event) {
    return event == FileEvent::write ? "w" : event == FileEvent::rename ? "n" : "d";
}

class InotifyTest : public testing::Test {
protected:
    /// The distinct events that doing this causes, in their order.
    std::string eventsOf(const std::string& path, const std::function<void()>& action) {
        std::string seen;
        const auto watch = source.watch(path, [&](FileEvent event) {
            if (!seen.ends_with(name(event)))
                seen += name(event);
        });
        EXPECT_TRUE(watch) << path;
        action();
        settle();
        return seen;
    }
    /// Lets the loop handle what the system has queued by now.
    void settle() {
        for (int i = 0; i < 2; ++i) {
            const auto end = loop.after(1ms, [this] { loop.quit(); });
            loop.run();
        }
    }

    TemporaryFolder folder;
    PollEventLoop loop;
    InotifyFileEventSource source{loop};
};

TEST_F(InotifyTest, TellsWhatHappensToAFile) {
    const std::string file = folder / "file";
    const struct {
        std::string what, events;
        std::function<void()> action;
    } rows[] = {
        {"nothing", "", [] {}},
        {"content", "w", [&] { folder.write("file", "changed"); }},
        {"permissions", "", [&] { chmod(file.c_str(), 0600); }},
        {"a neighbour", "", [&] { folder.write("neighbour", "x"); }},
        {"moved away", "n", [&] { fs::rename(file, folder / "elsewhere"); }},
        {"replaced", "n",
         [&] {
             folder.write("new", "y");
             fs::rename(folder / "new", file);
         }},
        {"deleted", "d", [&] { fs::remove(file); }},
        {"deleted while open", "d",
         [&, open = std::make_shared<UniqueFd>()] {
             *open = UniqueFd(::open(file.c_str(), O_RDONLY));
             fs::remove(file);
         }},
        {"read", "",
         [&] {
             std::string text;
             std::ifstream(file) >> text;
         }},
        {"written, then replaced", "wn",
         [&] {
             folder.write("file", "1");
             folder.write("new", "y");
             fs::rename(folder / "new", file);
         }},
    };
    for (const auto& row : rows) {
        folder.write("file", "before");
        settle();
        EXPECT_EQ(eventsOf(file, row.action), row.events) << row.what;
    }
}

TEST_F(InotifyTest, TellsWhatHappensToAFolder) {
    fs::create_directory(folder / "sub");
    folder.write("sub/file", "x");
    const struct {
        std::string what, events;
        std::function<void()> action;
    } rows[] = {
        {"change inside a file", "", [&] { folder.write("sub/file", "changed"); }},
        {"permissions inside", "", [&] { chmod((folder / "sub/file").c_str(), 0600); }},
        {"entry comes", "w", [&] { folder.write("sub/two", "x"); }},
        {"entry renamed", "w", [&] { fs::rename(folder / "sub/two", folder / "sub/three"); }},
        {"entry moved away", "w", [&] { fs::rename(folder / "sub/three", folder / "three"); }},
        {"entry replaced", "w", [&] { fs::rename(folder / "three", folder / "sub/file"); }},
        {"folder comes", "w", [&] { fs::create_directory(folder / "sub/deep"); }},
        {"deeper", "", [&] { folder.write("sub/deep/x", "x"); }},
        {"everything removed", "wd", [&] { fs::remove_all(folder / "sub"); }},
    };
    for (const auto& row : rows)
        EXPECT_EQ(eventsOf(folder / "sub", row.action), row.events) << row.what;
}

TEST_F(InotifyTest, FollowsLinksAndRefusesWhatIsMissing) {
    folder.write("file", "x");
    fs::create_symlink("file", folder / "link");
    EXPECT_EQ(eventsOf(folder / "link", [&] { folder.write("file", "y"); }), "w");
    EXPECT_FALSE(source.watch(folder / "missing", [](FileEvent) {}));
}

TEST_F(InotifyTest, ServesSeveralWatchesOfOneFileUntilEachIsDropped) {
    folder.write("file", "x");
    std::string seen;
    Subscription first, second;
    first = source.watch(folder / "file", [&](FileEvent) {
        seen += "1";
        first.reset(); // inside its own callback
    });
    second = source.watch(folder / "file", [&](FileEvent event) { seen += name(event); });
    folder.write("file", "yy");
    settle();
    EXPECT_EQ(seen.substr(0, 2), "1w");
    seen.clear();
    fs::remove(folder / "file");
    settle();
    EXPECT_EQ(seen, "d");
    second.reset();
    folder.write("file", "z");
    EXPECT_EQ(eventsOf(folder / "file", [&] { folder.write("file", "zz"); }), "w")
        << "a new file of the same name";
}

TEST_F(InotifyTest, SurvivesALostQueueAndItsOwnEnd) {
    folder.write("file", "x");
    std::optional<InotifyFileEventSource> own(loop);
    int calls = 0;
    const auto watch = own->watch(folder / "file", [&](FileEvent) {
        ++calls;
        own.reset(); // inside a callback
    });
    folder.write("file", "y");
    settle();
    EXPECT_EQ(calls, 1);
}

/// Stands for the system: hands out descriptors and lets the test send events.
struct FakeVnodes {
    struct Source {
        int descriptor;
        std::function<void(unsigned)> onEvent;
        std::function<void()> onCancelled;
        bool cancelled = false;
    };
    std::map<int, std::string> open;
    std::vector<std::unique_ptr<Source>> sources;
    int next = 10;
    bool refuseStart = false;

    VnodeTable table() {
        return {.openForEvents =
                    [this](const std::string& path) {
                        if (path == "/missing")
                            return -1;
                        open[++next] = path;
                        return next;
                    },
                .closeDescriptor = [this](int descriptor) { EXPECT_EQ(open.erase(descriptor), 1U); },
                .start = [this](int descriptor, auto onEvent, auto onCancelled) -> void* {
                    if (refuseStart)
                        return nullptr;
                    sources.push_back(std::make_unique<Source>(Source{descriptor, onEvent, onCancelled}));
                    return sources.back().get();
                },
                .cancel =
                    [](void* source) {
                        EXPECT_FALSE(std::exchange(static_cast<Source*>(source)->cancelled, true));
                    }};
    }
};

TEST(VnodeFileEventSource, HandsEventsOverToTheLoop) {
    FakeVnodes vnodes;
    ManualEventLoop loop;
    VnodeFileEventSource source(loop, vnodes.table());
    std::string seen;
    const auto watch = source.watch("/a", [&](FileEvent event) { seen += name(event); });
    std::thread queue([&] {
        for (const unsigned flags :
             {kVnodeWrite, kVnodeRename, kVnodeDelete, kVnodeWrite | kVnodeDelete | kVnodeRename})
            vnodes.sources[0]->onEvent(flags);
    });
    queue.join();
    EXPECT_EQ(seen, "");
    loop.runPending();
    EXPECT_EQ(seen, "wndd");
    EXPECT_FALSE(source.watch("/missing", [](FileEvent) {}));
    vnodes.refuseStart = true;
    EXPECT_FALSE(source.watch("/b", [](FileEvent) {}));
    EXPECT_EQ(vnodes.open.size(), 1U);
}

TEST(VnodeFileEventSource, ClosesOnlyWhenCancellationIsThroughAndForgetsLateEvents) {
    FakeVnodes vnodes;
    ManualEventLoop loop;
    auto source = std::make_unique<VnodeFileEventSource>(loop, vnodes.table());
    Subscription watch = source->watch("/a", [](FileEvent) { FAIL() << "the watch is over"; });
    Subscription other = source->watch("/b", [](FileEvent) { FAIL() << "the watch is over"; });
    vnodes.sources[0]->onEvent(kVnodeWrite); // still on its way when the watch ends
    watch.reset();
    EXPECT_TRUE(vnodes.sources[0]->cancelled);
    EXPECT_EQ(vnodes.open.size(), 2U) << "the number stays taken";
    vnodes.sources[0]->onEvent(kVnodeWrite); // was running while the source was cancelled
    loop.runPending();
    vnodes.sources[0]->onCancelled();
    EXPECT_EQ(vnodes.open.size(), 1U);
    source.reset();
    vnodes.sources[1]->onEvent(kVnodeWrite); // nobody is left to tell
    other.reset();
    vnodes.sources[1]->onCancelled();
    loop.runPending();
    EXPECT_TRUE(vnodes.open.empty());
}

} // namespace
} // namespace varnel
