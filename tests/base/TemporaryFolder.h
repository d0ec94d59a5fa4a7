#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace varnel {

/// A folder of the test's own, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = testing::TempDir() + "varnel-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    [[nodiscard]] const std::string& path() const { return path_; }
    /// Writes in place, the way of a plain editor.
    void write(const std::string& name, const std::string& content) const {
        std::ofstream(*this / name, std::ios::binary | std::ios::trunc) << content;
    }

private:
    std::string path_;
};

} // namespace varnel
