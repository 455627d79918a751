#pragma once

#include <core/log.h>

#include <string>

namespace Kiln::Tessel {

/// Logs an error of this library. `source` is "object_framework/" followed by the stem of the reporting file.
inline void logError(const char* source, const std::string& text) {
    DebugMessageHelper(0, LogSeverity::ERROR, "", source).message("%s", text.c_str());
}

} // namespace Kiln::Tessel
