#pragma once

#include "assignment.h"
#include "element_writer.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Kiln::PrefabMerging {

/// Sets and removes single elements of containers.
class ElementChanges {
public:
    ElementChanges(std::string_view text, ElementWriter& writer) : m_text(text), m_writer(writer) {}

    /// Sets or removes an element of a container, which is given by its parts.
    void set(const Assignment& assignment, const std::vector<KeyedElement>& elements, const Container& container,
             std::size_t depth);

    /// Sets or removes a child of the element with that range: a property list, item or game object.
    void setInside(const Assignment& assignment, Range range, std::size_t depth);

    /// The range of the child that a place names; nothing if there is none.
    [[nodiscard]] std::optional<Range> find(const Place& place, Range range);

    /// The range of the first child of that name; nothing if there is none.
    [[nodiscard]] std::optional<Range> childOf(Range range, std::string_view name);

    /// The element with that range as a container of new children.
    [[nodiscard]] Container containerOf(Range range);

private:
    struct Parsed;

    [[nodiscard]] const Parsed& parsed(Range range);
    void set(const Assignment& assignment, const std::optional<Range>& present, const Container& container,
             std::size_t depth);

    std::string_view m_text;
    ElementWriter& m_writer;
    std::map<std::size_t, std::shared_ptr<const Parsed>> m_parsed; ///< The last few elements, by their begin.
};

} // namespace Kiln::PrefabMerging
