#pragma once

#include <string_view>

namespace Kiln {

/// Whether the value of some element of an XML text may have a piece that is only white space, cut off from the rest by
/// a comment, a CDATA section or a processing instruction: <a> <![CDATA[b]]></a>. Linear, and fast where there is no
/// such mark-up. May say yes to a text that has none, never no to one that has.
[[nodiscard]] bool mayHaveWhiteSpacePieces(std::string_view xml);

} // namespace Kiln
