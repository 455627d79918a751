#include "rules.h"

#include <common/white_space.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <tessel_asset_loading/prefab_component.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace Kiln::PrefabMerging {

namespace {

namespace ElementName = PrefabInspection::ElementName;

using Kind = Difference::Kind;

constexpr std::uint32_t NONE = KeyedDocument::NONE;
constexpr const char* PARENT = "parent";
constexpr std::size_t UUID_SIZE = 36;

struct UuidHash {
    std::size_t operator()(const Uuid& uuid) const noexcept { return uuid.hash(); }
};

/// Calls onUuid for each UUID that a text contains.
template <class OnUuid>
void findUuids(std::string_view text, const OnUuid& onUuid) {
    const auto isHexadecimal = [](char character) { return std::isxdigit(static_cast<unsigned char>(character)) != 0; };
    for (std::size_t hyphen = text.find('-'); hyphen != std::string_view::npos; hyphen = text.find('-', hyphen + 1)) {
        if (hyphen < 8 || hyphen + UUID_SIZE - 8 > text.size() || !isHexadecimal(text[hyphen - 1])) {
            continue;
        }
        if (const std::optional<Uuid> uuid = Uuid::fromString(text.substr(hyphen - 8, UUID_SIZE))) {
            onUuid(*uuid);
        }
    }
}

/// Calls onParent for each UUID that a text has as an element "parent".
template <class OnParent>
void findParents(std::string_view text, const OnParent& onParent) {
    constexpr std::string_view TAG = "<parent>";
    for (std::size_t tag = text.find(TAG); tag != std::string_view::npos; tag = text.find(TAG, tag + 1)) {
        const std::size_t begin = tag + TAG.size();
        const std::size_t end = std::min(text.find('<', begin), text.size());
        if (const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(text.substr(begin, end - begin)))) {
            onParent(*uuid);
        }
    }
}

class Rules {
public:
    Rules(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs,
          std::vector<Difference>& differences)
        : m_base(base),
          m_ours(ours),
          m_theirs(theirs),
          m_differences(differences),
          m_hierarchyName(PrefabInspection::NestingTypes::get().hierarchyName),
          m_prefabName(PrefabInspection::NestingTypes::get().prefabName) {}

    void apply() {
        for (std::size_t index = 0; index < m_differences.size(); ++index) {
            const Place& place = m_differences[index].place;
            if (place.object) {
                m_byObject[*place.object].push_back(index);
            }
        }
        checkVersions();
        checkNesting();
        std::size_t before = 0;
        do { // Each rule may make conflicts that concern the others.
            before = conflictsCount();
            checkRemovals();
            checkCycles();
            checkRoots();
        } while (conflictsCount() != before);
    }

private:
    [[nodiscard]] std::size_t conflictsCount() const { return m_conflictsCount; }

    void makeConflict(std::size_t index, const char* reason) {
        Difference& difference = m_differences[index];
        if (difference.kind != Kind::CONFLICT) {
            difference.kind = Kind::CONFLICT;
            difference.reason = reason;
            ++m_conflictsCount;
        }
    }

    // Versions of component data.

    void checkVersions() {
        std::set<std::string> types;
        for (const Difference& difference : m_differences) {
            const Place& place = difference.place;
            if (place.kind == Place::Kind::POOL_ELEMENT && place.element == ElementName::VERSION) {
                types.insert(place.component);
            }
        }
        for (const std::string& type : types) {
            checkVersion(type);
        }
    }

    /// Data of another version has another meaning, so that all changes of the type belong together.
    void checkVersion(const std::string& type) {
        std::vector<std::size_t> concerned;
        bool isOurs = false;
        bool isTheirs = false;
        for (std::size_t index = 0; index < m_differences.size(); ++index) {
            const Difference& difference = m_differences[index];
            const bool isInObject = difference.place.kind == Place::Kind::OBJECT && mentions(difference, type);
            if (difference.place.component == type || isInObject) {
                concerned.push_back(index);
                isOurs = isOurs || difference.isChangedByOurs();
                isTheirs = isTheirs || difference.isChangedByTheirs();
            }
        }
        for (const std::size_t index : concerned) {
            if (isOurs && isTheirs) {
                makeConflict(index, "one side has changed the version of the component's data, the other its data");
            }
        }
    }

    [[nodiscard]] static bool mentions(const Difference& difference, const std::string& type) {
        const auto contains = [&type](const std::optional<std::string>& text) {
            return text && text->find(type) != std::string::npos;
        };
        return contains(difference.base) || contains(difference.ours) || contains(difference.theirs);
    }

    // Nested prefabs.

    void checkNesting() {
        for (const auto& [object, indices] : m_byObject) {
            for (const std::size_t first : indices) {
                for (const std::size_t second : indices) {
                    if (isNested(first, Tessel::PrefabComponent::RESOURCE_PROPERTY) &&
                        isNested(second, Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY) &&
                        isByBoth(m_differences[first], m_differences[second])) {
                        constexpr const char* REASON =
                            "one side has changed the nested prefab, the other its overrides";
                        makeConflict(first, REASON);
                        makeConflict(second, REASON);
                    }
                }
            }
        }
    }

    [[nodiscard]] bool isNested(std::size_t index, const std::string& property) const {
        const Place& place = m_differences[index].place;
        return place.kind == Place::Kind::PROPERTY && place.component == m_prefabName && place.element == property;
    }

    [[nodiscard]] static bool isByBoth(const Difference& first, const Difference& second) {
        return (first.isChangedByOurs() && second.isChangedByTheirs()) ||
               (first.isChangedByTheirs() && second.isChangedByOurs());
    }

    // Removed objects.

    /// What one side has removed, so that no change of the other side may name it.
    struct Removals {
        std::unordered_map<Uuid, std::size_t, UuidHash> objects; ///< The differences by the object's UUID.

        /// The difference that removes the only integration point of the other side's document, so that every parent
        /// that this document does not have is inside of it.
        std::optional<std::size_t> onlyPoint;
    };

    void checkRemovals() {
        const Removals goneForOurs = removalsFor(m_ours, &Difference::ours, &Difference::theirs);
        const Removals goneForTheirs = removalsFor(m_theirs, &Difference::theirs, &Difference::ours);
        std::vector<std::size_t> pending(m_differences.size());
        for (std::size_t index = 0; index < pending.size(); ++index) {
            pending[index] = index;
        }
        while (!pending.empty()) {
            const std::size_t index = pending.back();
            pending.pop_back();
            const Difference& difference = m_differences[index];
            if (difference.isChangedByOurs() && difference.ours) {
                checkNames(index, *difference.ours, m_ours, goneForOurs, pending);
            }
            if (difference.isChangedByTheirs() && difference.theirs) {
                checkNames(index, *difference.theirs, m_theirs, goneForTheirs, pending);
            }
        }
    }

    using Value = std::optional<std::string> Difference::*;

    /// What a side with that value may not name, since the other side has removed it.
    [[nodiscard]] Removals removalsFor(const KeyedDocument& document, Value side, Value other) const {
        Removals removals;
        const std::optional<Uuid> onlyPoint = onlyPointOf(document);
        for (std::size_t index = 0; index < m_differences.size(); ++index) {
            const Difference& difference = m_differences[index];
            const Place& place = difference.place;
            const bool isConflict = difference.kind == Kind::CONFLICT;
            if (!place.object || !(difference.*side) || difference.*other || !(difference.base || isConflict)) {
                continue;
            }
            const bool isNesting = place.kind == Place::Kind::COMPONENT && place.component == m_prefabName;
            if (place.kind == Place::Kind::OBJECT) {
                removals.objects.emplace(*place.object, index);
            }
            if (place.object == onlyPoint && (place.kind == Place::Kind::OBJECT || isNesting)) {
                removals.onlyPoint = index;
            }
        }
        return removals;
    }

    /// The only object of a document that nests a prefab; nothing if there are none or several.
    [[nodiscard]] std::optional<Uuid> onlyPointOf(const KeyedDocument& document) const {
        std::optional<Uuid> point;
        for (const KeyedItem& item : document.items()) {
            if (document.pools()[item.pool].name != m_prefabName) {
                continue;
            }
            if (point) {
                return std::nullopt;
            }
            point = document.objects()[item.object].uuid;
        }
        return point;
    }

    void checkNames(std::size_t index, const std::string& text, const KeyedDocument& document, const Removals& gone,
                    std::vector<std::size_t>& pending) {
        std::vector<std::size_t> removals;
        if (!gone.objects.empty()) {
            findUuids(text, [&gone, &removals](const Uuid& uuid) {
                if (const auto found = gone.objects.find(uuid); found != gone.objects.end()) {
                    removals.push_back(found->second);
                }
            });
        }
        if (gone.onlyPoint) {
            findParents(text, [&gone, &removals, &document](const Uuid& uuid) {
                if (document.findObject(uuid) == NONE) {
                    removals.push_back(*gone.onlyPoint);
                }
            });
        }
        for (const std::size_t removal : removals) {
            if (removal == index) {
                continue; // An object names itself.
            }
            for (const std::size_t concerned : {index, removal}) {
                if (m_differences[concerned].kind != Kind::CONFLICT) {
                    makeConflict(concerned, "one side has removed an object that a change of the other side needs");
                    pending.push_back(concerned);
                }
            }
        }
    }

    // Parents.

    /// The parent that a document gives to an object; zero if it has none.
    [[nodiscard]] Uuid parentIn(const KeyedDocument& document, const Uuid& uuid) const {
        const std::uint32_t object = document.findObject(uuid);
        const std::uint32_t item = object == NONE ? NONE : document.findItem(object, m_hierarchyName);
        if (item == NONE) {
            return Uuid::ZERO;
        }
        const MarkupTree tree(document.raw(document.items()[item].range));
        const MarkupNode* const properties = tree.child(tree.node(tree.tops().front()), ElementName::PROPERTIES);
        const MarkupNode* const parent = properties ? tree.child(*properties, PARENT) : nullptr;
        const std::string text = parent ? tree.value(*parent) : std::string();
        return Uuid::fromString(trimWhiteSpace(text)).value_or(Uuid::ZERO);
    }

    [[nodiscard]] bool isAboutParent(const Difference& difference) const {
        const Place& place = difference.place;
        const bool isProperty = place.kind == Place::Kind::PROPERTY && place.element == PARENT;
        return place.component == m_hierarchyName && (isProperty || place.kind == Place::Kind::COMPONENT);
    }

    /// Whether the merged document takes an object's parent from theirs. Conflicts are decided by `decision`.
    [[nodiscard]] bool hasParentOfTheirs(const Uuid& uuid, Kind decision) const {
        const auto found = m_byObject.find(uuid);
        return found != m_byObject.end() &&
               std::any_of(found->second.begin(), found->second.end(), [this, decision](std::size_t index) {
                   const Difference& difference = m_differences[index];
                   const Kind kind = difference.kind == Kind::CONFLICT ? decision : difference.kind;
                   return kind == Kind::THEIRS &&
                          (isAboutParent(difference) || difference.place.kind == Place::Kind::OBJECT);
               });
    }

    void checkCycles() {
        for (const Kind decision : {Kind::OURS, Kind::THEIRS}) {
            checkCycles(decision);
        }
    }

    void checkCycles(Kind decision) {
        std::vector<Uuid> moved;
        for (const Difference& difference : m_differences) {
            if (isAboutParent(difference) && difference.place.object) {
                moved.push_back(*difference.place.object);
            }
        }
        std::unordered_set<Uuid, UuidHash> sound; // Objects from which the way up ends.
        for (const Uuid& start : moved) {
            std::vector<Uuid> way;
            std::unordered_set<Uuid, UuidHash> seen;
            Uuid uuid = start;
            while (uuid != Uuid::ZERO && !sound.contains(uuid) && seen.insert(uuid).second) {
                way.push_back(uuid);
                uuid = parentIn(hasParentOfTheirs(uuid, decision) ? m_theirs : m_ours, uuid);
            }
            if (uuid == Uuid::ZERO || sound.contains(uuid)) {
                sound.insert(way.begin(), way.end());
            } else {
                breakCycle({std::find(way.begin(), way.end(), uuid), way.end()});
            }
        }
    }

    void breakCycle(const std::vector<Uuid>& cycle) {
        for (const Uuid& uuid : cycle) {
            for (const std::size_t index : m_byObject[uuid]) {
                if (isAboutParent(m_differences[index])) {
                    makeConflict(index, "together with a change of the other side it makes a cycle of parents");
                }
            }
        }
    }

    // Roots.

    [[nodiscard]] std::vector<bool> hierarchy(const KeyedDocument& document) const {
        std::vector<bool> hasHierarchy(document.objects().size());
        std::vector<bool> isHierarchy;
        for (const KeyedPool& pool : document.pools()) {
            isHierarchy.push_back(pool.name == m_hierarchyName);
        }
        for (const KeyedItem& item : document.items()) {
            hasHierarchy[item.object] = hasHierarchy[item.object] || isHierarchy[item.pool];
        }
        return hasHierarchy;
    }

    /// The objects without parent component.
    [[nodiscard]] std::set<Uuid> rootsOf(const KeyedDocument& document) const {
        std::set<Uuid> roots;
        const std::vector<bool> hasHierarchy = hierarchy(document);
        for (std::size_t object = 0; object < document.objects().size(); ++object) {
            if (!hasHierarchy[object]) {
                roots.insert(document.objects()[object].uuid);
            }
        }
        return roots;
    }

    void checkRoots() {
        for (const Kind decision : {Kind::OURS, Kind::THEIRS}) {
            checkRoots(decision);
        }
    }

    void checkRoots(Kind decision) {
        if (!m_areRootsRead) {
            m_areRootsRead = true;
            m_baseRoots = rootsOf(m_base);
            m_oursRoots = rootsOf(m_ours);
            m_theirsRoots = rootsOf(m_theirs);
        }
        std::set<Uuid> merged;
        for (const Uuid& uuid : m_oursRoots) {
            if (!hasParentOfTheirs(uuid, decision)) {
                merged.insert(uuid);
            }
        }
        for (const Uuid& uuid : m_theirsRoots) {
            if (hasParentOfTheirs(uuid, decision)) {
                merged.insert(uuid);
            }
        }
        if (merged.size() <= std::max({std::size_t(1), m_oursRoots.size(), m_theirsRoots.size()})) {
            return;
        }
        for (const Uuid& uuid : merged) {
            for (const std::size_t index : m_byObject[uuid]) {
                const Difference& difference = m_differences[index];
                if (!m_baseRoots.contains(uuid) &&
                    (isAboutParent(difference) || difference.place.kind == Place::Kind::OBJECT)) {
                    makeConflict(index, "together with a change of the other side it makes a second root");
                }
            }
        }
    }

    const KeyedDocument& m_base;
    const KeyedDocument& m_ours;
    const KeyedDocument& m_theirs;
    std::vector<Difference>& m_differences;
    const std::string& m_hierarchyName;
    const std::string& m_prefabName;
    std::map<Uuid, std::vector<std::size_t>> m_byObject;
    std::size_t m_conflictsCount = 0;
    bool m_areRootsRead = false;
    std::set<Uuid> m_baseRoots;
    std::set<Uuid> m_oursRoots;
    std::set<Uuid> m_theirsRoots;
};

} // namespace

void findJointConflicts(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs,
                        std::vector<Difference>& differences) {
    Rules(base, ours, theirs, differences).apply();
}

} // namespace Kiln::PrefabMerging
