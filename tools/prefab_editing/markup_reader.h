#pragma once

#include <cstddef>
#include <string_view>

namespace Kiln::PrefabEditing {

/// A piece of an XML text. All pieces together are the text.
struct Markup {
    enum class Kind {
        TEXT, ///< Up to the next piece; never empty.
        START_TAG,
        EMPTY_TAG, ///< A start tag that ends with "/>".
        END_TAG,
        COMMENT,
        CDATA,
        INSTRUCTION, ///< A processing instruction or the declaration.
        DOCTYPE,
        END, ///< Of the text; empty.
    };

    Kind kind = Kind::END;
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// Splits a text that the platform's parser accepts into its pieces, by the parser's rules. For any other text the
/// pieces have no meaning, but all of them lie in the text and reading ends.
class MarkupReader {
public:
    explicit MarkupReader(std::string_view text, std::size_t position = 0) : m_text(text), m_position(position) {}

    [[nodiscard]] Markup next();

    /// Where the next piece begins.
    [[nodiscard]] std::size_t position() const noexcept { return m_position; }

private:
    [[nodiscard]] Markup piece(Markup::Kind kind, std::size_t end);
    [[nodiscard]] bool isAt(std::size_t position, std::string_view part) const;
    [[nodiscard]] std::size_t after(std::string_view part, std::size_t position) const;
    [[nodiscard]] std::size_t endOfTag() const;
    [[nodiscard]] std::size_t endOfDoctype() const;
    [[nodiscard]] std::size_t endOfDoctypePiece(std::size_t position) const;
    [[nodiscard]] std::size_t endOfIgnoredSection(std::size_t position) const;

    std::string_view m_text;
    std::size_t m_position;
};

/// The name in a start tag or end tag.
[[nodiscard]] std::string_view tagName(std::string_view text, const Markup& tag);

} // namespace Kiln::PrefabEditing
