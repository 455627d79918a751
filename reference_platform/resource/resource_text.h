#pragma once

#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <resource/export.h>
#include <resource/file_content.h>

#include <string>
#include <string_view>

/// Reading of resources for tools that report problems themselves, instead of finding them in the log. Any thread.
namespace Kiln {

/// Why a text is not a document.
struct XmlProblem {
    DataPosition position;   ///< Where the problem is.
    std::string description; ///< Without file and position.

    /// The text that the log has: "XML error in '%s' at line %zu, column %zu: %s".
    [[nodiscard]] KILN_RESOURCE_EXPORT std::string message(const std::string& sourceName) const;
};

/// Parses a text as DataSection::fromText() does, but in place. A document of a pack needs no parsing. Returns null and
/// sets `problem` if it is no document.
[[nodiscard]] KILN_RESOURCE_EXPORT SmartPointer<DataSection> parseXml(FileContent content, std::string sourceName,
                                                                      XmlProblem& problem);

namespace FS::Utils {

/// The outcome of reading a resource.
struct ResourceText {
    /// How reading ended.
    enum class Status {
        READ,        ///< `content` is set: a text or, if a pack has the path, usually a packed document.
        MISSING,     ///< No root and no pack has such a file.
        OUTSIDE,     ///< The path is refused: it leads out of the roots or has a control character.
        NOT_REGULAR, ///< A directory, pipe, device or socket.
        FAILED,      ///< It cannot be read, is damaged, or is larger than ResourceLimits::fileSize.
    };

    Status status = Status::MISSING; ///< How reading ended.
    FileContent content;             ///< Only set when the status is READ.
    std::string problem; ///< The reason, unless the file is missing: as in the message "Cannot read '%s': %s".
};

/// Reads the file that openXmlSection() would parse. Logs nothing.
[[nodiscard]] KILN_RESOURCE_EXPORT ResourceText readResource(const std::string& resourcePath);

} // namespace FS::Utils

} // namespace Kiln
