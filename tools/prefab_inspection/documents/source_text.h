#pragma once

#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>
#include <resource/data_node.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// A half-open range of byte offsets.
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// The text of an XML document as it was written, for finding out where things stand. The text of a document that is
/// embedded in another one as a value, as override data is, knows its position there: its ranges are those of the file,
/// through escapes and CDATA sections and at any depth.
///
/// Immutable; any thread. Elements are those of the DataSection that was parsed from the same text.
class KILN_PREFAB_INSPECTION_EXPORT SourceText {
public:
    /// The text of a file.
    explicit SourceText(std::string text);

    /// The text that is the value of `element` in `outer`.
    SourceText(std::shared_ptr<const SourceText> outer, DataNode element);

    /// The text that is the value of the element whose name is at an offset in `outer`, see DataNode::offset().
    SourceText(std::shared_ptr<const SourceText> outer, std::size_t nameOffset);

    [[nodiscard]] const std::string& text() const noexcept { return m_text; }

    /// Offsets in this text: of the element's name in its start tag, and of its value, from the first to the last byte
    /// that is not white space. An element without value has an empty range after its start tag.
    [[nodiscard]] TextRange nameRange(DataNode element) const { return nameRange(offsetOf(element)); }
    [[nodiscard]] TextRange valueRange(DataNode element) const { return valueRange(offsetOf(element)); }

    /// The begin of valueRange(), which is found without its end.
    [[nodiscard]] std::size_t valueBegin(DataNode element) const;

    /// The whole element, from '<' to the '>' of its end tag.
    [[nodiscard]] TextRange elementRange(DataNode element) const { return elementRange(offsetOf(element)); }

    /// The same for the element whose name is at an offset. An offset that is not inside of the text, because the file
    /// has changed, yields an empty range.
    [[nodiscard]] TextRange nameRange(std::size_t nameOffset) const;
    [[nodiscard]] TextRange valueRange(std::size_t nameOffset) const;
    [[nodiscard]] TextRange elementRange(std::size_t nameOffset) const;

    /// The offset in this text of a line and a column, as the parser reports them.
    [[nodiscard]] std::size_t offsetAt(std::size_t line, std::size_t column) const;

    /// Converts offsets in this text to offsets in the file.
    [[nodiscard]] TextRange inFile(TextRange range) const;

    /// Converts offsets in this text to lines and columns of the file.
    [[nodiscard]] SourceRange sourceRange(TextRange range) const;

    /// The line of the file on which an offset in this text is. Faster than sourceRange(), above all if `near` is a
    /// line of the file shortly before.
    [[nodiscard]] std::size_t lineAt(std::size_t offset, std::size_t near = 1) const;

    /// The line of the file in which a range of the file begins, without its end; empty if it is very long.
    [[nodiscard]] std::string sourceLine(const SourceRange& range) const;

private:
    /// A piece of an embedded text that stands in the outer text unchanged, or a reference such as "&lt;".
    struct Piece {
        std::size_t begin;      ///< In this text.
        std::size_t outerBegin; ///< In the outer text.
        std::size_t outerSize;
        bool isReference;
    };

    [[nodiscard]] static std::size_t offsetOf(DataNode element) noexcept {
        return static_cast<std::size_t>(element.offset());
    }

    void append(TextRange range, bool isCdata);
    [[nodiscard]] const SourceText& file() const;
    [[nodiscard]] std::size_t outerOffset(std::size_t offset, bool isEnd) const;

    std::shared_ptr<const SourceText> m_outer; ///< Null for the text of a file.
    std::vector<Piece> m_pieces;               ///< In order; empty for the text of a file.
    std::string m_text;
    std::vector<std::size_t> m_lineStarts; ///< Of a file's text.
    std::size_t m_textStart = 0;           ///< After the byte order mark of a file.
};

} // namespace Kiln::PrefabInspection
