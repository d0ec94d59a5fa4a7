#pragma once

#include "base/JSONWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace varnel::testing {

/// A folder that goes with this value.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = "/tmp/varnel-plugins-XXXXXX";
        path_ = ::mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// Writes a file, making its folders.
inline void writeFile(const std::string& path, const std::string& content, mode_t mode = 0644) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    ::chmod(path.c_str(), mode);
}

inline std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// A manifest with one action "go".
inline std::string manifestText(const std::string& id, const std::string& extra = "",
                                const std::string& executable = "run") {
    return R"({"id":")" + id + R"(","name":"Name of )" + id + R"(","version":"1.0","executable":")" +
           executable +
           R"(","capabilities":["actions"],"actions":[{"id":"go","name":"Go","description":"Goes"}])" +
           extra + "}";
}

/// A valid package whose executable has this content.
inline std::string makePackage(const std::string& folder, const std::string& name, const std::string& id,
                               const std::string& executable = "#!/bin/sh\n", const std::string& extra = "") {
    const std::string package = folder + "/" + name;
    writeFile(package + "/plugin.json", manifestText(id, extra));
    writeFile(package + "/run", executable, 0755);
    return package;
}

} // namespace varnel::testing
