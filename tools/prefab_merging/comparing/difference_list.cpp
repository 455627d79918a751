#include "difference_list.h"

#include "../override_text.h"

#include <tessel_asset_loading/prefab_component.h>

#include <map>
#include <set>
#include <tuple>

namespace Kiln::PrefabMerging {

namespace {

constexpr const char* REMOVED_AND_CHANGED = "one side has removed it, the other has changed it";
constexpr const char* BOTH_CHANGED_ELEMENTS =
    "both sides have changed the elements of this name, of which there are several";

[[nodiscard]] std::optional<std::string> copyOf(const Text& text) {
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

[[nodiscard]] bool isOverrideData(const Place& place) {
    const std::string& name = place.overrides.empty() ? place.element : place.overrides.back().property;
    return place.kind == Place::Kind::PROPERTY && name == Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY;
}

/// The identity of an element within its container.
using ElementKey = std::tuple<std::string_view, std::uint32_t, std::string_view>;

/// The elements of a container in three documents, by key.
struct ElementTriples {
    std::map<ElementKey, Triple> triples;
    std::vector<ElementKey> order; ///< That of the documents.

    void collect(const Elements& elements, Text Triple::*side) {
        for (const auto& [element, raw] : elements) {
            const ElementKey key(element.name, element.number, element.isComment() ? raw : std::string_view());
            const auto [entry, isNew] = triples.try_emplace(key);
            entry->second.*side = raw;
            if (isNew) {
                order.push_back(key);
            }
        }
    }

    /// The names of which there are several elements, of another number than before, and that both sides have changed
    /// in different ways: it is not known which elements belong together.
    [[nodiscard]] std::set<std::string_view> ambiguousNames(Place::Kind kind) const {
        struct State {
            bool isChangedByOurs = false;
            bool isChangedByTheirs = false;
            bool isDifferent = false;
        };
        std::map<std::string_view, State> states; // Most containers have none, so that no text is compared twice.
        for (const auto& [key, texts] : triples) {
            const auto& [name, number, comment] = key;
            if (name != MarkupNode::COMMENT && number != 0 && (!texts.base || !texts.ours || !texts.theirs)) {
                states.try_emplace(name);
            }
        }
        for (const auto& [key, texts] : triples) {
            const auto found = states.find(std::get<0>(key));
            if (found == states.end()) {
                continue;
            }
            State& state = found->second;
            state.isChangedByOurs = state.isChangedByOurs || !isSame(kind, texts.base, texts.ours);
            state.isChangedByTheirs = state.isChangedByTheirs || !isSame(kind, texts.base, texts.theirs);
            state.isDifferent = state.isDifferent || !isSame(kind, texts.ours, texts.theirs);
        }
        std::set<std::string_view> names;
        for (const auto& [name, state] : states) {
            if (state.isChangedByOurs && state.isChangedByTheirs && state.isDifferent) {
                names.insert(name);
            }
        }
        return names;
    }
};

} // namespace

bool isSame(Place::Kind kind, const Text& first, const Text& second) {
    if (!first || !second) {
        return first.has_value() == second.has_value();
    }
    const bool hasOrder = kind != Place::Kind::OBJECT && kind != Place::Kind::POOL && kind != Place::Kind::COMPONENT;
    return hasOrder ? isSameContent(*first, *second) : isSameInAnyOrder(*first, *second);
}

Elements withTexts(const std::vector<KeyedElement>& elements, std::string_view text) {
    Elements result;
    result.reserve(elements.size());
    for (const KeyedElement& element : elements) {
        result.emplace_back(element, part(text, element.range));
    }
    return result;
}

void DifferenceList::add(Place place, const Triple& texts) {
    const Place::Kind kind = place.kind;
    if (isSame(kind, texts.ours, texts.theirs)) {
        return;
    }
    Difference difference;
    difference.place = std::move(place);
    difference.base = copyOf(texts.base);
    difference.ours = copyOf(texts.ours);
    difference.theirs = copyOf(texts.theirs);
    if (isSame(kind, texts.base, texts.theirs)) {
        difference.kind = Difference::Kind::OURS;
    } else if (isSame(kind, texts.base, texts.ours)) {
        difference.kind = Difference::Kind::THEIRS;
    } else if (isOverrideData(difference.place) && addOverrides(difference)) {
        return;
    } else {
        difference.kind = Difference::Kind::CONFLICT;
        difference.reason = texts.ours && texts.theirs ? BOTH_CHANGED : REMOVED_AND_CHANGED;
    }
    m_differences.push_back(std::move(difference));
}

void DifferenceList::addElements(const Place& container, const Elements& base, const Elements& ours,
                                 const Elements& theirs) {
    ElementTriples elements;
    elements.collect(base, &Triple::base);
    elements.collect(ours, &Triple::ours);
    elements.collect(theirs, &Triple::theirs);
    const std::set<std::string_view> ambiguous = elements.ambiguousNames(container.kind);
    for (const ElementKey& key : elements.order) {
        const auto& [name, number, comment] = key;
        Place place = container;
        place.element = name == MarkupNode::COMMENT ? std::string_view() : name;
        place.number = number;
        place.comment = comment;
        const std::size_t first = m_differences.size();
        add(std::move(place), elements.triples.at(key));
        if (ambiguous.contains(name)) {
            makeConflicts(first, BOTH_CHANGED_ELEMENTS);
        }
    }
}

void DifferenceList::makeConflicts(std::size_t first, const char* reason) {
    for (std::size_t index = first; index < m_differences.size(); ++index) {
        m_differences[index].kind = Difference::Kind::CONFLICT;
        m_differences[index].reason = reason;
    }
}

/// Compares override data that both have changed by record. Returns false if that is not possible.
bool DifferenceList::addOverrides(const Difference& whole) {
    if (!whole.ours || !whole.theirs) {
        return false;
    }
    const auto read = [](const std::optional<std::string>& element) {
        return element ? readOverrides(overrideTextOf(*element)) : KeyedOverrides();
    };
    const std::optional<KeyedOverrides> base = read(whole.base);
    const std::optional<KeyedOverrides> ours = read(whole.ours);
    const std::optional<KeyedOverrides> theirs = read(whole.theirs);
    if (!base || !ours || !theirs) {
        return false;
    }
    if (ours->comments != theirs->comments) {
        return false; // They have no key that would say where to put them.
    }
    std::map<OverrideKey, Triple> triples;
    const auto collect = [&triples](const KeyedOverrides& overrides, Text Triple::*side) {
        for (const auto& [key, value] : overrides.properties) {
            triples[key].*side = value;
        }
    };
    collect(*base, &Triple::base);
    collect(*ours, &Triple::ours);
    collect(*theirs, &Triple::theirs);
    for (const auto& [key, texts] : triples) {
        Place place = whole.place;
        place.overrides.push_back(key);
        add(std::move(place), texts);
    }
    return true;
}

} // namespace Kiln::PrefabMerging
