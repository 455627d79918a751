#include <prefab_inspection/documents/prefab_document.h>

#include <common/number_text.h>
#include <common/white_space.h>
#include <object_serialization/component_descriptor.h>
#include <object_serialization/component_library.h>
#include <object_serialization/prefab_format.h>

#include <optional>
#include <stdexcept>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::ComponentOption;
using Tessel::ComponentOptions;
using Tessel::PrefabFormat;

constexpr std::uint32_t MAX_FLAGS = 63;

/// Reads the number of an element, which may be null: `absent` without one, `unreadable` for any other text.
template <class Number>
[[nodiscard]] StoredNumber<Number> readStored(DataNode element, Number absent, Number unreadable,
                                              Number limit = std::numeric_limits<Number>::max()) {
    StoredNumber<Number> stored{absent, element, true};
    if (element) {
        std::string scratch;
        stored.isReadable = readNumber(trimWhiteSpace(element.text(scratch)), stored.value) && stored.value <= limit;
        stored.value = stored.isReadable ? stored.value : unreadable;
    }
    return stored;
}

[[nodiscard]] StoredObject readObject(DataNode element) {
    StoredObject object;
    object.element = element;
    DataNode flags;
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        if (!object.uuidElement && child.isNamed(ElementName::UUID)) {
            object.uuidElement = child;
        } else if (!object.nameElement && child.isNamed(ElementName::NAME)) {
            object.nameElement = child;
        } else if (!flags && child.isNamed(ElementName::FLAGS)) {
            flags = child;
        } else {
            object.hasOtherElements = true;
        }
    }
    std::string scratch;
    const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(object.uuidElement.text(scratch)));
    object.isUuidReadable = uuid.has_value();
    object.uuid = uuid.value_or(Uuid::ZERO);
    object.flags = readStored<std::uint32_t>(flags, 0, 0, MAX_FLAGS);
    return object;
}

[[nodiscard]] StoredItem readItem(DataNode element) {
    StoredItem item;
    item.element = element;
    DataNode object;
    DataNode options;
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        if (!object && child.isNamed(ElementName::GAME_OBJECT)) {
            object = child;
        } else if (!options && child.isNamed(ElementName::OPTIONS)) {
            options = child;
        } else if (!item.properties && child.isNamed(ElementName::PROPERTIES)) {
            item.properties = child;
        } else {
            item.hasOtherElements = true;
        }
    }
    item.object = readStored<std::uint64_t>(object, StoredItem::NO_OBJECT, StoredItem::NO_OBJECT);
    item.options = readStored<std::uint32_t>(options, Tessel::ALL_ROLES.bits(), Tessel::ALL_ROLES.bits());
    return item;
}

[[nodiscard]] StoredPool readPool(DataNode element) {
    StoredPool pool;
    pool.element = element;
    pool.typeElement = element.child(ElementName::TYPE);
    pool.type = pool.typeElement.text();
    pool.typeId = ComponentLibrary::instance().findComponent(pool.type);
    pool.version =
        readStored<std::uint32_t>(element.child(ElementName::VERSION), PrefabFormat::DEFAULT_COMPONENT_VERSION, 0);
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(ElementName::ITEM)) {
            pool.items.push_back(readItem(child));
        }
    }
    return pool;
}

} // namespace

PrefabDocument::PrefabDocument(SmartPointer<DataSection> document) : section(std::move(document)) {
    const DataNode root = section->node();
    formatVersion = readStored<std::uint32_t>(root.child(ElementName::FORMAT_VERSION), 0, 0);
    gameObjectsElement = root.child(ElementName::GAME_OBJECTS);
    componentsElement = root.child(ElementName::COMPONENTS);
    for (DataNode child = gameObjectsElement.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(ElementName::GAME_OBJECT)) {
            objects.push_back(readObject(child));
        }
    }
    for (DataNode child = componentsElement.firstChild(); child; child = child.nextSibling()) {
        pools.push_back(readPool(child)); // Whatever its name, as the loader does.
    }
}

bool PrefabDocument::isLoadable() const noexcept {
    return formatVersion.value == PrefabFormat::FORMAT_VERSION && gameObjectsElement;
}

bool PrefabDocument::isRead(const StoredPool& pool, const StoredItem& item) const {
    if (pool.typeId == ComponentLibrary::INVALID_ID || item.object.value >= objects.size()) {
        return false;
    }
    try {
        const ComponentOptions record = ComponentLibrary::instance().componentMeta(pool.typeId).options;
        const ComponentOptions options =
            record.has(ComponentOption::USE_RECORD_OPTIONS) ? record : ComponentOptions(item.options.value) & record;
        return record.has(ComponentOption::SKIP_ROLE_CHECK) || IComponentDescriptor::needToDeserialize(options);
    } catch (const std::runtime_error&) {
        return false;
    }
}

} // namespace Kiln::PrefabInspection
