#pragma once

#include <common/uuid.h>
#include <prefab_inspection/composition/composition.h>
#include <prefab_inspection/composition/prefab_file.h>

#include <cstddef>
#include <set>
#include <string>

namespace Kiln::PrefabTool {

class Terminal;

/// The objects of a file among those of its instance. The composition is that of the file.
class OwnObjects {
public:
    OwnObjects(const PrefabInspection::PrefabFile& file, const PrefabInspection::Composition& composition);

    /// The index in the file of the object that a text means, as by findObjects(). Also finds objects that the loader
    /// leaves out, such as integration points of missing prefabs. Composition::NONE, after reporting it, if there is
    /// none or several; throws CommandError for an object of a nested prefab.
    [[nodiscard]] std::size_t find(Terminal& terminal, const std::string& text) const;

    /// What the file has to write for a link to the object that a text means, which may be one of a nested prefab. The
    /// zero UUID, after reporting it, if there is none or several.
    [[nodiscard]] Uuid findLink(Terminal& terminal, const std::string& text) const;

    /// The index in the composition; Composition::NONE for an object that the loader leaves out.
    [[nodiscard]] std::size_t composed(std::size_t object) const;

    /// The object and everything below it, as indices in the file.
    [[nodiscard]] std::set<std::size_t> withDescendants(std::size_t object) const;

    [[nodiscard]] std::string name(std::size_t object) const;

private:
    /// The index in the file of an object of the composition; Composition::NONE for one of a nested prefab.
    [[nodiscard]] std::size_t own(std::size_t composedObject) const;
    [[nodiscard]] std::size_t findLeftOut(const std::string& text) const;
    [[nodiscard]] Uuid parentUuid(std::size_t object) const;

    const PrefabInspection::PrefabFile& m_file;
    const PrefabInspection::Composition& m_composition;
};

} // namespace Kiln::PrefabTool
