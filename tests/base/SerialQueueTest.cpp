#include "base/SerialQueue.h"
#include "base/Sha256.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace varnel {
namespace {

TEST(SerialQueue, RunsTasksInOrderOnOneOtherThread) {
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    std::promise<void> done;
    SerialQueue queue("test");
    for (int i = 0; i < 100; ++i)
        queue.submit([&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
        });
    queue.submit([&] { done.set_value(); });
    done.get_future().wait();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads[0]), 100);
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(SerialQueue, WaitsForTheRunningTaskAndDropsTheRest) {
    std::promise<void> started;
    std::atomic<bool> ended = false;
    const auto held = std::make_shared<int>();
    {
        SerialQueue queue("a name longer than the system takes");
        queue.submit([&] {
            started.set_value();
            // Long enough that the destructor below has begun; the outcome is the same when it has not.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            ended = true;
        });
        for (int i = 0; i < 1000; ++i)
            queue.submit([held] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); });
        started.get_future().wait();
    }
    EXPECT_TRUE(ended);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Sha256, GivesTheKnownDigests) {
    const struct {
        std::string text, digest;
    } rows[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {std::string(1'000'000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& row : rows) {
        Sha256 whole, pieces;
        whole.update(row.text);
        for (std::size_t i = 0; i < row.text.size(); i += 4099)
            pieces.update(std::string_view(row.text).substr(i, 4099));
        EXPECT_EQ(whole.finishHex(), row.digest);
        EXPECT_EQ(pieces.finishHex(), row.digest);
    }
}

} // namespace
} // namespace varnel
