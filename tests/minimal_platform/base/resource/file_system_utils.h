#pragma once

#include <resource/data_section.h>

#include <string>
#include <string_view>

/// This platform has no files: a resource is a tree that was entered under its path. Any thread.
namespace Kiln::FS::Utils {

MINIMAL_API void enterResource(const std::string& path, SmartPointer<DataSection> section);

/// Null when the path has no resource.
[[nodiscard]] MINIMAL_API SmartPointer<DataSection> openXmlSection(const std::string& path, bool callerReportsMissing);

/// Empty: no resource of this platform is a file.
[[nodiscard]] MINIMAL_API std::string resolveResourcePath(std::string_view path);

} // namespace Kiln::FS::Utils
