#pragma once

#include <core/smart_pointer.h>
#include <resource/data_section.h>
#include <resource/input_file.h>
#include <resource/resource_pack.h>

#include <cstddef>
#include <string>

namespace Kiln {

/// Parses a file as an XML document; null, with an error in the log, if it was not opened, or cannot be read or parsed.
/// `sourceName` identifies it in messages. A missing file is reported only if `reportMissing` is set.
[[nodiscard]] SmartPointer<DataSection> readDocument(const InputFile& file, std::string sourceName, bool reportMissing);

/// Reads a document of a pack; null, with an error in the log, if it is damaged or exceeds a limit.
[[nodiscard]] SmartPointer<DataSection> readPackedDocument(const ResourcePack& pack, std::size_t index,
                                                           std::string sourceName);

} // namespace Kiln
