#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel::capability {

/// The words of a command line that a POSIX shell would run exactly as they stand: no quoting, expansion,
/// redirection, assignment, reserved word or built-in. None when a shell could make anything else of it.
std::optional<std::vector<std::string>> simpleCommandWords(std::string_view command);

/// Whether dash hands this environment on to a program as it stands (`PWD` aside, which it sets to the
/// working folder): every name is one that a shell keeps and none is its own. `environment` as `environ`.
bool shellKeepsEnvironment(const char* const* environment);

} // namespace varnel::capability
