#pragma once

#include "documents/ImportReport.h"

#include <string_view>

namespace varnel {

/// Converts the hotkeys of an sxhkd configuration file. A hotkey with `{a,b}` counts as one rule for each of
/// its expansions. Keys are taken for those of a US keyboard. Bytes that are no UTF-8 are replaced. Never
/// fails: what is no hotkey is listed.
ImportReport importSXHKD(std::string_view text);

} // namespace varnel
