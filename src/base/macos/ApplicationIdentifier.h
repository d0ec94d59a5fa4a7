#pragma once

/// The bundle identifier, under which the system keeps preferences, permissions and log lines. A macro
/// because the system wants literals.
#define VARNEL_APPLICATION_IDENTIFIER "com.brackwell.varnel"
