#include "cli/Verbs.h"

namespace varnel {

// Each is defined in the file of its name below verbs/, those that speak to the running application in
// ControlVerbs.cpp.
extern const Verb kRunVerb;
extern const Verb kCheckVerb;
extern const Verb kFormatVerb;
extern const Verb kCheatsheetVerb;
extern const Verb kImportVerb;
extern const Verb kSchemaVerb;
extern const Verb kTokenVerb;
extern const Verb kLabelsVerb;
extern const Verb kLookupVerb;
extern const Verb kSimulateVerb;
extern const Verb kTreeVerb;
extern const Verb kConflictVerb;
extern const Verb kRegroupVerb;
extern const Verb kOperationsVerb;
extern const Verb kPluginsVerb;
extern const Verb kShortcutVerb;
extern const Verb kWindowsVerb;
extern const Verb kStatusVerb;
extern const Verb kReloadVerb;
extern const Verb kSuspendVerb;
extern const Verb kResumeVerb;
extern const Verb kTriggerVerb;
extern const Verb kQuitVerb;
extern const Verb kDoctorVerb;
extern const Verb kWhyVerb;
extern const Verb kMonitorVerb;

namespace {
// clang-format off
constexpr const Verb* kVerbs[] = {
    &kRunVerb,
    &kCheckVerb,
    &kFormatVerb,
    &kCheatsheetVerb,
    &kImportVerb,
    &kSchemaVerb,
    &kTokenVerb,
    &kLabelsVerb,
    &kLookupVerb,
    &kSimulateVerb,
    &kTreeVerb,
    &kConflictVerb,
    &kRegroupVerb,
    &kOperationsVerb,
    &kPluginsVerb,
    &kShortcutVerb,
    &kWindowsVerb,
    &kStatusVerb,
    &kReloadVerb,
    &kSuspendVerb,
    &kResumeVerb,
    &kTriggerVerb,
    &kQuitVerb,
    &kDoctorVerb,
    &kWhyVerb,
    &kMonitorVerb,
};
// clang-format on
} // namespace

std::span<const Verb* const> allVerbs() {
    return kVerbs;
}

const Verb* findVerb(std::string_view name) {
    for (const Verb* verb : kVerbs)
        if (verb->name == name)
            return verb;
    return nullptr;
}

} // namespace varnel
