#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/composition/composed_value.h>
#include <prefab_inspection/composition/override_source.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/export.h>
#include <prefab_inspection/findings/finding.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kiln::PrefabInspection {

/// The objects that an instance of a prefab has, with the elements that they and their values come from. Made from the
/// files by the rules of the loader, without a world and without the loader's messages.
///
///     PrefabFiles files;
///     const Composition composition(files, "harbour.prefab", {});
///     for (const Composition::Object& object : composition.objects()) { … }
///
/// Owner: the caller. `files` must outlive it. Threads: one. Failure: see failure() and problems().
class KILN_PREFAB_INSPECTION_EXPORT Composition : NonCopyable {
public:
    static constexpr std::size_t NONE = std::numeric_limits<std::size_t>::max();

    struct Options {
        Uuid instanceUuid;                    ///< Of the whole instance.
        std::size_t objectsLimit = 1'000'000; ///< A larger instance fails.

        /// Leaves out the objects of nested instances that are as the nested file describes them: no override data
        /// beyond that of the nested file reaches them. Their integration points are there nevertheless.
        bool onlyOverridden = false;
    };

    /// An instance of a prefab: the whole one, or one that an integration point nests.
    struct Instance {
        const PrefabFile* file;
        Uuid uuid;
        std::size_t enclosing; ///< Index of the instance that has the integration point; NONE for the whole instance.
        std::size_t point;     ///< Index of the integration point in the file of that instance.
        std::size_t root;      ///< Index of the object that stands for the nested root; NONE for the whole instance.
        OverrideList overrides;

        /// Overrides of the integration point's own PrefabComponent.
        std::vector<OverrideSection> pointOverrides;

        bool isVisited; ///< False if Options::onlyOverridden leaves out its objects.
    };

    struct Object {
        std::size_t instance; ///< The instance whose UUID the object's UUID is derived from.
        std::size_t node;     ///< Index in the file of the instance; of the nested root for an integration point.
        Uuid uuid;            ///< Of the live object.
        std::size_t parent;   ///< Index of an object; NONE if it has none.
        std::uint32_t flags;
        bool isPoint;           ///< An integration point, merged with the nested root.
        bool usesZeroOverrides; ///< Overrides of the zero UUID apply to it.
    };

    struct Component {
        const PrefabFile* file;
        const PrefabFile::Component* stored; ///< Null for a PrefabComponent that the loader adds.
        std::size_t typeId;
    };

    /// Why there is no instance: a sentence, and the chain of files that leads to the problem.
    struct Failure {
        std::string message;
        std::vector<Place> places;
    };

    /// One step of the derivation of a UUID: combine(first, second) is result.
    struct UuidStep {
        Uuid first;
        Uuid second;
        Uuid result;
        Place place; ///< Of the second UUID; the text is the object's name.
    };

    Composition(PrefabFiles& files, const std::string& path, const Options& options);
    ~Composition();

    /// Why the loader creates no instance. The objects that were found until then are still listed.
    [[nodiscard]] const std::optional<Failure>& failure() const noexcept { return m_failure; }

    /// Integration points that are left out, and override data that is ignored.
    [[nodiscard]] const std::vector<Place>& problems() const noexcept { return m_problems; }

    /// The root, then the others in the order of their creation.
    [[nodiscard]] const std::vector<Object>& objects() const noexcept { return m_objects; }

    /// The whole instance comes first.
    [[nodiscard]] const std::vector<Instance>& instances() const noexcept { return m_instances; }

    [[nodiscard]] std::string name(std::size_t object) const;

    /// The names from the top of the object's tree to the object, separated by '/'.
    [[nodiscard]] std::string path(std::size_t object) const;

    /// The element of the object in its file; for an integration point that in the enclosing file.
    [[nodiscard]] Origin origin(std::size_t object) const;

    /// The element of the nested root that is merged with an integration point.
    [[nodiscard]] Origin rootOrigin(std::size_t object) const;

    /// The UUID that the object has in the file of its instance. An integration point has that of the nested root.
    [[nodiscard]] const Uuid& fileUuid(std::size_t object) const;

    /// The UUID that an integration point has in the enclosing file; that of the object for any other.
    [[nodiscard]] const Uuid& pointUuid(std::size_t object) const;

    /// In the order of creation, one of each type.
    [[nodiscard]] std::vector<Component> components(std::size_t object) const;

    [[nodiscard]] std::vector<ComposedValue> values(std::size_t object, const Component& component) const;

    /// How the object's UUID is derived, from the whole instance to the object.
    [[nodiscard]] std::vector<UuidStep> uuidSteps(std::size_t object) const;

    /// The integration points that lead to the object, outermost first.
    [[nodiscard]] std::vector<Place> chain(std::size_t object) const;

    /// The object that a link of the object refers to; NONE if it resolves to nothing.
    [[nodiscard]] std::size_t resolveLink(std::size_t object, const Uuid& link) const;

    /// The same for a link that the file of the whole instance contains.
    [[nodiscard]] std::size_t resolveLink(const Uuid& link) const;

    [[nodiscard]] std::size_t findLiveUuid(const Uuid& uuid) const;

private:
    /// What an integration point nests after the overrides of its own PrefabComponent.
    struct Nested {
        std::string resource;
        Origin resourceOrigin;
        OverrideList overrides;
        std::vector<OverrideSection> pointOverrides;
    };

    /// Override data that an outer override gives to an integration point.
    struct OuterText {
        const OverrideSection* section;
        DataNode element;
    };

    [[nodiscard]] bool visitInstance(std::size_t instance, std::size_t depth);
    [[nodiscard]] bool visitPoint(std::size_t instance, std::size_t node, const PrefabFile::Component& component,
                                  std::size_t depth);
    [[nodiscard]] Nested readPoint(std::size_t instance, std::size_t node, const PrefabFile::Component& component);
    [[nodiscard]] OverrideList readOverrides(const PrefabFile& file, DataNode own, const std::vector<OuterText>& outer);
    [[nodiscard]] bool addObject(std::size_t instance, std::size_t node, bool isPoint);
    void reportDepth(const Nested& nested, std::size_t instance);
    void reportIgnored(const OverrideSource& source);
    void finish();
    void checkRoots();
    void indexUuids();
    void findParents();
    [[nodiscard]] std::size_t findParent(std::size_t object) const;
    [[nodiscard]] std::size_t resolve(const Uuid& key, const Uuid& link) const;
    void fail(std::string message, std::vector<Place> places = {});
    [[nodiscard]] Place placeOf(const PrefabFile& file, std::size_t node) const;

    PrefabFiles& m_files;
    const Options m_options;
    OverrideSources m_overrideSources;
    std::vector<Instance> m_instances;
    std::vector<Object> m_objects;
    std::unordered_map<Uuid, std::size_t> m_byUuid;
    std::unordered_map<Uuid, std::size_t> m_nestedRoots; ///< By the UUID of the nested instance.
    std::optional<Failure> m_failure;
    std::vector<Place> m_problems;
    std::vector<const OverrideSource*> m_reported; ///< Ignored override data, sorted.
};

} // namespace Kiln::PrefabInspection
