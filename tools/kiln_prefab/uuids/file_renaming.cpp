#include "file_renaming.h"

#include "link_values.h"
#include "live_renaming.h"

#include <common/white_space.h>
#include <kiln_prefab/check/command_error.h>
#include <object_serialization/component_library.h>
#include <prefab_inspection/composition/override_source.h>
#include <tessel_asset_loading/prefab_component.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::NestingTypes;
using PrefabInspection::OverrideSource;
using PrefabInspection::PrefabFile;
using PrefabInspection::PrefabFiles;
using PrefabInspection::SourceText;
using PrefabInspection::StoredItem;
using PrefabInspection::StoredObject;
using PrefabInspection::StoredPool;
using PrefabInspection::TextRange;
namespace ElementName = PrefabInspection::ElementName;

constexpr std::string_view OVERRIDES_PROPERTY = "overridesData";

[[nodiscard]] DataNode lastChild(DataNode parent, std::string_view name) {
    DataNode found;
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        found = child.isNamed(name) ? child : found;
    }
    return found;
}

[[nodiscard]] std::optional<Uuid> readUuid(DataNode element) {
    std::string scratch;
    return Uuid::fromString(trimWhiteSpace(element.text(scratch)));
}

class FileRenamer {
public:
    FileRenamer(PrefabFiles& files, const PrefabFile& file, const UuidTable& table)
        : m_file(file), m_table(table), m_live(files, file.path, table), m_isRenamed(file.path == table.path()) {}

    [[nodiscard]] RenamedFile run() {
        if (!m_live.problem().empty()) {
            addProblem({},
                       "links to objects of nested prefabs are not followed, because the prefab cannot be created: " +
                           m_live.problem());
        }
        for (std::size_t i = 0; m_isRenamed && i < m_file.document->objects.size(); ++i) {
            renameObject(i);
        }
        for (const StoredPool& pool : m_file.document->pools) {
            for (const StoredItem& item : pool.items) {
                renameItem(pool, item);
            }
        }
        return std::move(m_result);
    }

private:
    /// Component values that links are searched in.
    struct Values {
        std::size_t instance; ///< The context; NONE if the instance is not known.
        const std::string& type;
        std::size_t typeId;
        DataNode properties;
        const SourceText& text; ///< Contains the properties.
    };

    void renameObject(std::size_t index) {
        const StoredObject& object = m_file.document->objects[index];
        const std::string uuid = m_table.ofObject(index).toString();
        if (!object.uuidElement) {
            insertUuid(object, uuid);
            return;
        }
        const std::string& text = m_file.text->text();
        const TextRange range = m_file.text->valueRange(object.uuidElement);
        const std::string_view old = std::string_view(text).substr(range.begin, range.end - range.begin);
        if (old.empty() && text[range.begin - 2] == '/') { // <uuid/>
            const TextRange element = m_file.text->elementRange(object.uuidElement);
            addEdit(element, "<uuid>" + uuid + "</uuid>");
        } else if (old.find('<') != std::string_view::npos) {
            fail(object, "is written in several pieces and cannot be replaced");
        } else {
            addEdit(range, uuid);
        }
    }

    [[noreturn]] void fail(const StoredObject& object, const std::string& reason) const {
        throw CommandError(m_file.path + ":" + std::to_string(m_file.originOf(object.element).elementRange().line) +
                           ": the UUID of '" + object.nameElement.text() + "' " + reason);
    }

    /// Adds the element in front of the object's first one, on a line of its own if that is on one.
    void insertUuid(const StoredObject& object, const std::string& uuid) {
        const DataNode first = object.element.firstChild();
        if (!first) {
            fail(object, "cannot be added, because the object has no elements");
        }
        const std::string& text = m_file.text->text();
        const std::size_t position = m_file.text->elementRange(first).begin;
        std::size_t space = position;
        while (space > 0 && isWhiteSpace(text[space - 1])) {
            --space;
        }
        addEdit({position, position}, "<uuid>" + uuid + "</uuid>" + text.substr(space, position - space));
    }

    void renameItem(const StoredPool& pool, const StoredItem& item) {
        const NestingTypes& types = NestingTypes::get();
        const bool hasObject = item.object.value < m_file.document->objects.size();
        const std::size_t node = hasObject ? static_cast<std::size_t>(item.object.value) : 0;
        const PrefabFile::Component* const nesting =
            hasObject && !m_file.isRoot(node) ? m_file.findComponent(node, types.prefab) : nullptr;
        const std::size_t nested = nesting ? m_live.nestedInstance(LiveRenaming::WHOLE, node) : LiveRenaming::WHOLE;
        if (nesting && nesting->item == &item) {
            if (nested != LiveRenaming::NONE) {
                renameOverrides(m_file.text, lastChild(item.properties, OVERRIDES_PROPERTY), nested);
            }
        } else if (pool.typeId != types.prefab) {
            // The merged object belongs to the nested instance, and so do its links, apart from that to its parent.
            const std::size_t instance = pool.typeId == types.hierarchy ? LiveRenaming::WHOLE : nested;
            renameLinks({instance, pool.type, pool.typeId, item.properties, *m_file.text});
        }
    }

    void renameLinks(const Values& values) {
        forEachLinkValue(values.properties, values.typeId,
                         [this, &values](DataNode value, LinkKind kind) { renameLink(values, value, kind); });
    }

    void renameLink(const Values& values, DataNode value, LinkKind kind) {
        const std::optional<Uuid> link = readUuid(value);
        if (!link || *link == Uuid::ZERO) {
            return;
        }
        const std::optional<Uuid> renamed = newLink(values.instance, *link);
        if (!renamed || *renamed == *link) {
            return;
        }
        if (kind == LinkKind::OTHER) {
            m_result.otherValues.push_back({m_file.path, values.text.sourceRange(values.text.valueRange(value)),
                                            values.type + "." + std::string(value.name())});
        } else if (replaceUuid(values.text, value, *renamed) && kind == LinkKind::UNKNOWN) {
            ++m_result.unknownComponents[values.type];
        }
    }

    [[nodiscard]] std::optional<Uuid> newLink(std::size_t instance, const Uuid& link) const {
        std::optional<Uuid> renamed;
        if (instance != LiveRenaming::NONE) {
            renamed = m_live.newLink(instance, link);
        }
        // A link that leads nowhere from inside of a nested prefab is taken as the mistake of its author, who meant an
        // object of the file.
        return renamed ? renamed : m_live.newLink(LiveRenaming::WHOLE, link);
    }

    /// Changes override data that applies to an instance.
    void renameOverrides(const std::shared_ptr<const SourceText>& outer, DataNode element, std::size_t instance) {
        std::string scratch;
        if (element.text(scratch).empty()) {
            return;
        }
        const OverrideSource source(m_file.path, outer, element);
        if (!source.problem.empty()) {
            if (m_live.isRenamed(instance)) {
                addProblem(outer->sourceRange(outer->valueRange(element)), source.problem);
            }
            return;
        }
        for (DataNode object = source.section->node().firstChild(); object; object = object.nextSibling()) {
            if (object.isNamed(ElementName::GAME_OBJECT)) {
                renameRecords(source, object, instance);
            }
        }
    }

    void renameRecords(const OverrideSource& source, DataNode object, std::size_t instance) {
        const DataNode element = object.child(ElementName::UUID);
        const std::optional<Uuid> uuid = readUuid(element);
        if (!uuid) {
            return;
        }
        if (const Uuid* const renamed = m_live.newKey(instance, *uuid)) {
            replaceUuid(*source.text, element, *renamed);
        }
        const NestingTypes& types = NestingTypes::get();
        for (DataNode child = object.firstChild(); child; child = child.nextSibling()) {
            const std::string type = child.child(ElementName::TYPE).text();
            const DataNode properties = child.child(ElementName::PROPERTIES);
            if (!child.isNamed(ElementName::COMPONENT) || !properties) {
                continue;
            }
            const std::size_t typeId = ComponentLibrary::instance().findComponent(type);
            if (typeId == types.prefab) {
                const std::size_t nested = m_live.nestedInstance(instance, *uuid);
                if (nested != LiveRenaming::NONE) {
                    renameOverrides(source.text, lastChild(properties, OVERRIDES_PROPERTY), nested);
                }
            } else if (typeId != types.hierarchy || !m_live.isRoot(instance, *uuid)) {
                // The parent of an integration point would be the UUID of a live object, which no file knows.
                renameLinks({instance, type, typeId, properties, *source.text});
            }
        }
    }

    /// Returns false and adds a problem if the UUID can't be replaced, because it is not written in one piece.
    bool replaceUuid(const SourceText& text, DataNode element, const Uuid& uuid) {
        const TextRange range = text.inFile(text.valueRange(element));
        const std::string_view written =
            std::string_view(m_file.text->text()).substr(range.begin, range.end - range.begin);
        if (!Uuid::fromString(written)) {
            addProblem(m_file.text->sourceRange(range),
                       "a UUID is written in several pieces or with references and cannot be replaced");
            return false;
        }
        addEdit(range, uuid.toString());
        ++m_result.linksCount;
        return true;
    }

    void addEdit(TextRange range, std::string text) {
        m_result.edits.push_back({range.begin, range.end - range.begin, std::move(text)});
    }

    void addProblem(const PrefabInspection::SourceRange& range, std::string text) {
        m_result.problems.push_back({m_file.path, range, std::move(text)});
    }

    const PrefabFile& m_file;
    const UuidTable& m_table;
    LiveRenaming m_live;
    const bool m_isRenamed;
    RenamedFile m_result;
};

} // namespace

RenamedFile renameUuids(PrefabFiles& files, const PrefabFile& file, const UuidTable& table) {
    return FileRenamer(files, file, table).run();
}

} // namespace Kiln::PrefabTool
