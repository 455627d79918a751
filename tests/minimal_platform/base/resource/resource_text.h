#pragma once

#include <resource/data_section.h>

#include <cstddef>
#include <string>

namespace Kiln {

/// What was read of a resource: its tree, since this platform has no texts to parse.
struct FileContent {
    SmartPointer<DataSection> document;
};

/// Why a text is not a document.
struct XmlProblem {
    struct Position {
        std::size_t line = 0;
        std::size_t column = 0;
    };

    Position position;
    std::string description;
};

/// Null, with a problem, for a content without tree.
[[nodiscard]] MINIMAL_API SmartPointer<DataSection> parseXml(FileContent content, const std::string& sourceName,
                                                             XmlProblem& problem);

namespace FS::Utils {

struct ResourceText {
    enum class Status { READ, MISSING, OUTSIDE, NOT_REGULAR, FAILED };

    Status status = Status::MISSING;
    FileContent content;
    std::string problem;
};

/// READ, or MISSING for a path without resource.
[[nodiscard]] MINIMAL_API ResourceText readResource(const std::string& path);

} // namespace FS::Utils

} // namespace Kiln
