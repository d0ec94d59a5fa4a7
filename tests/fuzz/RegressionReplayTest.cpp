#include "fuzz/FuzzTargets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace varnel {
namespace {

TEST(FuzzRegressions, KeepEveryPromise) {
    const struct {
        const char* folder;
        void (*run)(std::string_view);
    } rows[] = {{"json", fuzzing::json},
                {"keytoken", fuzzing::keyToken},
                {"config", fuzzing::config},
                {"manifest", fuzzing::manifest},
                {"response", fuzzing::response},
                {"simulation", fuzzing::simulation}};
    for (const auto& row : rows) {
        int replayed = 0;
        const auto folder = std::filesystem::path(VARNEL_SOURCE_DIR "/fuzz/regressions") / row.folder;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ostringstream content;
            content << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            // A broken promise ends the program: the last line tells where.
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            row.run(content.str());
            ++replayed;
        }
        EXPECT_GT(replayed, 0) << folder << " holds nothing";
    }
}

} // namespace
} // namespace varnel
