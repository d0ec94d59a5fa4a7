#pragma once

#include "base/JSONValue.h"
#include "runtime/Permissions.h"
#include "runtime/RuntimePaths.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// What was found about one thing that Varnel needs.
struct DoctorFinding {
    enum class Grade {
        fine,
        note,    ///< worth knowing
        warning, ///< something does not work, or not well
        failure, ///< something cannot be read
    };
    std::string id; ///< for programs: "configuration.file"
    Grade grade = Grade::fine;
    std::string text;   ///< one sentence for the user
    std::string remedy; ///< what to do about it; may be empty
};
std::string_view name(DoctorFinding::Grade grade); ///< the case's own name

/// A file or folder as it was met.
struct DoctorFile {
    std::string path;
    bool exists = false;
    bool isOwn = true;      ///< belongs to the user or the system
    std::uint32_t mode = 0; ///< permission bits
    std::string error;      ///< why it cannot be looked at
};

struct DoctorConfiguration {
    DoctorFile file;
    std::string error; ///< why it does not load
    std::size_t actionCount = 0;
    std::vector<std::string> firstKeys; ///< live spellings of the first steps of enabled actions, each once
};

/// The X server and the desktop on it.
struct DoctorDisplay {
    std::string name; ///< empty: none is named
    std::string error;
    bool isWaylandSession = false;
    std::map<std::string, bool> extensions; ///< whether each that is needed is there
    std::string windowManager;              ///< empty: none
    std::string trayHost;                   ///< the program that shows icons; empty: none
    /// What is in the way of capturing, as the tap says it; empty: nothing. None: not tried.
    std::optional<std::string> trouble;
    std::vector<std::string> grabbers; ///< programs that hold keys or buttons
};

/// How far macOS lets us.
struct DoctorMac {
    PermissionStates permissions;
    std::string tapLevel;                    ///< "hid", "session"; empty: no tap
    std::map<std::string, bool> symbols;     ///< whether each private function is there
    std::vector<std::string> missingSymbols; ///< those without which windows are focused the ordinary way
    std::string bundleIdentifier;            ///< of the program that was asked; empty: it is in no bundle
};

/// What the kernel lets one user watch.
struct DoctorWatchLimits {
    std::uint64_t watches = 0, instances = 0;
    std::string error; ///< why a watch cannot be made
};

struct DoctorFacts {
    std::string version, system;
    RuntimePaths paths;
    std::string user, host;
    std::optional<JSONValue::Object> status; ///< of the running application
    std::string socketError;                 ///< why an application that seems to run does not answer
    DoctorFile socketFolder;
    DoctorConfiguration configuration;
    std::string preferencesPlace, preferencesError;
    std::vector<DoctorFile> capabilities; ///< the user's folder and the packages in it
    std::map<std::string, bool> helpers;  ///< whether each program that ours needs lies beside it
    std::optional<DoctorDisplay> display;
    std::optional<DoctorMac> mac;
    std::optional<DoctorWatchLimits> watchLimits;
};

/// Collects what is alike on all systems.
DoctorFacts collectDoctorFacts(const RuntimePaths& paths, const std::optional<std::string>& configPath);
/// The system's own part, which looks into the others. Changes nothing but that keys are captured for a
/// moment where no application does so.
void addSystemFacts(DoctorFacts& facts);

/// What the facts mean, in the order to show. Nothing in it names the user, the computer or their folders.
std::vector<DoctorFinding> examine(const DoctorFacts& facts);

/// What the platform of a running application knows of itself, and back.
JSONValue::Object asJSON(const DoctorMac& mac);
DoctorMac doctorMac(const JSONValue::Object& report);

/// `text` without what tells who the user is: the home folder as "~", "USER" and "HOST" for the names.
std::string redacted(std::string text, const DoctorFacts& facts);

} // namespace varnel
