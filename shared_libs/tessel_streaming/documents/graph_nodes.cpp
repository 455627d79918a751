#include <tessel_streaming/documents/graph_nodes.h>

#include <tessel_streaming/documents/read_file.h>

#include <algorithm>

namespace Kiln::Tessel::Streaming::detail {

void Closure::account(const NeededFile& file) noexcept {
    bytesTotal += file.bytes;
    if (file.status == NeededFile::Status::READ) {
        bytesRead += file.bytes;
        failed += file.hasFailed() ? 1 : 0;
    } else {
        ++outstanding;
    }
}

void Closure::unaccount(const NeededFile& file) noexcept {
    bytesTotal -= file.bytes;
    if (file.status == NeededFile::Status::READ) {
        bytesRead -= file.bytes;
        failed -= file.hasFailed() ? 1 : 0;
    } else {
        --outstanding;
    }
}

NeededFile::NeededFile(const std::string& filePath)
    : path(filePath), ticket(*this), outOfMemory(detail::outOfMemory(filePath)) {}

int NeededFile::priority() const noexcept {
    int highest = 0;
    for (const Closure* const closure : closures) {
        highest = std::max(highest, closure->priority());
    }
    return highest;
}

} // namespace Kiln::Tessel::Streaming::detail
