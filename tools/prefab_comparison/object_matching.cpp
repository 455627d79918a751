#include <prefab_comparison/object_matching.h>

#include <common/white_space.h>

#include <map>
#include <string>
#include <utility>

namespace Kiln::PrefabComparison {

namespace {

constexpr std::size_t NONE = DocumentIndex::NONE;

using Objects = std::vector<std::size_t>;

class ObjectMatching {
public:
    ObjectMatching(const DocumentIndex& a, const DocumentIndex& b) : m_a(a), m_b(b) {
        m_matches.ofA.assign(a.objectsCount(), NONE);
        m_matches.ofB.assign(b.objectsCount(), NONE);
    }

    [[nodiscard]] ObjectMatches match() {
        const bool areUuidsUnique = !m_a.hasRepeatedUuids() && !m_b.hasRepeatedUuids();
        for (std::size_t object = 0; object < m_a.objectsCount(); ++object) {
            const PrefabInspection::StoredObject& stored = m_a.document().objects[object];
            const std::size_t other = stored.isUuidReadable ? m_b.findObject(stored.uuid) : NONE;
            if (other == NONE) {
                continue;
            }
            if (areUuidsUnique) {
                connect(object, other);
            } else if (m_a.findObject(stored.uuid) == object) {
                matchGroups(groupOf(m_a, object), groupOf(m_b, other));
            }
        }
        matchUnreadable();
        return std::move(m_matches);
    }

private:
    void connect(std::size_t a, std::size_t b) {
        m_matches.ofA[a] = b;
        m_matches.ofB[b] = a;
    }

    [[nodiscard]] static Objects groupOf(const DocumentIndex& index, std::size_t first) {
        Objects group;
        for (std::size_t object = first; object != NONE; object = index.nextWithSameUuid(object)) {
            group.push_back(object);
        }
        return group;
    }

    void matchGroups(const Objects& groupA, const Objects& groupB) {
        std::map<std::string, std::pair<Objects, std::size_t>> byName; // Of the second document, and how many are used.
        for (const std::size_t object : groupB) {
            byName[m_b.name(object)].first.push_back(object);
        }
        for (const std::size_t object : groupA) {
            const auto named = byName.find(m_a.name(object));
            if (named != byName.end() && named->second.second < named->second.first.size()) {
                connect(object, named->second.first[named->second.second++]);
            }
        }
        auto other = groupB.begin();
        for (const std::size_t object : groupA) {
            while (other != groupB.end() && m_matches.ofB[*other] != NONE) {
                ++other;
            }
            if (m_matches.ofA[object] == NONE && other != groupB.end()) {
                connect(object, *other);
            }
        }
    }

    void matchUnreadable() {
        std::map<std::string, std::pair<Objects, Objects>> groups; // By the text of the UUID.
        const auto collect = [](const DocumentIndex& index, const auto& add) {
            for (std::size_t object = 0; object < index.objectsCount(); ++object) {
                const PrefabInspection::StoredObject& stored = index.document().objects[object];
                if (!stored.isUuidReadable) {
                    add(std::string(trimWhiteSpace(stored.uuidElement.text())), object);
                }
            }
        };
        collect(m_a, [&groups](const std::string& text, std::size_t object) { groups[text].first.push_back(object); });
        collect(m_b, [&groups](const std::string& text, std::size_t object) { groups[text].second.push_back(object); });
        for (const auto& [text, group] : groups) {
            matchGroups(group.first, group.second);
        }
    }

    const DocumentIndex& m_a;
    const DocumentIndex& m_b;
    ObjectMatches m_matches;
};

} // namespace

ObjectMatches matchObjects(const DocumentIndex& a, const DocumentIndex& b) {
    return ObjectMatching(a, b).match();
}

} // namespace Kiln::PrefabComparison
