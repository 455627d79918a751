#pragma once

#include <common/uuid.h>
#include <core/non_copyable.h>
#include <prefab_editing/edit_list.h>
#include <prefab_editing/text_edits.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <cstddef>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kiln::PrefabEditing {

/// Why a file is not changed: a sentence without full stop; it may have any bytes.
class EditError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Changes a prefab file as little as possible: bytes that have nothing to do with a change stay. New elements get the
/// indentation and line ends of those beside them. Several changes can be made before take(). Objects are named by
/// their indices in the file.
///
/// The functions check only what they need themselves; whether the changed file is sound is for the checker to say.
/// Throws EditError for a change that is not possible. One thread.
class PrefabEditor : NonCopyable {
public:
    /// An integration point with its own components.
    struct NewPoint {
        Uuid uuid;
        std::string name;
        Uuid parent;
        std::string resource;
    };

    /// `file` must have a document, and outlive the editor.
    explicit PrefabEditor(const PrefabInspection::PrefabFile& file);
    ~PrefabEditor();

    void rename(std::size_t object, std::string_view name);

    /// Sets a property, such as "isLit", "lamp.color" in a structure or "waypoints[2]" in a vector. An element that is
    /// missing is added; one of a vector must exist.
    void setValue(std::size_t object, std::string_view component, std::string_view property, std::string_view text);

    /// Sets the link of the object's HierarchyComponent.
    void setParent(std::size_t object, const Uuid& parent);

    /// Removes objects with their components. The components of later objects get their new indices.
    void remove(const std::set<std::size_t>& objects);

    /// Fails if the file has components whose index, which leads to no object yet, is that of the new object.
    void addNested(const NewPoint& point);

    /// The changed text. Ends the work of the editor.
    [[nodiscard]] EditedText take();

private:
    /// An element to be added.
    struct NewElement {
        std::string name;
        std::string text; ///< Escaped; of an element without children.
        std::vector<NewElement> children;
    };

    /// One step into a value: a property by its name, or an element of a vector by its index.
    struct PathStep {
        std::string name;
        std::optional<std::size_t> index;
    };

    [[nodiscard]] static std::vector<PathStep> stepsOf(std::string_view path);
    [[nodiscard]] static NewElement newValue(const std::vector<PathStep>& steps, std::size_t first,
                                             std::string_view text);
    [[nodiscard]] const PrefabInspection::PrefabFile::Component& findComponent(std::size_t object,
                                                                               std::string_view type) const;
    [[nodiscard]] NewElement newItem(std::size_t object, std::vector<NewElement> properties) const;
    [[nodiscard]] std::string nameOf(std::size_t object) const;
    void setText(DataNode element, std::string_view text);
    void setChild(DataNode parent, const std::string& name, std::string_view text);
    void removeItems(const PrefabInspection::StoredPool& pool, const std::set<std::size_t>& objects);
    void removeElement(DataNode element);
    void append(DataNode parent, NewElement element);
    void refuseComponentsOf(std::size_t missingObject) const;
    void addItem(const std::string& type, NewElement item, std::vector<NewElement>& newPools);
    void insertChildren(DataNode parent, const std::vector<NewElement>& children);
    [[nodiscard]] std::string lineStart(DataNode element) const;
    [[nodiscard]] std::string indentationUnit() const;
    static void render(const NewElement& element, const std::string& start, const std::string& unit, std::string& text);

    const PrefabInspection::PrefabFile& m_file;
    const PrefabInspection::PrefabDocument& m_document;
    const std::string& m_text;
    EditList m_edits;
    std::set<std::ptrdiff_t> m_setElements; ///< Offsets of the elements whose text was set.
    std::vector<std::pair<DataNode, std::vector<NewElement>>> m_newChildren;
};

} // namespace Kiln::PrefabEditing
