#pragma once

#include "../keyed_document.h"
#include "edits.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace Kiln::PrefabMerging {

/// An element that gets new children. Ranges are those of the document's text.
struct Container {
    Range startTag;
    Range content;
    std::string_view name;
    bool isEmptyElement = false; ///< <a/>

    [[nodiscard]] static Container of(const KeyedDocument& document, const KeyedSection& section);
};

/// Adds, replaces and removes elements of a text as edits, with the indentation of their new place.
class ElementWriter {
public:
    ElementWriter(std::string_view text, Edits& edits) : m_text(text), m_edits(edits) {}

    /// Inserts an element at the end of a container. `depth` is the number of elements around it.
    void append(const Container& container, std::string_view element, std::size_t depth);

    /// Inserts an element after a position of the container.
    void insertAfter(std::size_t position, const Container& container, std::string_view element, std::size_t depth);

    void replace(Range range, std::string_view element);

    /// Removes an element with the white space before it.
    void remove(Range element);

    /// Writes the elements <a/> that have got content. To be called once, after the last change.
    void finish();

private:
    struct Filled {
        Range startTag;
        std::string name;
        std::string text;
    };

    [[nodiscard]] std::string blankFor(const Container& container, std::size_t depth) const;

    std::string_view m_text;
    Edits& m_edits;
    std::map<std::size_t, Filled> m_filled; ///< By the begin of the element.
};

} // namespace Kiln::PrefabMerging
