#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_inspection/composition/composed_value.h>
#include <prefab_inspection/composition/composition.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <prefab_inspection/export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Kiln::PrefabInspection {

/// The objects of a prefab for showing them: as its file has them, or as an instance of it has them. One thread.
class KILN_PREFAB_INSPECTION_EXPORT PrefabView : NonCopyable {
public:
    static constexpr std::size_t NONE = Composition::NONE;

    /// How an object came to its position at the top of a tree, or below its parent.
    enum class Position {
        ROOT,
        CHILD,
        BELOW_NESTED, ///< The parent is inside of the prefab that is nested at the shown parent.
        NO_PARENT,    ///< It has a HierarchyComponent, but no object has the UUID that it names.
        CYCLE         ///< Its parent is the object itself or one of its descendants.
    };

    struct Component {
        std::string type;
        std::uint32_t version = 1;
        std::uint32_t options = 0;
        bool isKnown = true; ///< Whether the type is registered.
        bool isRead = true;  ///< By the loader in this process.
        Origin origin;       ///< None for a component that the loader adds.
    };

    struct Object {
        std::string name;
        Uuid uuid;     ///< That of the live object in a view of an instance, that of the file otherwise.
        Uuid fileUuid; ///< In the file that has the object; of an integration point in the enclosing file.
        std::size_t parent = NONE;
        Position position = Position::ROOT;
        std::string remark; ///< The path of names below the parent for BELOW_NESTED; the UUID or name of the parent for
                            ///< NO_PARENT and CYCLE.
        std::uint32_t flags = 0;
        std::string nested; ///< Path of the prefab that an integration point nests; empty for others.
        Origin origin;
        Origin rootOrigin; ///< Of the nested root that an instance merges with an integration point.
    };

    virtual ~PrefabView() = default;

    [[nodiscard]] virtual std::size_t size() const = 0;
    [[nodiscard]] virtual Object object(std::size_t index) const = 0;
    [[nodiscard]] virtual std::vector<Component> components(std::size_t index) const = 0;

    /// The values of one of the components that components() lists.
    [[nodiscard]] virtual std::vector<ComposedValue> values(std::size_t index, std::size_t component) const = 0;

protected:
    PrefabView() = default;
};

/// The objects of one file, in the order of the file, and the values that are written there.
class KILN_PREFAB_INSPECTION_EXPORT AuthoredView final : public PrefabView {
public:
    /// The file must have a document. `files` must outlive the view; parents inside of nested prefabs are looked up.
    AuthoredView(PrefabFiles& files, const PrefabFile& file);
    ~AuthoredView() override;

    [[nodiscard]] std::size_t size() const override;
    [[nodiscard]] Object object(std::size_t index) const override;
    [[nodiscard]] std::vector<Component> components(std::size_t index) const override;
    [[nodiscard]] std::vector<ComposedValue> values(std::size_t index, std::size_t component) const override;

private:
    struct Placement {
        std::size_t parent = NONE;
        Position position = Position::ROOT;
        std::string remark;
    };

    void placeObjects(PrefabFiles& files);
    [[nodiscard]] Placement placeBelowNested(PrefabFiles& files, const Uuid& parent);

    const PrefabFile& m_file;
    std::vector<Placement> m_placements;
    std::unique_ptr<Composition> m_composition; ///< Made for the first parent that is not in the file.
};

/// The objects of an instance, the root first and the others in the order of their creation, and the values that they
/// have. `composition` must outlive the view.
class KILN_PREFAB_INSPECTION_EXPORT ComposedView final : public PrefabView {
public:
    explicit ComposedView(const Composition& composition) : m_composition(composition) {}

    [[nodiscard]] std::size_t size() const override;
    [[nodiscard]] Object object(std::size_t index) const override;
    [[nodiscard]] std::vector<Component> components(std::size_t index) const override;
    [[nodiscard]] std::vector<ComposedValue> values(std::size_t index, std::size_t component) const override;

private:
    const Composition& m_composition;
};

} // namespace Kiln::PrefabInspection
