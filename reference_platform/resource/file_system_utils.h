#pragma once

#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <resource/export.h>

#include <string>
#include <string_view>
#include <vector>

/// Resource files: paths relative to resource roots. Any thread.
namespace Kiln::FS::Utils {

/// Adds a directory in which resource paths are looked up, after those added before. Without any, paths are relative to
/// the current directory.
KILN_RESOURCE_EXPORT void addResourceRoot(std::string directory);
KILN_RESOURCE_EXPORT void clearResourceRoots();
[[nodiscard]] KILN_RESOURCE_EXPORT std::vector<std::string> resourceRoots();

/// The file that a resource path names: the first root that contains it wins, and an absolute path is returned
/// unchanged. Without a match, the path under the first root.
[[nodiscard]] KILN_RESOURCE_EXPORT std::string resolveResourcePath(std::string_view resourcePath);

/// Opens a resource as the root section of an XML document; null if it cannot be opened. A file that exists but cannot
/// be read or is not well formed is reported in the log; a missing one only when the caller does not report it
/// (`callerReportsMissing` false).
[[nodiscard]] KILN_RESOURCE_EXPORT SmartPointer<DataSection> openXmlSection(const std::string& resourcePath,
                                                                            bool callerReportsMissing);

} // namespace Kiln::FS::Utils
