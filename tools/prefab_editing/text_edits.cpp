#include "text_edits.h"

#include <algorithm>
#include <utility>

namespace Kiln::PrefabEditing {

namespace {

/// Removes the edits that can't be applied together with those before them, and sorts the rest. Edits that touch at one
/// offset are taken for overlapping, because their order would be a choice.
void removeOverlapping(std::vector<TextEdit>& edits, std::size_t textSize) {
    std::stable_sort(edits.begin(), edits.end(),
                     [](const TextEdit& left, const TextEdit& right) { return left.offset < right.offset; });
    std::size_t kept = 0;
    for (std::size_t index = 0; index < edits.size(); ++index) {
        TextEdit& edit = edits[index];
        const bool isInside = edit.offset <= textSize && edit.size <= textSize - edit.offset;
        const bool isFree = kept == 0 || edit.offset > edits[kept - 1].end();
        if (isInside && isFree) {
            std::swap(edits[kept], edit);
            ++kept;
        }
    }
    edits.resize(kept);
}

[[nodiscard]] std::string applied(const std::string& text, const std::vector<TextEdit>& edits) {
    std::string result;
    std::size_t position = 0;
    for (const TextEdit& edit : edits) {
        result.append(text, position, edit.offset - position);
        result += edit.text;
        position = edit.end();
    }
    return result.append(text, position, std::string::npos);
}

/// Joins edits of an original text with later edits of the text that they yield.
class Composition {
public:
    Composition(const std::vector<TextEdit>& earlier, const std::string& text, const std::vector<TextEdit>& later)
        : m_earlier(earlier), m_text(text), m_later(later) {}

    /// The edits of the original text that have the effect of both.
    [[nodiscard]] std::vector<TextEdit> edits() {
        std::vector<TextEdit> result;
        while (hasEarlier() || hasLater()) {
            result.push_back(nextGroup());
        }
        return result;
    }

private:
    [[nodiscard]] bool hasEarlier() const { return m_nextEarlier < m_earlier.size(); }
    [[nodiscard]] bool hasLater() const { return m_nextLater < m_later.size(); }

    /// Where the text of the next earlier edit begins in the present text.
    [[nodiscard]] std::size_t earlierBegin() const {
        return m_earlier[m_nextEarlier].offset + m_insertedSize - m_removedSize;
    }

    /// Joins all edits that touch each other, from the next one on.
    [[nodiscard]] TextEdit nextGroup() {
        const bool isEarlierFirst = hasEarlier() && (!hasLater() || earlierBegin() <= m_later[m_nextLater].offset);
        const std::size_t begin = isEarlierFirst ? earlierBegin() : m_later[m_nextLater].offset;
        TextEdit group;
        group.offset = begin + m_removedSize - m_insertedSize;
        std::size_t end = begin;
        std::size_t written = begin; // How much of the present text is already in the group's text.
        while (true) {
            if (hasEarlier() && earlierBegin() <= end) {
                end = std::max(end, earlierBegin() + m_earlier[m_nextEarlier].text.size());
                m_insertedSize += m_earlier[m_nextEarlier].text.size();
                m_removedSize += m_earlier[m_nextEarlier].size;
                ++m_nextEarlier;
            } else if (hasLater() && m_later[m_nextLater].offset <= end) {
                const TextEdit& edit = m_later[m_nextLater];
                group.text.append(m_text, written, edit.offset - written);
                group.text += edit.text;
                written = edit.end();
                end = std::max(end, edit.end());
                ++m_nextLater;
            } else {
                break;
            }
        }
        group.text.append(m_text, written, end - written);
        group.size = end + m_removedSize - m_insertedSize - group.offset;
        return group;
    }

    const std::vector<TextEdit>& m_earlier;
    const std::string& m_text;
    const std::vector<TextEdit>& m_later;
    std::size_t m_nextEarlier = 0;
    std::size_t m_nextLater = 0;
    std::size_t m_insertedSize = 0; ///< By the earlier edits so far.
    std::size_t m_removedSize = 0;
};

} // namespace

std::size_t EditedText::apply(std::vector<TextEdit> edits) {
    removeOverlapping(edits, m_text.size());
    m_edits = Composition(m_edits, m_text, edits).edits();
    m_text = applied(m_text, edits);
    return edits.size();
}

} // namespace Kiln::PrefabEditing
