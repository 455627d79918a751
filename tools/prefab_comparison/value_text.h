#pragma once

#include <resource/data_node.h>

#include <string>

namespace Kiln::PrefabComparison {

/// An element as text in one piece: its own text, or "[a, b]" and "{x: 1, y: 2}" for the elements in it. Text beside
/// such elements is the first entry, in quotation marks: "{'a', x: 1}". For showing; different elements may have the
/// same text.
[[nodiscard]] std::string valueText(DataNode element);

/// Whether the children of an element are a vector's: there are some, and all are named `value`.
[[nodiscard]] bool isVector(DataNode element);

} // namespace Kiln::PrefabComparison
