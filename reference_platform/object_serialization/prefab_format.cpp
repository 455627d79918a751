#include <object_serialization/prefab_format.h>

#include <common/number_text.h>
#include <common/white_space.h>
#include <core/log.h>
#include <core/printable_text.h>
#include <object_serialization/property_io.h>

#include <array>
#include <charconv>
#include <limits>
#include <utility>

namespace Kiln::Tessel {

namespace {

constexpr const char* SOURCE = "object_serialization/prefab_format";

// Element names.
constexpr std::string_view FORMAT_VERSION_NAME = "formatVersion";
constexpr std::string_view GAME_OBJECTS = "gameObjects";
constexpr std::string_view GAME_OBJECT = "gameObject";
constexpr std::string_view UUID = "uuid";
constexpr std::string_view NAME = "name";
constexpr std::string_view FLAGS = "flags";
constexpr std::string_view COMPONENTS = "components";
constexpr std::string_view POOL = "pool";
constexpr std::string_view TYPE = "type";
constexpr std::string_view VERSION = "version";
constexpr std::string_view ITEM = "item";
constexpr std::string_view OPTIONS = "options";
constexpr std::string_view PROPERTIES = "properties";

constexpr std::uint64_t NO_GAME_OBJECT = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint32_t FLAGS_LIMIT = 1U << 6U;

void reportUnreadable(const DataSection& document, DataNode node, const std::string& text) {
    DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
        .message("'%s' can't be read from '%s' (%s, line %zu)", std::string(node.name()).c_str(),
                 shortenedText(text).c_str(), document.source().c_str(), document.positionOf(node).line);
}

/// Finds the children of a node by name, fast when they are requested in the order of the document, each once.
class ChildFinder {
public:
    explicit ChildFinder(DataNode parent) : m_parent(parent), m_next(parent.firstChild()) {}

    /// The first child of that name; null when there is none.
    DataNode find(std::string_view name) {
        if (m_next.isNamed(name)) {
            return std::exchange(m_next, m_next.nextSibling());
        }
        const DataNode found = m_parent.child(name);
        if (found) {
            m_next = {}; // The next child that is requested may come before `found`.
        }
        return found;
    }

private:
    DataNode m_parent;
    DataNode m_next; ///< The next expected child while requests follow the document order; then null.
};

/// A number from a node's text: `absent` for a null node; `unreadable`, with an error in the log, when the text is not
/// a decimal number up to `limit`.
template <class Number>
[[nodiscard]] Number readNumber(const DataSection& document, DataNode node, Number absent, Number unreadable,
                                Number limit = std::numeric_limits<Number>::max()) {
    if (!node) {
        return absent;
    }
    if (node.valueKind() == DataValueKind::INTEGER && node.integerValue() <= limit) {
        return node.integerValue();
    }
    std::string scratch;
    const std::string_view text = trimWhiteSpace(node.text(scratch));
    Number number = 0;
    if (!Kiln::readNumber(text, number) || number > limit) {
        reportUnreadable(document, node, std::string(text));
        return unreadable;
    }
    return number;
}

/// Writes a number into a node; a null node is created under `parent` first.
template <class Number>
void writeNumber(DataNode& node, DataNode parent, std::string_view name, Number number) {
    if (!node) {
        node = parent.append(name);
    }
    std::array<char, std::numeric_limits<Number>::digits10 + 2> text;
    node.setText({text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr});
}

template <class Number>
void writeNumber(DataNode parent, std::string_view name, Number number) {
    DataNode node = parent.child(name);
    writeNumber(node, parent, name, number);
}

[[nodiscard]] std::vector<DataNode> childrenNamed(DataNode parent, std::string_view name) {
    std::vector<DataNode> children;
    for (DataNode child = parent.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(name)) {
            children.push_back(child);
        }
    }
    return children;
}

} // namespace

SmartPointer<GameObjectDescriptor> GameObjectData::getDescriptor() const {
    SmartPointer<GameObjectDescriptor> descriptor = makeSmart<GameObjectDescriptor>();
    ChildFinder children(m_node);
    const DataNode uuidNode = children.find(UUID);
    descriptor->setUuid(uuidNode.valueKind() == DataValueKind::UUID ? uuidNode.uuidValue() : parseUuid(uuidNode));
    std::string scratch;
    descriptor->setName(children.find(NAME).text(scratch));
    descriptor->setFlags(readNumber<std::uint32_t>(*m_document, children.find(FLAGS), 0, 0, FLAGS_LIMIT - 1));
    return descriptor;
}

/// Uuid::ZERO, with an error in the log, if the node is null or its text is no UUID.
Uuid GameObjectData::parseUuid(DataNode node) const {
    std::string scratch;
    const std::string_view text = trimWhiteSpace(node.text(scratch));
    const std::optional<Uuid> uuid = Uuid::fromString(text);
    if (!uuid) {
        DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
            .message("A game object's UUID can't be read from '%s' (%s, line %zu)", shortenedText(text).c_str(),
                     m_document->source().c_str(), m_document->positionOf(node ? node : m_node).line);
    }
    return uuid.value_or(Uuid::ZERO);
}

GameObjectPool::GameObjectPool(SmartPointer<DataSection> section)
    : m_section(std::move(section)), m_nodes(childrenNamed(m_section->node(), GAME_OBJECT)) {}

void GameObjectPool::addGameObject(const SmartPointer<GameObjectDescriptor>& descriptor) {
    const DataNode node = m_section->node().append(GAME_OBJECT);
    node.append(UUID).setText(descriptor->uuid().toString());
    node.append(NAME).setText(descriptor->name());
    DataNode flags;
    writeNumber(flags, node, FLAGS, descriptor->flags().to_ulong());
    m_nodes.push_back(node);
}

ComponentItem::ComponentItem(const DataSection& document, const std::string& componentName, DataNode node)
    : m_document(&document), m_componentName(&componentName), m_node(node) {
    ChildFinder children(node);
    m_gameObject = children.find(GAME_OBJECT);
    m_options = children.find(OPTIONS);
    m_properties = children.find(PROPERTIES);
}

ComponentItem::ComponentItem(const DataSection& document, const std::string& componentName, DataNode node,
                             std::uint64_t gameObjectIndex)
    : m_document(&document), m_componentName(&componentName), m_node(node) {
    writeNumber(m_gameObject, m_node, GAME_OBJECT, gameObjectIndex);
}

std::uint64_t ComponentItem::getGameObjectIndex() const {
    return readNumber(*m_document, child(m_gameObject, GAME_OBJECT), NO_GAME_OBJECT, NO_GAME_OBJECT);
}

ComponentOptions ComponentItem::getInstanceOptions() const {
    return ComponentOptions(readNumber(*m_document, child(m_options, OPTIONS), ALL_ROLES.bits(), ALL_ROLES.bits()));
}

void ComponentItem::setInstanceOptions(ComponentOptions options) {
    m_options = child(m_options, OPTIONS);
    writeNumber(m_options, m_node, OPTIONS, options.bits());
}

void ComponentItem::constructConfig(const mirra::ReflectedObject& configuration,
                                    const DeseriralizeErrorHandler* handler) const {
    readProperties(*m_document, child(m_properties, PROPERTIES), configuration, *m_componentName, handler);
}

void ComponentItem::storeConfig(const mirra::ReflectedObject& configuration) {
    writeProperties(m_node.append(PROPERTIES), configuration);
}

std::optional<PropertyItem> ComponentItem::findProperty(std::string_view name) const {
    const DataNode property = child(m_properties, PROPERTIES).child(name);
    return property ? std::optional(PropertyItem(property)) : std::nullopt;
}

ComponentPool::ComponentPool(SmartPointer<DataSection> section)
    : m_section(std::move(section)),
      m_type(m_section->node().child(TYPE).text()),
      m_items(childrenNamed(m_section->node(), ITEM)) {}

std::uint32_t ComponentPool::getComponentVersion() const {
    return readNumber<std::uint32_t>(*m_section, m_section->node().child(VERSION),
                                     PrefabFormat::DEFAULT_COMPONENT_VERSION, 0);
}

void ComponentPool::setComponentVersion(std::uint32_t version) {
    writeNumber(m_section->node(), VERSION, version);
}

ComponentItem ComponentPool::addComponent(std::uint64_t gameObjectIndex) {
    const DataNode node = m_section->node().append(ITEM);
    m_items.push_back(node);
    return {*m_section, m_type, node, gameObjectIndex};
}

ComponentPoolStorage::ComponentPoolStorage(SmartPointer<DataSection> section) : m_section(std::move(section)) {
    for (DataNode child = m_section->node().firstChild(); child; child = child.nextSibling()) {
        m_pools.push_back(std::make_unique<ComponentPool>(makeSmart<DataSection>(*m_section, child)));
    }
}

ComponentPool* ComponentPoolStorage::findComponentPool(std::string_view name) {
    for (const std::unique_ptr<ComponentPool>& pool : m_pools) {
        if (pool->getComponentType() == name) {
            return pool.get();
        }
    }
    return nullptr;
}

ComponentPool& ComponentPoolStorage::createComponentPool(std::string_view name) {
    const SmartPointer<DataSection> section = m_section->newSection(POOL);
    section->writeString(TYPE, name);
    return *m_pools.emplace_back(std::make_unique<ComponentPool>(section));
}

PrefabFormat::PrefabFormat(SmartPointer<DataSection> section) : m_section(std::move(section)) {
    if (!m_section) {
        return;
    }
    if (SmartPointer<DataSection> gameObjects = m_section->openSection(GAME_OBJECTS, false)) {
        m_gameObjects = std::make_unique<GameObjectPool>(std::move(gameObjects));
    }
    if (SmartPointer<DataSection> components = m_section->openSection(COMPONENTS, false)) {
        m_components = std::make_unique<ComponentPoolStorage>(std::move(components));
    }
}

PrefabFormat::~PrefabFormat() = default;

std::uint32_t PrefabFormat::getFormatVersion() const {
    return m_section ? readNumber<std::uint32_t>(*m_section, m_section->node().child(FORMAT_VERSION_NAME), 0, 0) : 0;
}

void PrefabFormat::setFormatVersion(std::uint32_t version) {
    writeNumber(m_section->node(), FORMAT_VERSION_NAME, version);
}

GameObjectPool* PrefabFormat::getGameObjects() {
    return m_gameObjects.get();
}
ComponentPoolStorage* PrefabFormat::getComponents() {
    return m_components.get();
}

GameObjectPool& PrefabFormat::createGameObjectPool() {
    m_gameObjects = std::make_unique<GameObjectPool>(m_section->newSection(GAME_OBJECTS));
    return *m_gameObjects;
}

ComponentPoolStorage& PrefabFormat::createComponentPoolStorage() {
    m_components = std::make_unique<ComponentPoolStorage>(m_section->newSection(COMPONENTS));
    return *m_components;
}

} // namespace Kiln::Tessel
