#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Kiln::PrefabEditing {

/// A change of a text: the bytes of a range are replaced.
struct TextEdit {
    std::size_t offset = 0;
    std::size_t size = 0;
    std::string text;

    [[nodiscard]] std::size_t end() const noexcept { return offset + size; }
};

/// A text and its changes relative to an original text. Texts may have any bytes.
class EditedText {
public:
    explicit EditedText(std::string original) : m_original(std::move(original)), m_text(m_original) {}

    [[nodiscard]] const std::string& original() const noexcept { return m_original; }
    [[nodiscard]] const std::string& text() const noexcept { return m_text; }

    /// The changes of the original text, sorted; they neither overlap nor touch.
    [[nodiscard]] const std::vector<TextEdit>& edits() const noexcept { return m_edits; }

    /// Applies changes of text(). A change that is not inside of the text, or that overlaps one that begins before it,
    /// is left out; of changes that begin at the same offset the first one is applied. Returns the number of changes
    /// that were applied.
    std::size_t apply(std::vector<TextEdit> edits);

private:
    std::string m_original;
    std::string m_text;
    std::vector<TextEdit> m_edits;
};

} // namespace Kiln::PrefabEditing
