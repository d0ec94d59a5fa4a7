#pragma once

#include "base/JSONReader.h"
#include "documents/ImportReport.h"

#include <expected>
#include <string_view>

namespace varnel {

/// Converts complex modifications: a file of rules as it is shared, one rule, or a whole configuration, of
/// which the selected profile is taken. Each manipulator counts as one rule. Variables that one manipulator
/// sets and others ask for become the first steps of sequences. The error tells why the text is no such file.
std::expected<ImportReport, JSONError> importKarabiner(std::string_view text);

} // namespace varnel
