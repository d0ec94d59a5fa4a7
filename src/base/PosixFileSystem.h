#pragma once

#include "base/FileSystem.h"

namespace varnel {

/// The real file system.
class PosixFileSystem : public FileSystem {
public:
    Result<Info> info(const std::string& path, bool followLinks = true) override;
    Result<std::string> readFile(const std::string& path) override;
    Result<std::string> readLink(const std::string& path) override;
    Result<void> makeFolder(const std::string& path) override;
    Result<void> writeNewFile(const std::string& path, std::string_view content, std::uint32_t mode) override;
    Result<void> setMode(const std::string& path, std::uint32_t mode) override;
    Result<void> setOwner(const std::string& path, std::uint32_t owner, std::uint32_t group) override;
    Result<void> copyAttributes(const std::string& from, const std::string& to) override;
    Result<void> rename(const std::string& from, const std::string& to) override;
    Result<void> remove(const std::string& path) override;
    Result<void> syncFolder(const std::string& path) override;
    Result<std::vector<std::string>> list(const std::string& folder) override;
};

} // namespace varnel
