#pragma once

#include "../keyed_document.h"
#include "difference.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabMerging {

/// A piece of XML that a document may not have.
using Text = std::optional<std::string_view>;

/// A part of a document, as the three documents have it.
struct Triple {
    Text base;
    Text ours;
    Text theirs;
};

/// Whether two values of a place mean the same.
[[nodiscard]] bool isSame(Place::Kind kind, const Text& first, const Text& second);

/// The numbered elements of a container with their text, in the order of the document.
using Elements = std::vector<std::pair<KeyedElement, std::string_view>>;

/// `text` is what the ranges of the elements are in.
[[nodiscard]] Elements withTexts(const std::vector<KeyedElement>& elements, std::string_view text);

/// Collects differences.
class DifferenceList {
public:
    /// Adds the difference at a place unless both sides have the same value there. Override data that both have changed
    /// is compared by record.
    void add(Place place, const Triple& texts);

    /// Adds the differences between the elements of a container.
    void addElements(const Place& container, const Elements& base, const Elements& ours, const Elements& theirs);

    /// Adds a difference of which the kind is known.
    void add(Difference difference) { m_differences.push_back(std::move(difference)); }

    [[nodiscard]] std::size_t size() const noexcept { return m_differences.size(); }

    /// Makes conflicts of all differences from that number on.
    void makeConflicts(std::size_t first, const char* reason);

    [[nodiscard]] std::vector<Difference> take() { return std::move(m_differences); }

private:
    [[nodiscard]] bool addOverrides(const Difference& whole);

    std::vector<Difference> m_differences;
};

} // namespace Kiln::PrefabMerging
