#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace Kiln::PrefabTool {

/// Whether the program contains the page. It is left out if node or npm was missing when the program was built.
[[nodiscard]] bool hasReportPage();

/// Why a command that needs the page cannot run without it; a sentence without full stop.
inline constexpr const char* NO_REPORT_PAGE =
    "this program was built without the page, which needs node and npm; build it with -DKILN_REPORT_PAGE=ON";

/// Writes the page with its data, as one HTML document that needs nothing else. `data` is what reportData() returns.
void writeReportPage(std::ostream& stream, std::string_view data);

/// The page without data: it requests data.json and events from where it was loaded, see tools/report_page/README.md.
[[nodiscard]] std::string servedPage();

} // namespace Kiln::PrefabTool
