#pragma once

#include "plugins/PluginPackageHash.h"

#include <expected>
#include <map>
#include <mutex>
#include <string>

namespace varnel {

/// Why a package does not run.
struct PluginVerificationError {
    enum class Kind {
        differs, ///< the package does not hold what was trusted
        noCopy,  ///< the private copy could not be made
    };
    Kind kind = Kind::differs;
    std::string message; ///< for `noCopy`, or for a package that has no hash any more
};

/// Private copies of trusted packages, in a folder that only we may enter, each named after its hash. A copy
/// is made of the very bytes that were hashed, so that nobody can change what runs between the check and the
/// start. Any thread.
class PluginVerifiedCopies {
public:
    /// `folder` is made, with mode 0700, when the first copy is.
    explicit PluginVerifiedCopies(std::string folder)
        : folder_(std::move(folder)) {}

    /// The folder of the copy, provided that both the package and the copy hold what `trustedHash` says now.
    /// Files whose size, times and inode have stood still since the last full check are not read again: a
    /// change that hides from that is noticed later, and does not run before.
    std::expected<std::string, PluginVerificationError> verify(const std::string& package,
                                                               const std::string& trustedHash);
    /// Removes the copy with that hash, if there is one.
    void forget(const std::string& hash);

private:
    /// What a folder looked like when it was last read in full.
    struct Known {
        std::string hash;
        std::string package, copy; ///< fingerprints
    };

    std::expected<void, PluginVerificationError> readInFull(const std::string& package,
                                                            const PluginPackageListing& listing,
                                                            const std::string& trustedHash);
    std::expected<void, PluginVerificationError>
    makeCopy(const std::string& package, const PluginPackageListing& listing, const std::string& trustedHash);
    std::expected<void, PluginVerificationError> prepareFolder();

    std::string folder_;
    std::mutex mutex_;
    bool isPrepared_ = false;
    std::map<std::string, Known> known_; ///< by package
};

} // namespace varnel
