#pragma once

#include <string>
#include <string_view>

namespace varnel {

/// The place of a file: always absolute, without a trailing slash, otherwise as it was written.
struct FileURL {
    std::string path;
    std::string writtenPath; ///< what it was made of; may be relative

    /// A relative path counts from the working folder of the process. "~" is no home folder here.
    static FileURL fromPath(std::string_view path);
    [[nodiscard]] std::string lastPathComponent() const;
    friend bool operator==(const FileURL& a, const FileURL& b) { return a.path == b.path; }
};

} // namespace varnel
