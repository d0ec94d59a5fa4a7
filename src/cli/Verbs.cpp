#include "cli/Verbs.h"

namespace varnel {

// Each is defined in the file of its name below verbs/.
extern const Verb kTokenVerb;

namespace {
constexpr const Verb* kVerbs[] = {
    &kTokenVerb,
};
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
