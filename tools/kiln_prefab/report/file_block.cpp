#include "file_block.h"

#include "plain_values.h"

#include <kiln_prefab/view/layer_names.h>
#include <prefab_inspection/composition/composed_value.h>
#include <prefab_inspection/composition/composition.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace Kiln::PrefabTool {

using mirra::ValueKind;
using PrefabInspection::ComposedValue;
using PrefabInspection::Composition;
using PrefabInspection::Origin;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;
using PrefabInspection::ValueLayer;

std::int32_t FileIndices::find(const std::string& path) const {
    const auto found = std::lower_bound(m_paths.begin(), m_paths.end(), path);
    return found != m_paths.end() && *found == path ? static_cast<std::int32_t>(found - m_paths.begin()) : -1;
}

namespace {

[[nodiscard]] const char* kindName(ValueKind kind) {
    switch (kind) {
    case ValueKind::SCALAR:
        return "scalar";
    case ValueKind::LINK:
        return "link";
    case ValueKind::VECTOR:
        return "vector";
    case ValueKind::STRUCTURE:
        break;
    }
    return "structure";
}

/// Writes components in the long form.
class LongForm {
public:
    explicit LongForm(const FileIndices& indices) : m_indices(indices) {}

    [[nodiscard]] std::string write(const Composition::Component& component,
                                    const std::vector<ComposedValue>& values) const {
        std::string output = R"({"type":)";
        appendNumber(output, component.typeId);
        output += R"(,"file":)";
        appendNumber(output, component.stored ? m_indices.find(component.file->path) : -1);
        output += R"(,"line":)";
        appendNumber(output, component.stored ? lineOf(*component.file, component.stored->item->element) : 0);
        output += R"(,"values":)";
        appendValues(output, values);
        return output += '}';
    }

private:
    void appendValues(std::string& output, const std::vector<ComposedValue>& values) const {
        output += '[';
        for (const ComposedValue& value : values) {
            output += &value == values.data() ? R"({"name":)" : R"(,{"name":)";
            appendJsonString(output, value.name);
            output.append(R"(,"kind":")").append(kindName(value.kind)).append(R"(","text":)");
            appendJsonString(output, value.text);
            output += R"(,"layers":)";
            appendLayers(output, value.layers);
            if (!value.children.empty()) {
                output += R"(,"children":)";
                appendValues(output, value.children);
            }
            output += '}';
        }
        output += ']';
    }

    void appendLayers(std::string& output, const std::vector<ValueLayer>& layers) const {
        output += '[';
        for (const ValueLayer& layer : layers) {
            output.append(&layer == layers.data() ? R"({"kind":")" : R"(,{"kind":")").append(layerKindName(layer.kind));
            output.append(R"(","effect":")").append(layerEffectName(layer.effect)).append(R"(","file":)");
            appendNumber(output, layer.origin ? m_indices.find(*layer.origin.file) : -1);
            output += R"(,"line":)";
            appendNumber(output, layer.origin.valueRange().line);
            output += R"(,"text":)";
            appendJsonString(output, layer.text);
            output += '}';
        }
        output += ']';
    }

    const FileIndices& m_indices;
};

/// Fills the block of a file from its composition, in which instances without overrides have no objects.
class BlockMaker {
public:
    BlockMaker(PrefabFiles& files, const PrefabFile& file, const FileIndices& indices)
        : m_files(files),
          m_file(file),
          m_longForm(indices),
          m_composition(files, file.path, Composition::Options{Uuid(), OBJECTS_LIMIT, true}) {}

    [[nodiscard]] FileBlock make() {
        addStoredObjects();
        addVariants();
        for (std::size_t object = 0; object < m_composition.objects().size(); ++object) {
            addObject(object);
        }
        addMissing();
        if (m_composition.failure()) {
            m_block.problem = m_composition.failure()->message;
        }
        return std::move(m_block);
    }

private:
    static constexpr std::size_t OBJECTS_LIMIT = 1'000'000;

    /// Where an object of the composition stands: in an instance, as an object of the instance's file.
    struct Location {
        std::size_t instance;
        std::uint32_t node;
    };

    [[nodiscard]] Location locate(const Composition& composition, std::size_t object) const {
        const Composition::Object& composed = composition.objects()[object];
        if (!composed.isPoint) {
            return {composed.instance, static_cast<std::uint32_t>(composed.node)};
        }
        const Composition::Instance& nested = composition.instances()[composed.instance];
        return {nested.enclosing, static_cast<std::uint32_t>(nested.point)};
    }

    /// What the file has, also where the loader makes no object of it.
    void addStoredObjects() {
        const std::size_t count = m_file.document->objects.size();
        m_block.names.reserve(count);
        m_block.uuids.reserve(count);
        m_block.flags.reserve(count);
        m_block.lines.reserve(count);
        m_block.isRoot.reserve(count);
        std::size_t line = 1;
        std::string scratch;
        for (std::size_t node = 0; node < count; ++node) {
            const PrefabInspection::StoredObject& stored = m_file.document->objects[node];
            line = lineOf(m_file, stored.element, line);
            m_block.names.push_back(m_block.texts.add(stored.nameElement.text(scratch)));
            m_block.uuids.push_back(stored.uuid);
            m_block.flags.push_back(stored.flags.value);
            m_block.lines.push_back(line);
            m_block.isRoot.push_back(m_file.isRoot(node));
        }
        m_block.parents.assign(count, FileBlock::NO_PARENT);
        m_block.components.resize(count);
        m_isPresent.assign(count, false);
        if (const std::optional<std::size_t> root = m_file.findRoot()) {
            m_block.root = static_cast<std::int32_t>(*root);
        }
    }

    /// Numbers the nested instances that overrides reach.
    void addVariants() {
        const std::vector<Composition::Instance>& instances = m_composition.instances();
        m_variants.assign(instances.size(), NestedBlock::NO_VARIANT);
        for (std::size_t instance = 1; instance < instances.size(); ++instance) {
            if (instances[instance].isVisited) {
                m_variants[instance] = static_cast<std::uint32_t>(m_block.variants.size());
                m_block.variants.emplace_back();
                m_block.variants.back().file = instances[instance].file->path;
            }
        }
    }

    void addObject(std::size_t object) {
        const Composition::Object& composed = m_composition.objects()[object];
        const Location location = locate(m_composition, object);
        if (location.instance == 0) {
            addOwnObject(object, location.node);
            return;
        }
        VariantBlock& variant = m_block.variants[m_variants[location.instance]];
        const Composition::Instance& owner = m_composition.instances()[location.instance];
        if (composed.isPoint) {
            const Composition::Instance& nested = m_composition.instances()[composed.instance];
            if (nested.isVisited) {
                variant.changed.emplace_back(location.node, longComponents(object));
                variant.nested.push_back({location.node, nested.file->path, m_variants[composed.instance]});
            }
            return;
        }
        const Uuid& uuid = m_composition.fileUuid(object);
        const bool isChanged =
            std::any_of(owner.overrides.begin(), owner.overrides.end(),
                        [&uuid](const auto& overrides) { return overrides.source->hasRecordsOf(uuid); });
        if (isChanged) {
            variant.changed.emplace_back(location.node, longComponents(object));
            addChangedParent(variant, object, location);
        }
    }

    void addChangedParent(VariantBlock& variant, std::size_t object, const Location& location) const {
        const std::size_t parent = m_composition.objects()[object].parent;
        if (parent == Composition::NONE) {
            return;
        }
        const Location found = locate(m_composition, parent);
        if (found.instance == location.instance) {
            variant.parents.emplace_back(location.node, static_cast<std::int32_t>(found.node));
        } else if (m_composition.objects()[parent].instance == location.instance) {
            // The object that stands for the root of the instance.
            variant.parents.emplace_back(location.node,
                                         static_cast<std::int32_t>(m_composition.objects()[parent].node));
        }
    }

    void addOwnObject(std::size_t object, std::uint32_t node) {
        const Composition::Object& composed = m_composition.objects()[object];
        m_isPresent[node] = true;
        m_block.flags[node] = composed.flags;
        if (composed.isPoint) {
            const Composition::Instance& nested = m_composition.instances()[composed.instance];
            m_block.nested.push_back({node, nested.file->path, m_variants[composed.instance]});
        }
        m_block.components[node] = composed.isPoint ? longComponents(object) : components(object, node);
        addParent(object, node);
    }

    void addParent(std::size_t object, std::uint32_t node) {
        const std::size_t parent = m_composition.objects()[object].parent;
        if (parent != Composition::NONE) {
            const Location location = locate(m_composition, parent);
            if (location.instance == 0) {
                m_block.parents[node] = static_cast<std::int32_t>(location.node);
            } else {
                addParentInNested(m_composition, parent, node);
            }
        } else if (!m_block.isRoot[node]) {
            // It may be inside of an instance without overrides, which only the whole composition has.
            if (!m_whole) {
                m_whole = std::make_unique<Composition>(m_files, m_file.path, Composition::Options{});
            }
            const std::size_t whole = m_whole->findLiveUuid(m_composition.objects()[object].uuid);
            if (whole != Composition::NONE && m_whole->objects()[whole].parent != Composition::NONE) {
                addParentInNested(*m_whole, m_whole->objects()[whole].parent, node);
            }
        }
    }

    void addParentInNested(const Composition& composition, std::size_t parent, std::uint32_t node) {
        const Location location = locate(composition, parent);
        std::vector<std::uint32_t> path{location.node};
        for (std::size_t instance = location.instance; instance != 0;
             instance = composition.instances()[instance].enclosing) {
            path.push_back(static_cast<std::uint32_t>(composition.instances()[instance].point));
        }
        path.push_back(node);
        std::reverse(path.begin(), path.end());
        m_block.parents[node] = FileBlock::PARENT_IN_NESTED;
        m_block.below.push_back(std::move(path));
    }

    [[nodiscard]] ObjectComponents components(std::size_t object, std::uint32_t node) {
        const bool isRoot = m_block.root == static_cast<std::int32_t>(node); // The loader sets values of the root.
        ObjectComponents result;
        m_shortForms.clear();
        for (const Composition::Component& component : m_composition.components(object)) {
            ++result.count;
            const bool isShort = component.stored && !isRoot &&
                                 m_plainValues.append(*component.file, *component.stored, m_block.texts, m_shortForms);
            if (!isShort) {
                m_shortForms.push_back(-1);
                result.others.push_back(m_longForm.write(component, m_composition.values(object, component)));
            }
        }
        result.shortForms = m_shortForms; // A copy of the right size.
        return result;
    }

    [[nodiscard]] ObjectComponents longComponents(std::size_t object) const {
        ObjectComponents result;
        for (const Composition::Component& component : m_composition.components(object)) {
            ++result.count;
            result.shortForms.push_back(-1);
            result.others.push_back(m_longForm.write(component, m_composition.values(object, component)));
        }
        return result;
    }

    void addMissing() {
        for (std::size_t node = 0; node < m_isPresent.size(); ++node) {
            if (!m_isPresent[node]) {
                m_block.missing.push_back(static_cast<std::uint32_t>(node));
            }
        }
    }

    PrefabFiles& m_files;
    const PrefabFile& m_file;
    const LongForm m_longForm;
    const Composition m_composition;
    std::unique_ptr<Composition> m_whole; ///< Made for the first parent that the composition does not have.
    PlainValues m_plainValues;
    std::vector<std::int32_t> m_shortForms; ///< Of the current object.
    std::vector<std::uint32_t> m_variants;  ///< Of each instance.
    std::vector<bool> m_isPresent;
    FileBlock m_block;
};

} // namespace

FileBlock makeFileBlock(PrefabFiles& files, const std::string& path, const FileIndices& indices) {
    const PrefabFile& file = files.get(path);
    if (!file.document) {
        FileBlock block;
        block.problem = "The file " + file.problem;
        return block;
    }
    return BlockMaker(files, file, indices).make();
}

} // namespace Kiln::PrefabTool
