#pragma once

#include <core/log.h>

#include <string>

namespace Kiln::Tessel {

/// Logs an error of this library. `source` is "object_framework/" and the stem of the file that reports.
inline void logError(const char* source, const std::string& text) {
    DebugMessageHelper(0, LogSeverity::ERROR, "", source).message("%s", text.c_str());
}

} // namespace Kiln::Tessel
