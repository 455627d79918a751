#include "report_page.h"

#include "page_template.h"

#include <ostream>

namespace Kiln::PrefabTool {

namespace {

constexpr std::string_view CONNECT_MARKER = "%CONNECT%";
constexpr std::string_view DATA_MARKER = "%DATA%";

/// The parts of the page around the markers, which stand in this order.
struct PageParts {
    std::string_view beforeConnect;
    std::string_view beforeData;
    std::string_view end;
};

[[nodiscard]] PageParts pageParts() {
    const std::string_view page(PAGE_TEMPLATE, PAGE_TEMPLATE_SIZE);
    const std::size_t connect = page.find(CONNECT_MARKER);
    const std::size_t afterConnect = connect + CONNECT_MARKER.size();
    const std::size_t data = page.find(DATA_MARKER, afterConnect);
    return {page.substr(0, connect), page.substr(afterConnect, data - afterConnect),
            page.substr(data + DATA_MARKER.size())};
}

} // namespace

bool hasReportPage() {
    return PAGE_TEMPLATE_SIZE > 0;
}

void writeReportPage(std::ostream& stream, std::string_view data) {
    const PageParts parts = pageParts();
    stream << parts.beforeConnect << "'none'" << parts.beforeData << data << parts.end;
}

std::string servedPage() {
    const PageParts parts = pageParts();
    std::string page(parts.beforeConnect);
    return page.append("'self'").append(parts.beforeData).append(parts.end);
}

} // namespace Kiln::PrefabTool
