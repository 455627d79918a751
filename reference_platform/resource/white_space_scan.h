#pragma once

#include <string_view>

namespace Kiln {

/// Whether the value of some element of an XML text may have a piece that is only white space, cut off from the rest by
/// a comment, a CDATA section or a processing instruction: <a> <![CDATA[b]]></a>. Takes linear time, and little without
/// such mark-up. The answer may be true for a text that has no such piece, but is never false for one that has.
[[nodiscard]] bool mayHaveWhiteSpacePieces(std::string_view xml);

} // namespace Kiln
