#pragma once

#include <cstddef>
#include <string_view>

namespace Kiln {

/// Offset after the comment, CDATA section or processing instruction that starts at `mark`; npos if it has no end or
/// is not one of the three.
[[nodiscard]] std::size_t endOfMark(std::string_view xml, std::size_t mark);

/// Offset of the first character reference (&#0; or &#x1F;) that XML does not allow, because it stands for NUL, a
/// control character other than tab, LF and CR, a surrogate, U+FFFE, U+FFFF or a number above U+10FFFF; npos if there
/// is none. Comments, CDATA sections, processing instructions and the document type have no references. Takes linear
/// time, and little if no such reference appears anywhere.
[[nodiscard]] std::size_t findForbiddenReference(std::string_view xml);

} // namespace Kiln
