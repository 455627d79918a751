#pragma once

#include <cstddef>
#include <string_view>

namespace Kiln::PrefabEditing {

/// Whether a text is a document that the platform's parser certainly accepts, with no elements nested deeper than
/// `maxDepth`. Several times faster than parsing. False for every text that the parser refuses, but also for texts
/// with rare mark-up: document types and character references.
[[nodiscard]] bool isCertainlyAccepted(std::string_view text, std::size_t maxDepth);

} // namespace Kiln::PrefabEditing
