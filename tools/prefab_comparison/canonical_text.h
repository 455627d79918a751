#pragma once

#include <prefab_comparison/loaded_document.h>

#include <functional>
#include <string>

namespace Kiln::PrefabComparison {

/// Describes a document without a problem() line by line, so that two documents have the same lines if and only if
/// compareDocuments() finds no difference. Each value has a line of its own. Objects are listed in the order of the
/// tree, those with one parent in the order of their UUIDs, and nothing is indented by the depth of an object, so that
/// moving it changes few lines. Lines have no line end, and they may contain any characters.
void writeCanonicalText(const LoadedDocument& document, const std::function<void(const std::string& line)>& onLine);

} // namespace Kiln::PrefabComparison
