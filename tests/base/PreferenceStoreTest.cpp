#include "base/CoreFoundationPreferenceStore.h"
#include "base/FilePreferenceStore.h"
#include "base/MemoryPreferenceStore.h"
#include "base/PosixFileSystem.h"
#include "tests/base/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

namespace varnel {
namespace {

TEST(Preferences, AreReadAsTheKindThatIsAskedFor) {
    MemoryPreferenceStore store(
        {{"one", 1}, {"half", 0.5}, {"huge", 1e300}, {"text", "1"}, {"yes", true}, {"null", nullptr}});
    EXPECT_EQ(integerPreference(store, "one"), 1);
    for (const char* key : {"half", "huge", "text", "yes", "null", "missing"})
        EXPECT_EQ(integerPreference(store, key), std::nullopt) << key;
    EXPECT_EQ(stringPreference(store, "text"), "1");
    EXPECT_EQ(stringPreference(store, "one"), std::nullopt);
    EXPECT_TRUE(booleanPreference(store, "yes", false));
    EXPECT_TRUE(booleanPreference(store, "one", true));
    EXPECT_TRUE(store.setValue("one", std::nullopt));
    EXPECT_TRUE(store.setValue("missing", std::nullopt));
    EXPECT_EQ(store.value("one"), std::nullopt);
}

TEST(CoreFoundationPreferenceStore, KeepsOnlyWhatTheSystemCanKeep) {
    JSONValue::Object kept;
    bool canSynchronize = true;
    int announced = 0;
    CoreFoundationPreferenceStore store(
        {.copyValue =
             [&](const std::string& key) {
                 const auto found = kept.find(key);
                 return found == kept.end() ? std::nullopt : std::optional(found->second);
             },
         .setValue =
             [&](const std::string& key, const std::optional<JSONValue>& value) {
                 if (value)
                     kept[key] = *value;
                 else
                     kept.erase(key);
             },
         .synchronize = [&] { return canSynchronize; },
         .announceChange = [&] { ++announced; },
         .startWatching = {},
         .stopWatching = {},
         .domain = {}});
    EXPECT_TRUE(store.setValue("list", JSONValue::Array{1, "a", JSONValue::Object{{"b", true}}}));
    for (const JSONValue& value :
         {JSONValue(), JSONValue(JSONValue::Array{1, nullptr}), JSONValue(JSONValue::Object{{"a", nullptr}})})
        EXPECT_FALSE(store.setValue("list", value));
    canSynchronize = false;
    EXPECT_FALSE(store.setValue("list", 1));
    EXPECT_FALSE(store.setValue("new", 1));
    EXPECT_EQ(kept, (JSONValue::Object{{"list", JSONValue::Array{1, "a", JSONValue::Object{{"b", true}}}}}));
    canSynchronize = true;
    EXPECT_TRUE(store.setValue("list", std::nullopt));
    EXPECT_EQ(store.value("list"), std::nullopt);
    EXPECT_EQ(announced, 2) << "once for each change that was kept";
}

/// The real file system, of which one call can be made to fail.
class FailingFileSystem : public PosixFileSystem {
public:
    std::string failing; ///< "read", "write" or "rename"
    Result<std::string> readFile(const std::string& path) override {
        return failing == "read" ? std::unexpected(FileError{"read", path, EIO})
                                 : PosixFileSystem::readFile(path);
    }
    Result<void> writeNewFile(const std::string& path, std::string_view content,
                              std::uint32_t mode) override {
        return failing == "write" ? std::unexpected(FileError{"write", path, ENOSPC})
                                  : PosixFileSystem::writeNewFile(path, content, mode);
    }
    Result<void> rename(const std::string& from, const std::string& to) override {
        return failing == "rename" ? std::unexpected(FileError{"rename", from, EACCES})
                                   : PosixFileSystem::rename(from, to);
    }
};

class FilePreferenceStoreTest : public testing::Test {
protected:
    std::string content() { return files.readFile(folder / "state/preferences.json").value_or("(none)"); }
    std::size_t entries() { return files.list(folder / "state")->size(); }

    TemporaryFolder folder;
    FailingFileSystem files;
    FilePreferenceStore store{files, folder / "state/preferences.json"};
};

TEST_F(FilePreferenceStoreTest, KeepsValuesInTheFile) {
    EXPECT_TRUE(store.reload());
    EXPECT_TRUE(store.setValue("b", 2));
    EXPECT_TRUE(store.setValue("a", JSONValue::Array{"x", nullptr}));
    EXPECT_TRUE(store.setValue("gone", true));
    EXPECT_TRUE(store.setValue("gone", std::nullopt));
    EXPECT_EQ(content(), "{\n  \"a\" : [\n    \"x\",\n    null\n  ],\n  \"b\" : 2\n}");
    EXPECT_EQ(entries(), 1U);
    FilePreferenceStore other(files, store.place());
    EXPECT_EQ(other.value("b"), std::nullopt);
    EXPECT_TRUE(other.reload());
    EXPECT_EQ(other.value("b"), JSONValue(2));
}

TEST_F(FilePreferenceStoreTest, KeepsWhatAnotherProgramChanged) {
    FilePreferenceStore other(files, store.place());
    EXPECT_TRUE(store.setValue("mine", 1));
    EXPECT_TRUE(other.setValue("theirs", 2));
    EXPECT_EQ(store.value("theirs"), std::nullopt);
    EXPECT_TRUE(store.setValue("mine", 3));
    EXPECT_EQ(store.value("theirs"), JSONValue(2));
    EXPECT_EQ(content(), "{\n  \"mine\" : 3,\n  \"theirs\" : 2\n}");
}

TEST_F(FilePreferenceStoreTest, NeverOverwritesADamagedFile) {
    EXPECT_TRUE(store.setValue("kept", 1));
    for (const std::string damage : {"{\"kept\":", "[1]", ""}) {
        folder.write("state/preferences.json", damage);
        const auto reloaded = store.reload();
        ASSERT_FALSE(reloaded);
        EXPECT_NE(reloaded.error().find(store.place()), std::string::npos);
        EXPECT_EQ(content(), damage);
        EXPECT_EQ(store.value("kept"), JSONValue(1));
        EXPECT_TRUE(store.setValue("new", 2));
        EXPECT_EQ(content(), "{\n  \"kept\" : 1,\n  \"new\" : 2\n}");
    }
    EXPECT_EQ(files.readFile(store.place() + ".damaged").value(), "{\"kept\":");
    EXPECT_EQ(files.readFile(store.place() + ".damaged-2").value(), "[1]");
    EXPECT_EQ(files.readFile(store.place() + ".damaged-3").value(), "");
}

TEST_F(FilePreferenceStoreTest, ChangesNothingWhenACallFails) {
    EXPECT_TRUE(store.setValue("a", 1));
    const std::string before = content();
    for (const char* call : {"read", "write", "rename"}) {
        files.failing = call;
        const auto set = store.setValue("a", 2);
        ASSERT_FALSE(set) << call;
        EXPECT_EQ(set.error().find("Could not " + std::string(call)), 0U) << set.error();
        files.failing.clear();
        EXPECT_EQ(store.value("a"), JSONValue(1)) << call;
        EXPECT_EQ(content(), before) << call;
        EXPECT_EQ(entries(), 1U) << call;
    }
}

TEST_F(FilePreferenceStoreTest, ServesReadersWhileItWrites) {
    EXPECT_TRUE(store.setValue("n", 0));
    std::atomic<bool> done = false;
    std::thread reader([&] {
        for (double last = 0; !done;) {
            const double now = *store.value("n")->number();
            EXPECT_GE(now, last);
            last = now;
        }
    });
    for (int i = 1; i <= 20; ++i)
        EXPECT_TRUE(store.setValue("n", i));
    done = true;
    reader.join();
}

} // namespace
} // namespace varnel
