#pragma once

#include <resource/data_node.h>
#include <resource/export.h>

#include <string>

namespace Kiln {

class TextSink;

/// Writes the elements of a document and their texts, without anything else: as DataSection::toText() for documents
/// that have no attributes. An element with a text and children is written without white space inside. The form never
/// changes, because the annexes of packed documents rely on it.
void writePlainText(DataNode root, TextSink& sink);

/// The same as a string.
[[nodiscard]] KILN_RESOURCE_EXPORT std::string plainText(DataNode root);

} // namespace Kiln
