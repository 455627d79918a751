#include "tree_mutations.h"

#include "wrong_texts.h"

#include <common/uuid.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <sstream>

namespace Kiln::AgreementTests {

namespace {

using Elements = std::vector<pugi::xml_node>;

constexpr unsigned PARSE_OPTIONS = pugi::parse_full | pugi::parse_ws_pcdata;
constexpr std::size_t MAX_OVERRIDE_DEPTH = 4;

constexpr const char* ELEMENT_NAMES[] = {
    "prefab",     "formatVersion", "gameObjects", "gameObject", "uuid",     "name",    "flags",
    "components", "pool",          "type",        "version",    "item",     "options", "properties",
    "value",      "overrides",     "parent",      "component",  "resource", "tag",     "overridesData"};

class DocumentMutation {
public:
    DocumentMutation(pugi::xml_document& document, const DocumentContext& context, std::size_t depth)
        : m_document(document), m_context(context), m_random(context.random), m_depth(depth) {
        collect(document);
    }

    [[nodiscard]] std::string make() {
        using Mistake = std::string (DocumentMutation::*)();
        struct Choice {
            Mistake mistake;
            std::size_t weight;
        };
        static constexpr Choice CHOICES[] = {
            {&DocumentMutation::changeText, 8},
            {&DocumentMutation::changeValue, 8},
            {&DocumentMutation::changeOverrides, 8},
            {&DocumentMutation::removeElement, 4},
            {&DocumentMutation::repeatElement, 4},
            {&DocumentMutation::misspellElement, 3},
            {&DocumentMutation::renameElement, 2},
            {&DocumentMutation::swapSiblings, 2},
            {&DocumentMutation::moveElement, 2},
            {&DocumentMutation::copyElement, 2},
            {&DocumentMutation::insertElement, 2},
            {&DocumentMutation::clearElement, 2},
            {&DocumentMutation::splitText, 1},
            {&DocumentMutation::copyText, 3},
            {&DocumentMutation::copyOverrides, 2},
            {&DocumentMutation::linkDeeper, 4},
            {&DocumentMutation::takeUuidOfNestedObject, 1},
            {&DocumentMutation::addRecord, 6},
            {&DocumentMutation::addPoint, 2},
            {&DocumentMutation::addRoot, 1},
            {&DocumentMutation::addComponent, 3},
            {&DocumentMutation::makeParentCycle, 1},
            {&DocumentMutation::nestDeeply, 1},
            {&DocumentMutation::addProperty, 3},
            {&DocumentMutation::addAttribute, 1},
        };
        std::size_t sum = 0;
        for (const Choice& choice : CHOICES) {
            sum += choice.weight;
        }
        std::size_t number = m_random.below(sum);
        const Choice* chosen = std::begin(CHOICES);
        for (; number >= chosen->weight; ++chosen) {
            number -= chosen->weight;
        }
        return (this->*chosen->mistake)();
    }

private:
    void collect(pugi::xml_node parent) {
        for (const pugi::xml_node child : parent.children()) {
            if (child.type() == pugi::node_element) {
                m_elements.push_back(child);
                collect(child);
            }
        }
    }

    [[nodiscard]] Elements named(const std::string& name) const {
        Elements found;
        std::copy_if(m_elements.begin(), m_elements.end(), std::back_inserter(found),
                     [&name](pugi::xml_node element) { return element.name() == name; });
        return found;
    }

    [[nodiscard]] static bool hasElements(pugi::xml_node element) {
        return std::any_of(element.begin(), element.end(),
                           [](pugi::xml_node child) { return child.type() == pugi::node_element; });
    }

    [[nodiscard]] Elements leaves() const {
        Elements found;
        std::copy_if(m_elements.begin(), m_elements.end(), std::back_inserter(found),
                     [](pugi::xml_node element) { return !hasElements(element); });
        return found;
    }

    [[nodiscard]] static std::string textOf(pugi::xml_node element) {
        std::string text;
        for (const pugi::xml_node child : element.children()) {
            if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
                text += child.value();
            }
        }
        return text;
    }

    void setText(pugi::xml_node element, const std::string& text) {
        element.remove_children();
        const bool isCdata =
            text.find("]]>") == std::string::npos && text.find('<') != std::string::npos && m_random.isOneIn(2);
        element.append_child(isCdata ? pugi::node_cdata : pugi::node_pcdata).set_value(text.c_str());
    }

    /// Where an element stands: names, with the number among the siblings of that name.
    [[nodiscard]] static std::string pathOf(pugi::xml_node element) {
        std::string path;
        for (; element.type() == pugi::node_element; element = element.parent()) {
            std::size_t number = 0;
            for (pugi::xml_node sibling = element; sibling; sibling = sibling.previous_sibling(element.name())) {
                ++number;
            }
            path = std::string("/") + element.name() + "[" + std::to_string(number) + "]" + path;
        }
        return path;
    }

    [[nodiscard]] static std::string quoted(const std::string& text) {
        return "'" + (text.size() > 300 ? text.substr(0, 300) + "..." : text) + "'";
    }

    std::string changeText() { return changeTextOf(leaves()); }

    /// Changes the text of a property, or of an element of one.
    std::string changeValue() {
        Elements candidates = leaves();
        std::erase_if(candidates, [](pugi::xml_node element) {
            while (element && std::string_view(element.name()) != "properties") {
                element = element.parent();
            }
            return !element;
        });
        return changeTextOf(candidates);
    }

    std::string changeTextOf(const Elements& candidates) {
        if (candidates.empty()) {
            return {};
        }
        const pugi::xml_node element = m_random.pick(candidates);
        const std::string text = wrongText(element.name(), textOf(element), m_context);
        std::string description = "text of " + pathOf(element) + " becomes " + quoted(text);
        setText(element, text);
        return description;
    }

    /// Makes a mistake inside an override text.
    std::string changeOverrides() {
        const Elements candidates = named("overridesData");
        if (candidates.empty() || m_depth == MAX_OVERRIDE_DEPTH) {
            return {};
        }
        const pugi::xml_node element = m_random.pick(candidates);
        pugi::xml_document inner;
        if (!parseDocument(inner, textOf(element))) {
            return {};
        }
        const std::string description = DocumentMutation(inner, m_context, m_depth + 1).make();
        if (description.empty()) {
            return {};
        }
        setText(element, documentText(inner));
        return "in the text of " + pathOf(element) + ": " + description;
    }

    std::string removeElement() {
        const pugi::xml_node element = m_random.pick(m_elements);
        std::string description = "remove " + pathOf(element);
        element.parent().remove_child(element);
        return description;
    }

    std::string repeatElement() {
        const pugi::xml_node element = m_random.pick(m_elements);
        element.parent().insert_copy_after(element, element);
        return "repeat " + pathOf(element);
    }

    std::string misspellElement() {
        pugi::xml_node element = m_random.pick(m_elements);
        std::string description = "misspell " + pathOf(element);
        element.set_name(misspelt(element.name(), m_random).c_str());
        return description + " as " + element.name();
    }

    std::string renameElement() {
        pugi::xml_node element = m_random.pick(m_elements);
        std::string description = "rename " + pathOf(element);
        element.set_name(m_random.isOneIn(2) ? m_random.pick(ELEMENT_NAMES) : anyProperty(m_random).c_str());
        return description + " to " + element.name();
    }

    std::string swapSiblings() {
        const pugi::xml_node element = m_random.pick(m_elements);
        Elements siblings;
        for (const pugi::xml_node sibling : element.parent().children()) {
            if (sibling.type() == pugi::node_element && sibling != element) {
                siblings.push_back(sibling);
            }
        }
        if (siblings.empty()) {
            return {};
        }
        const pugi::xml_node other = m_random.pick(siblings);
        std::string description = "move " + pathOf(element) + " behind " + pathOf(other);
        element.parent().insert_move_after(element, other);
        return description;
    }

    std::string moveElement() {
        const pugi::xml_node element = m_random.pick(m_elements);
        pugi::xml_node target = m_random.pick(m_elements);
        std::string description = "move " + pathOf(element) + " into " + pathOf(target);
        return target.append_move(element) ? description : std::string();
    }

    std::string copyElement() {
        const pugi::xml_node element = m_random.pick(m_elements);
        pugi::xml_node target = m_random.pick(m_elements);
        std::string description = "copy " + pathOf(element) + " into " + pathOf(target);
        return target.append_copy(element) ? description : std::string();
    }

    std::string insertElement() {
        pugi::xml_node target = m_random.pick(m_elements);
        const char* const name = m_random.pick(ELEMENT_NAMES);
        std::string description = std::string("add ") + name + " to " + pathOf(target);
        const pugi::xml_node added = m_random.isOneIn(2) ? target.append_child(name) : target.prepend_child(name);
        if (!m_random.isOneIn(3)) {
            const std::string text = wrongText(name, {}, m_context);
            setText(added, text);
            description += " with the text " + quoted(text);
        }
        return description;
    }

    std::string clearElement() {
        pugi::xml_node element = m_random.pick(m_elements);
        std::string description = "empty " + pathOf(element);
        element.remove_children();
        return description;
    }

    /// Puts a comment, an element or a section into the middle of a text.
    std::string splitText() {
        const Elements candidates = leaves();
        pugi::xml_node element = m_random.pick(candidates);
        const std::string text = textOf(element);
        const std::size_t middle = m_random.below(text.size() + 1);
        std::string description = "split the text of " + pathOf(element) + " at " + std::to_string(middle);
        element.remove_children();
        element.append_child(pugi::node_pcdata).set_value(text.substr(0, middle).c_str());
        switch (m_random.below(3)) {
        case 0:
            element.append_child(pugi::node_comment).set_value(" comment ");
            break;
        case 1:
            element.append_child("value").text().set("1");
            description += " with an element";
            break;
        default:
            break;
        }
        element.append_child(pugi::node_cdata).set_value(text.substr(middle).c_str());
        return description;
    }

    /// Copies a text between two elements of the same name.
    std::string copyText() {
        const pugi::xml_node element = m_random.pick(leaves());
        const Elements others = named(element.name());
        const pugi::xml_node other = m_random.pick(others);
        if (other == element || hasElements(other)) {
            return {};
        }
        setText(other, textOf(element));
        return "copy the text of " + pathOf(element) + " to " + pathOf(other);
    }

    std::string copyOverrides() {
        const Elements points = named("resource");
        const Elements texts = named("overridesData");
        if (points.empty() || texts.empty()) {
            return {};
        }
        const pugi::xml_node text = m_random.pick(texts);
        pugi::xml_node properties = m_random.pick(points).parent();
        pugi::xml_node target = properties.child("overridesData");
        if (!target) {
            target = properties.append_child("overridesData");
        }
        if (target != text) {
            setText(target, textOf(text));
        }
        return "copy " + pathOf(text) + " to " + pathOf(target);
    }

    /// A record for an object, which may be in the nested prefab and have the component, or not.
    [[nodiscard]] std::string anyRecord(const std::string& nested) {
        struct Value {
            const char* type;
            const char* property;
        };
        static constexpr Value VALUES[] = {{"HierarchyComponent", "parent"},
                                           {"HierarchyComponent", "parent"},
                                           {"TransformComponent", "local"},
                                           {"PrefabComponent", "resource"},
                                           {"PrefabComponent", "resource"},
                                           {"PrefabComponent", "overridesData"},
                                           {"PrefabComponent", "overridesData"},
                                           {"PrefabComponent", "hasOverrides"},
                                           {"TagComponent", "tag"},
                                           {"ValuesComponent", "int8"},
                                           {"ValuesComponent", "numbers"},
                                           {"ValuesComponent", "tree"},
                                           {"LinksComponent", "target"},
                                           {"LinksComponent", "wires"},
                                           {"LampComponent", "brightness"},
                                           {"CraneComponent", "load"}};
        const Value& value = m_random.pick(VALUES);
        const std::string type = m_random.isOneIn(6) ? wrongType(value.type, m_random) : value.type;
        const std::string property = m_random.isOneIn(6) ? anyProperty(m_random) : value.property;
        const auto known = m_context.uuidsByPath.find(nested);
        const bool isKnown = known != m_context.uuidsByPath.end() && !known->second.empty() && !m_random.isOneIn(6);
        pugi::xml_document record;
        pugi::xml_node object = record.append_child("gameObject");
        object.append_child("uuid").text().set(m_random.pick(isKnown ? known->second : m_context.uuids).c_str());
        pugi::xml_node component = object.append_child("component");
        component.append_child("type").text().set(type.c_str());
        pugi::xml_node properties = component.append_child("properties");
        properties.append_child(property.c_str()).text().set(wrongText(property, "x", m_context).c_str());
        return documentText(record);
    }

    std::string addRecord() {
        const Elements points = named("resource");
        if (points.empty()) {
            return {};
        }
        pugi::xml_node properties = m_random.pick(points).parent();
        pugi::xml_node data = properties.child("overridesData");
        if (!data) {
            data = properties.append_child("overridesData");
        }
        std::string text = textOf(data);
        if (text.find("</overrides>") == std::string::npos) {
            text = "<overrides></overrides>";
        }
        const std::string record = anyRecord(properties.child_value("resource"));
        text.insert(text.rfind("</overrides>"), record);
        setText(data, text);
        return "add the record " + quoted(record) + " to " + pathOf(data);
    }

    /// The pool of a type, made if there is none; null in a document without components.
    [[nodiscard]] pugi::xml_node poolOf(const std::string& type) {
        for (const pugi::xml_node pool : named("pool")) {
            if (pool.child_value("type") == type) {
                return pool;
            }
        }
        const Elements components = named("components");
        if (components.empty()) {
            return {};
        }
        pugi::xml_node first = components.front();
        pugi::xml_node pool = first.append_child("pool");
        pool.append_child("type").text().set(type.c_str());
        pool.append_child("version").text().set("1");
        m_elements.push_back(pool);
        return pool;
    }

    /// The `properties` of a new component.
    [[nodiscard]] pugi::xml_node addItem(const std::string& type, std::size_t object) {
        pugi::xml_node pool = poolOf(type);
        pugi::xml_node item = pool.append_child("item");
        item.append_child("gameObject").text().set(static_cast<unsigned long long>(object));
        return item.append_child("properties");
    }

    /// The index of a new object.
    [[nodiscard]] std::size_t addObject(const std::string& name) {
        pugi::xml_node objects = m_document.document_element().child("gameObjects");
        const auto present = objects.children("gameObject");
        const auto count = static_cast<std::size_t>(std::distance(present.begin(), present.end()));
        pugi::xml_node object = objects.append_child("gameObject");
        object.append_child("uuid").text().set(
            ("00000000-0000-0000-9999-" + std::to_string(100'000'000'000 + count)).c_str());
        object.append_child("name").text().set(name.c_str());
        return count;
    }

    [[nodiscard]] bool isPrefab() const {
        return m_document.document_element().child("gameObjects") && m_document.document_element().child("components");
    }

    std::string addPoint() {
        if (!isPrefab()) {
            return {};
        }
        const std::size_t object = addObject("Added point");
        const std::string parent = m_random.pick(m_context.uuids);
        const std::string path = wrongText("resource", "leaf.prefab", m_context);
        addItem("HierarchyComponent", object).append_child("parent").text().set(parent.c_str());
        addItem("PrefabComponent", object).append_child("resource").text().set(path.c_str());
        return "add an integration point of " + quoted(path) + " below " + parent;
    }

    std::string addRoot() {
        if (!isPrefab()) {
            return {};
        }
        const std::size_t object = addObject("Added root");
        if (m_random.isOneIn(2)) {
            addItem("TagComponent", object).append_child("tag").text().set("root");
        }
        return "add a root";
    }

    std::string addComponent() {
        const Elements items = named("item");
        if (!isPrefab() || items.empty()) {
            return {};
        }
        const std::string type = wrongType("LinksComponent", m_random);
        const std::string property = anyProperty(m_random);
        const std::size_t object = m_random.below(6);
        addItem(type, object).append_child(property.c_str()).text().set(wrongText(property, "1", m_context).c_str());
        return "add " + quoted(type) + " with " + property + " to object " + std::to_string(object);
    }

    /// The UUID by which the document links to an object of a prefab that it nests; empty if it nests none.
    [[nodiscard]] std::string uuidOfNestedObject() {
        const Elements resources = named("resource");
        const pugi::xml_node objects = m_document.document_element().child("gameObjects");
        if (resources.empty() || !objects) {
            return {};
        }
        const pugi::xml_node resource = m_random.pick(resources);
        std::size_t index = resource.parent().parent().child("gameObject").text().as_uint();
        pugi::xml_node point = objects.child("gameObject");
        for (; point && index > 0; --index) {
            point = point.next_sibling("gameObject");
        }
        const auto nested = m_context.uuidsByPath.find(resource.child_value());
        const std::optional<Uuid> outer = Uuid::fromString(point.child_value("uuid"));
        if (!outer || nested == m_context.uuidsByPath.end() || nested->second.empty()) {
            return {};
        }
        const std::optional<Uuid> inner = Uuid::fromString(m_random.pick(nested->second));
        return inner ? Uuid::combine(*outer, *inner).toString() : std::string();
    }

    /// Lets a parent or link lead to an object of a nested prefab.
    std::string linkDeeper() {
        Elements links = named("parent");
        for (const char* const name : {"target", "end", "load"}) {
            const Elements more = named(name);
            links.insert(links.end(), more.begin(), more.end());
        }
        const std::string uuid = uuidOfNestedObject();
        if (links.empty() || uuid.empty()) {
            return {};
        }
        const pugi::xml_node link = m_random.pick(links);
        setText(link, uuid);
        return pathOf(link) + " leads to " + uuid + " in a nested prefab";
    }

    std::string takeUuidOfNestedObject() {
        const Elements uuids = named("uuid");
        const std::string uuid = uuidOfNestedObject();
        if (uuids.empty() || uuid.empty()) {
            return {};
        }
        const pugi::xml_node taken = m_random.pick(uuids);
        setText(taken, uuid);
        return pathOf(taken) + " becomes " + uuid + ", that of an object in a nested prefab";
    }

    std::string makeParentCycle() {
        const Elements parents = named("parent");
        const Elements uuids = named("uuid");
        if (parents.empty() || uuids.empty()) {
            return {};
        }
        const pugi::xml_node parent = m_random.pick(parents);
        const std::string target = textOf(m_random.pick(uuids));
        setText(parent, target);
        return pathOf(parent) + " becomes " + target + " of the same file";
    }

    /// A value with many levels, which the reader of properties limits.
    std::string nestDeeply() {
        const Elements trees = named("tree");
        if (trees.empty()) {
            return {};
        }
        pugi::xml_node element = m_random.pick(trees);
        const std::size_t levels = 60 + m_random.below(10);
        for (std::size_t i = 0; i < levels; ++i) {
            element = element.append_child("children").append_child("value");
        }
        return "nest " + std::to_string(levels) + " trees";
    }

    std::string addProperty() {
        const Elements candidates = named("properties");
        if (candidates.empty()) {
            return {};
        }
        pugi::xml_node properties = m_random.pick(candidates);
        const std::string property = anyProperty(m_random);
        const std::string text = wrongText(property, "1", m_context);
        properties.append_child(property.c_str()).text().set(text.c_str());
        return "add the property " + property + " with " + quoted(text) + " to " + pathOf(properties);
    }

    std::string addAttribute() {
        pugi::xml_node element = m_random.pick(m_elements);
        element.append_attribute("note").set_value("1 < 2 & \"3\"");
        return "add an attribute to " + pathOf(element);
    }

    pugi::xml_document& m_document;
    const DocumentContext& m_context;
    RandomChoice& m_random;
    std::size_t m_depth; ///< Of override texts around the document.
    Elements m_elements;
};

} // namespace

std::string mutateDocument(pugi::xml_document& document, const DocumentContext& context) {
    return document.document_element() ? DocumentMutation(document, context, 0).make() : std::string();
}

std::string documentText(const pugi::xml_document& document) {
    std::ostringstream stream;
    document.save(stream, "", pugi::format_raw | pugi::format_no_declaration);
    return stream.str();
}

bool parseDocument(pugi::xml_document& document, const std::string& text) {
    return document.load_buffer(text.data(), text.size(), PARSE_OPTIONS, pugi::encoding_utf8) &&
           document.document_element();
}

void collectUuids(const pugi::xml_document& document, std::vector<std::string>& uuids) {
    struct Collector final : pugi::xml_tree_walker {
        explicit Collector(std::vector<std::string>& found) : uuids(found) {}
        bool for_each(pugi::xml_node& node) override {
            if (std::string_view(node.name()) == "uuid" && node.first_child()) {
                uuids.emplace_back(node.child_value());
            }
            return true;
        }
        std::vector<std::string>& uuids;
    };
    Collector collector(uuids);
    pugi::xml_document copy;
    copy.reset(document);
    copy.traverse(collector);
}

} // namespace Kiln::AgreementTests
