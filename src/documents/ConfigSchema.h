#pragma once

#include <string>

namespace varnel {

/// The JSON Schema (draft 2020-12) of the configuration file, for editors: both file forms, both forms of
/// actions. It accepts what the decoder accepts, except triggers that nobody can type and known actions that
/// lack what they need. Pretty printed, with a line break at the end.
std::string configSchema();

} // namespace varnel
