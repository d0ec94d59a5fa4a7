#pragma once

#include "config/ConfigCheck.h"

#include <string>
#include <vector>

namespace varnel {

/// What is wrong with one parameter of an action.
struct ParameterProblem {
    RuleID rule;
    std::string key;
    std::string clause; ///< follows the mention of the item: "lacks the parameter …"
};

/// What keeps the parameters from fitting the action's forms: nothing when they fit one of them, else the
/// problems with the form that they fit best. Pure.
std::vector<ParameterProblem> checkParameters(const ConfigAction& action, const KnownAction& known);

} // namespace varnel
