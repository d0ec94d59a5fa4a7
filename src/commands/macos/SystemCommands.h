#pragma once

#include "commands/CoreGraphicsPosting.h"
#include "commands/HidPosting.h"
#include "commands/WorkspaceTable.h"

namespace varnel {

/// The HID system, for global shortcuts.
HidPostingTable systemHidPosting();
/// CoreGraphics, for shortcuts to one process.
CoreGraphicsPostingTable systemCoreGraphicsPosting();
/// The workspace of AppKit.
WorkspaceTable systemWorkspace();

} // namespace varnel
