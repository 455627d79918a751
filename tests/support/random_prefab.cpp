#include <support/random_prefab.h>

#include <common/white_space.h>
#include <resource/data_section.h>

#include <algorithm>
#include <array>
#include <set>

namespace Kiln::TestSupport {

namespace {

const std::array<std::string, 3> TYPES{"CargoComponent", "LampComponent", "SignComponent"};
const std::array<std::string, 4> PROPERTIES{"brightness", "colour", "label", "target"};
constexpr std::size_t PROTECTED_COUNT = 4;

[[nodiscard]] Uuid randomUuid(RandomSource& source) {
    const std::uint64_t high = source();
    return {high, source()};
}

[[nodiscard]] std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '<' ? "&lt;" : character == '>' ? "&gt;" : character == '&' ? "&amp;" : "";
        if (character != '<' && character != '>' && character != '&') {
            result += character;
        }
    }
    return result;
}

[[nodiscard]] std::string randomValue(const RandomPrefab& prefab, RandomSource& source) {
    const std::string number = std::to_string(randomBelow(source, 1000));
    switch (randomBelow(source, 8)) {
    case 0:
        return "<value>" + number + "</value><value>2</value>";
    case 1:
        return "<x>" + number + "</x><inner><y> two  </y></inner>";
    case 2:
        return prefab.objects[randomBelow(source, prefab.objects.size())].uuid.toString();
    case 3:
        return " text &amp; &lt;" + number + "&gt; ";
    case 4:
        return "";
    default:
        return number;
    }
}

[[nodiscard]] bool isBelow(const RandomPrefab& prefab, Uuid uuid, const Uuid& ancestor) {
    for (std::size_t step = 0; step <= prefab.objects.size(); ++step) {
        if (uuid == ancestor) {
            return true;
        }
        const auto object = std::find_if(prefab.objects.begin(), prefab.objects.end(),
                                         [&uuid](const RandomObject& candidate) { return candidate.uuid == uuid; });
        if (object == prefab.objects.end() || !object->parent) {
            return false;
        }
        uuid = *object->parent;
    }
    return true;
}

/// Whether a value of an object that stays names the object.
[[nodiscard]] bool isNamed(const RandomPrefab& prefab, const Uuid& uuid, const std::set<Uuid>& removed) {
    const std::string text = uuid.toString();
    for (const RandomObject& object : prefab.objects) {
        for (const auto& [type, component] : object.components) {
            for (const auto& [name, value] : component.properties) {
                if (value.find(text) != std::string::npos && !removed.contains(object.uuid)) {
                    return true;
                }
            }
        }
    }
    return false;
}

void changeValue(RandomPrefab& prefab, RandomObject& object, RandomSource& source) {
    RandomComponent& component = object.components[TYPES[randomBelow(source, TYPES.size())]];
    component.properties[PROPERTIES[randomBelow(source, PROPERTIES.size())]] = randomValue(prefab, source);
}

void changeComponents(RandomPrefab& prefab, RandomObject& object, RandomSource& source) {
    const std::string& type = TYPES[randomBelow(source, TYPES.size())];
    const auto found = object.components.find(type);
    if (found == object.components.end()) {
        object.components[type].properties[PROPERTIES[0]] = randomValue(prefab, source);
    } else if (randomBelow(source, 2) == 0) {
        object.components.erase(found);
    } else if (!found->second.properties.empty() && randomBelow(source, 2) == 0) {
        found->second.properties.erase(found->second.properties.begin());
    } else {
        found->second.options = static_cast<unsigned>(randomBelow(source, 64));
    }
}

void changeOverrides(RandomPrefab& prefab, RandomObject& object, RandomSource& source) {
    if (object.nested.empty()) {
        changeValue(prefab, object, source);
        return;
    }
    const std::string inner = Uuid(0, randomBelow(source, 3)).toString();
    auto& properties = object.overrides[inner][TYPES[randomBelow(source, TYPES.size())]];
    const std::string& name = PROPERTIES[randomBelow(source, 3)];
    if (properties.contains(name) && randomBelow(source, 3) == 0) {
        properties.erase(name);
    } else {
        properties[name] = std::to_string(randomBelow(source, 1000));
    }
    for (auto record = object.overrides.begin(); record != object.overrides.end();) {
        std::erase_if(record->second, [](const auto& component) { return component.second.empty(); });
        record = record->second.empty() ? object.overrides.erase(record) : std::next(record);
    }
}

void changeAttributes(RandomObject& object, RandomSource& source) {
    if (randomBelow(source, 2) == 0) {
        object.name = "Renamed " + std::to_string(randomBelow(source, 1000));
    } else {
        object.flags = static_cast<unsigned>(randomBelow(source, 64));
    }
}

void addObject(RandomPrefab& prefab, const Uuid& parent, RandomSource& source) {
    RandomObject object;
    object.uuid = randomUuid(source);
    object.name = "Object " + std::to_string(randomBelow(source, 1000));
    object.parent = parent;
    if (randomBelow(source, 4) == 0) {
        object.nested = "props/lamp.prefab";
    }
    prefab.objects.push_back(std::move(object));
    changeValue(prefab, prefab.objects.back(), source);
}

void removeObject(RandomPrefab& prefab, std::size_t index) {
    std::set<Uuid> removed;
    for (const RandomObject& object : prefab.objects) {
        if (isBelow(prefab, object.uuid, prefab.objects[index].uuid)) {
            removed.insert(object.uuid);
        }
    }
    for (const Uuid& uuid : removed) {
        if (isNamed(prefab, uuid, removed)) {
            return;
        }
    }
    std::erase_if(prefab.objects, [&removed](const RandomObject& object) { return removed.contains(object.uuid); });
}

void moveObject(RandomPrefab& prefab, RandomObject& object, RandomSource& source) {
    const Uuid& parent = prefab.objects[randomBelow(source, prefab.objects.size())].uuid;
    if (object.parent && !isBelow(prefab, parent, object.uuid)) {
        object.parent = parent;
    }
}

/// A new root above the present one.
void addRoot(RandomPrefab& prefab, RandomSource& source) {
    RandomObject root;
    root.uuid = randomUuid(source);
    root.name = "New root";
    prefab.objects.front().parent = root.uuid;
    prefab.objects.insert(prefab.objects.begin(), std::move(root));
}

// Writing.

class Writer {
public:
    explicit Writer(std::size_t style)
        : m_lineEnd(style % 3 == 2 ? "\r\n" : "\n"), m_tab(style % 5 == 1 ? "  " : "\t"), m_isCompact(style % 7 == 3) {}

    void open(const std::string& name) {
        line("<" + name + ">");
        ++m_depth;
    }
    void close(const std::string& name) {
        --m_depth;
        line("</" + name + ">");
    }
    void element(const std::string& name, const std::string& content) {
        line("<" + name + ">" + content + "</" + name + ">");
    }
    void line(const std::string& text) {
        if (!m_isCompact) {
            m_text += m_lineEnd;
            for (std::size_t level = 0; level < m_depth; ++level) {
                m_text += m_tab;
            }
        }
        m_text += text;
    }
    [[nodiscard]] std::string take() { return "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + m_text + m_lineEnd; }

private:
    std::string m_lineEnd;
    std::string m_tab;
    bool m_isCompact;
    std::size_t m_depth = 0;
    std::string m_text;
};

[[nodiscard]] std::string overridesText(const RandomOverrides& overrides) {
    if (overrides.empty()) {
        return {};
    }
    std::string text = "<overrides>";
    for (const auto& [uuid, components] : overrides) {
        text += "\n\t<gameObject>\n\t\t<uuid>" + uuid + "</uuid>";
        for (const auto& [type, properties] : components) {
            text += "\n\t\t<component>\n\t\t\t<type>" + type + "</type>\n\t\t\t<properties>";
            for (const auto& [name, value] : properties) {
                text += "\n\t\t\t\t<" + name + ">" + value + "</" + name + ">";
            }
            text += "\n\t\t\t</properties>\n\t\t</component>";
        }
        text += "\n\t</gameObject>";
    }
    return text + "\n</overrides>";
}

/// The components of one type: the index of the object and the component.
using Pool = std::vector<std::pair<std::size_t, RandomComponent>>;

[[nodiscard]] std::map<std::string, Pool> poolsOf(const RandomPrefab& prefab, bool isCdata) {
    std::map<std::string, Pool> pools;
    for (std::size_t index = 0; index < prefab.objects.size(); ++index) {
        const RandomObject& object = prefab.objects[index];
        for (const auto& [type, component] : object.components) {
            pools[type].emplace_back(index, component);
        }
        if (object.parent) {
            RandomComponent hierarchy;
            hierarchy.properties["parent"] = object.parent->toString();
            pools["HierarchyComponent"].emplace_back(index, hierarchy);
        }
        if (!object.nested.empty()) {
            RandomComponent nested;
            nested.properties["resource"] = object.nested;
            const std::string text = overridesText(object.overrides);
            nested.properties["overridesData"] = text.empty() ? ""
                                                 : isCdata    ? "<![CDATA[" + text + "]]>"
                                                              : escaped(text);
            pools["PrefabComponent"].emplace_back(index, nested);
        }
    }
    return pools;
}

void writePool(Writer& writer, const std::string& type, unsigned version, const Pool& pool) {
    writer.open("pool");
    writer.element("type", type);
    writer.element("version", std::to_string(version));
    for (const auto& [index, component] : pool) {
        writer.open("item");
        writer.element("gameObject", std::to_string(index));
        writer.element("options", std::to_string(component.options));
        writer.open("properties");
        for (const auto& [name, value] : component.properties) {
            writer.element(name, value);
        }
        writer.close("properties");
        writer.close("item");
    }
    writer.close("pool");
}

// Facts.

[[nodiscard]] std::string valueOf(DataNode element) {
    if (!element.firstChild()) {
        return element.text();
    }
    std::string result;
    for (DataNode child = element.firstChild(); child; child = child.nextSibling()) {
        result.append("<").append(child.name()).append(">").append(valueOf(child)).append("</>");
    }
    return result;
}

[[nodiscard]] std::string trimmed(const std::string& text) {
    return std::string(trimWhiteSpace(text));
}

using Facts = std::map<std::string, std::string>;

void addOverrideFacts(Facts& facts, const std::string& key, const std::string& text) {
    const SmartPointer<DataSection> section =
        trimmed(text).empty() ? SmartPointer<DataSection>() : DataSection::fromText(text, "overrides");
    if (!section) {
        return;
    }
    for (DataNode object = section->node().firstChild(); object; object = object.nextSibling()) {
        for (DataNode component = object.firstChild(); component; component = component.nextSibling()) {
            for (DataNode value = component.child("properties").firstChild(); value; value = value.nextSibling()) {
                std::string name = key;
                name.append("/").append(trimmed(object.child("uuid").text()));
                name.append("/").append(component.child("type").text()).append("/").append(value.name());
                facts[name] = valueOf(value);
            }
        }
    }
}

void addItemFacts(Facts& facts, const std::string& key, DataNode item) {
    facts[key + "/"] = "exists";
    for (DataNode child = item.firstChild(); child; child = child.nextSibling()) {
        if (!child.isNamed("gameObject") && !child.isNamed("properties")) {
            facts[key + "/e/" + std::string(child.name())] = valueOf(child);
        }
    }
    for (DataNode value = item.child("properties").firstChild(); value; value = value.nextSibling()) {
        const std::string name = key + "/p/" + std::string(value.name());
        if (value.isNamed("overridesData")) {
            facts[name] = "exists";
            addOverrideFacts(facts, name, value.text());
        } else {
            facts[name] = valueOf(value);
        }
    }
}

} // namespace

std::size_t randomBelow(RandomSource& source, std::size_t limit) {
    return static_cast<std::size_t>(source() % limit);
}

std::string RandomPrefab::text(std::size_t style) const {
    Writer writer(style);
    writer.open("prefab");
    writer.element("formatVersion", "1");
    writer.open("gameObjects");
    for (const RandomObject& object : objects) {
        writer.open("gameObject");
        writer.element("uuid", object.uuid.toString());
        writer.element("name", escaped(object.name));
        writer.element("flags", std::to_string(object.flags));
        writer.close("gameObject");
    }
    writer.close("gameObjects");
    writer.open("components");
    std::map<std::string, Pool> pools = poolsOf(*this, style % 2 == 0);
    std::vector<std::string> types;
    for (auto& [type, pool] : pools) {
        types.push_back(type);
        if (style % 11 == 4) {
            std::reverse(pool.begin(), pool.end());
        }
    }
    if (style % 4 == 1) {
        std::reverse(types.begin(), types.end());
    }
    for (const std::string& type : types) {
        writePool(writer, type, type == "LampComponent" ? lampVersion : 1, pools[type]);
    }
    writer.close("components");
    writer.close("prefab");
    return writer.take();
}

RandomPrefab randomPrefab(RandomSource& source, std::size_t objectsCount) {
    RandomPrefab prefab;
    RandomObject root;
    root.uuid = randomUuid(source);
    root.name = "Root";
    prefab.objects.push_back(std::move(root));
    while (prefab.objects.size() < objectsCount) {
        const std::size_t parentsCount = std::min(prefab.objects.size(), PROTECTED_COUNT * 2);
        addObject(prefab, prefab.objects[randomBelow(source, parentsCount)].uuid, source);
    }
    return prefab;
}

void changeRandomly(RandomPrefab& prefab, RandomSource& source) {
    const std::size_t index = randomBelow(source, prefab.objects.size());
    RandomObject& object = prefab.objects[index];
    switch (randomBelow(source, 16)) {
    case 0:
    case 1:
        changeAttributes(object, source);
        break;
    case 2:
    case 3:
    case 4:
        changeComponents(prefab, object, source);
        break;
    case 5:
    case 6:
        moveObject(prefab, object, source);
        break;
    case 7:
    case 8:
        addObject(prefab, Uuid(object.uuid), source);
        break;
    case 9:
    case 10:
        if (index != 0) {
            removeObject(prefab, index);
        }
        break;
    case 11:
        changeOverrides(prefab, object, source);
        break;
    case 12:
        if (!object.nested.empty()) {
            object.nested = "props/lamp" + std::to_string(randomBelow(source, 3)) + ".prefab";
        }
        break;
    case 13:
        if (randomBelow(source, 4) == 0) {
            addRoot(prefab, source);
        } else if (randomBelow(source, 4) == 0) {
            prefab.lampVersion = 1 + static_cast<unsigned>(randomBelow(source, 3));
        }
        break;
    default:
        changeValue(prefab, object, source);
        break;
    }
}

void changeIndependently(RandomPrefab& prefab, const RandomPrefab& base, RandomSource& source, std::size_t side) {
    std::vector<std::size_t> own;
    for (std::size_t index = 0; index < prefab.objects.size(); ++index) {
        const Uuid& uuid = prefab.objects[index].uuid;
        const auto old = std::find_if(base.objects.begin(), base.objects.end(),
                                      [&uuid](const RandomObject& object) { return object.uuid == uuid; });
        const auto number = static_cast<std::size_t>(old - base.objects.begin());
        if (old == base.objects.end() || (number >= PROTECTED_COUNT && number % 2 == side)) {
            own.push_back(index);
        }
    }
    const Uuid group = base.objects[randomBelow(source, std::min(base.objects.size(), PROTECTED_COUNT))].uuid;
    if (own.empty() || randomBelow(source, 6) == 0) {
        addObject(prefab, group, source);
        for (auto& [type, component] : prefab.objects.back().components) {
            component.properties = {{PROPERTIES[1], std::to_string(randomBelow(source, 1000))}}; // Without links.
        }
        return;
    }
    const std::size_t index = own[randomBelow(source, own.size())];
    RandomObject& object = prefab.objects[index];
    const auto isChild = [&object](const RandomObject& other) { return other.parent == object.uuid; };
    const bool isLeaf = std::none_of(base.objects.begin(), base.objects.end(), isChild) &&
                        std::none_of(prefab.objects.begin(), prefab.objects.end(), isChild);
    switch (randomBelow(source, 6)) {
    case 0:
        changeAttributes(object, source);
        break;
    case 1:
        if (!object.nested.empty()) {
            changeOverrides(prefab, object, source);
        }
        break;
    case 2:
        if (isLeaf) {
            object.parent = group;
        }
        break;
    case 3: { // A link of the other side might name it, but not in these changes.
        const bool isLinked = isNamed(base, object.uuid, {});
        if (isLeaf && !isLinked && prefab.objects.size() > PROTECTED_COUNT + 2) {
            removeObject(prefab, index);
        }
        break;
    }
    default: {
        RandomComponent& component = object.components[TYPES[randomBelow(source, TYPES.size())]];
        component.properties[PROPERTIES[0]] = std::to_string(randomBelow(source, 1000));
        break;
    }
    }
}

std::map<std::string, std::string> factsOf(std::string_view text) {
    Facts facts;
    const SmartPointer<DataSection> section = DataSection::fromText(text, "document");
    if (!section) {
        return facts;
    }
    const DataNode root = section->node();
    facts["formatVersion"] = trimmed(root.child("formatVersion").text());
    std::vector<std::string> uuids;
    for (DataNode object = root.child("gameObjects").firstChild(); object; object = object.nextSibling()) {
        const std::string uuid = trimmed(object.child("uuid").text());
        uuids.push_back(uuid);
        facts[uuid + "/"] = facts.contains(uuid + "/") ? "exists twice" : "exists";
        facts[uuid + "/e/name"] = object.child("name").text();
        facts[uuid + "/e/flags"] = trimmed(object.child("flags").text());
    }
    for (DataNode pool = root.child("components").firstChild(); pool; pool = pool.nextSibling()) {
        const std::string type = pool.child("type").text();
        facts["pool/" + type] = trimmed(pool.child("version").text());
        for (DataNode item = pool.firstChild(); item; item = item.nextSibling()) {
            if (item.isNamed("item")) {
                const std::size_t index = std::stoul(trimmed(item.child("gameObject").text()));
                const std::string uuid = index < uuids.size() ? uuids[index] : "nothing";
                std::string key = uuid;
                key.append("/c/").append(type);
                addItemFacts(facts, facts.contains(key + "/") ? key + " again" : key, item);
            }
        }
    }
    return facts;
}

} // namespace Kiln::TestSupport
