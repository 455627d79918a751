#include "xml_mutator.h"

#include <common/uuid.h>

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <optional>

namespace Kiln::Fuzz {

namespace {

constexpr std::array<std::string_view, 5> COMPONENT_TYPES{"HierarchyComponent", "PrefabComponent", "TransformComponent",
                                                          "TagComponent", "LinksComponent"};
constexpr std::array<std::string_view, 2> RARE_TYPES{"ValuesComponent", "NoSuchComponent"};

/// Element names of documents, override data and the components of components.cpp.
constexpr std::array<const char*, 50> NAMES{
    "prefab",     "formatVersion",  "gameObjects", "gameObject",   "uuid",     "name",      "flags",
    "components", "pool",           "type",        "version",      "item",     "options",   "properties",
    "resource",   "overridesData",  "parent",      "local",        "value",    "overrides", "component",
    "isOn",       "int8",           "int16",       "signedNumber", "int64",    "uint8",     "uint16",
    "uint32",     "unsignedNumber", "single",      "real",         "text",     "matrix",    "numbers",
    "rows",       "measure",        "measures",    "tree",         "children", "unit",      "amount",
    "tag",        "note",           "target",      "wire",         "cable",    "targets",   "wires",
    "end"};

constexpr std::array<const char*, 21> NUMBERS{"0",
                                              "1",
                                              "-1",
                                              "2",
                                              "3",
                                              "5",
                                              "32",
                                              "35",
                                              "63",
                                              "127",
                                              "-128",
                                              "255",
                                              "65536",
                                              "2147483647",
                                              "-2147483649",
                                              "4294967296",
                                              "18446744073709551615",
                                              "18446744073709551616",
                                              "1e400",
                                              "nan",
                                              "-0.5"};

constexpr unsigned PARSE_OPTIONS = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single;
constexpr unsigned SAVE_OPTIONS = pugi::format_raw | pugi::format_no_declaration | pugi::format_no_empty_element_tags;
constexpr std::size_t MAX_ELEMENTS = 4096;
constexpr int MAX_NESTED_TEXTS = 3; ///< Override data inside of override data, and so on.

struct StringWriter final : pugi::xml_writer {
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }

    std::string text;
};

[[nodiscard]] std::string textOf(const pugi::xml_document& document) {
    StringWriter writer;
    document.save(writer, "", SAVE_OPTIONS, pugi::encoding_utf8);
    return std::move(writer.text);
}

void load(pugi::xml_document& document, std::string_view text) {
    // On failure the document holds the part before the error.
    static_cast<void>(document.load_buffer(text.data(), text.size(), PARSE_OPTIONS, pugi::encoding_utf8));
}

/// The elements of a document in its order, without recursion.
[[nodiscard]] std::vector<pugi::xml_node> elementsOf(const pugi::xml_document& document) {
    std::vector<pugi::xml_node> elements;
    pugi::xml_node node = document.document_element();
    while (node && elements.size() < MAX_ELEMENTS) {
        if (node.type() == pugi::node_element) {
            elements.push_back(node);
        }
        if (node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
        }
        node = node.next_sibling();
    }
    return elements;
}

[[nodiscard]] bool hasElementChild(pugi::xml_node element) {
    return std::any_of(element.begin(), element.end(),
                       [](pugi::xml_node child) { return child.type() == pugi::node_element; });
}

void setText(pugi::xml_node element, const std::string& text) {
    element.text().set(text.c_str());
}

void appendText(pugi::xml_node parent, const char* name, std::string_view text) {
    setText(parent.append_child(name), std::string(text));
}

[[nodiscard]] bool isNumber(const std::string& text) {
    return !text.empty() && text.size() < 24 && text.find_first_not_of("0123456789-+.e") == std::string::npos;
}

[[nodiscard]] bool isUuid(std::string_view text) {
    return text.size() == 36 && Uuid::fromString(text).has_value();
}

/// Removes what is not allowed in XML, so that the text stays well formed.
void removeControlCharacters(std::string& text) {
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char character) {
                                  const auto byte = static_cast<unsigned char>(character);
                                  return byte < 0x20 && byte != '\t' && byte != '\n';
                              }),
               text.end());
}

/// A UUID of a few that all documents share, so that links of one file fit objects of another.
[[nodiscard]] std::string smallUuid(std::size_t number) {
    return Uuid(0, number).toString();
}

[[nodiscard]] std::string cut(std::string text, std::size_t maxSize) {
    text.resize(std::min(text.size(), maxSize));
    return text;
}

[[nodiscard]] pugi::xml_node childOf(pugi::xml_node parent, const char* name) {
    const pugi::xml_node child = parent.child(name);
    return child ? child : parent.append_child(name);
}

[[nodiscard]] std::size_t countChildren(pugi::xml_node parent) {
    return static_cast<std::size_t>(std::distance(parent.begin(), parent.end()));
}

} // namespace

std::string XmlMutator::mutate(std::string_view text, std::size_t maxSize, const std::vector<std::string>& resources) {
    if (isOneIn(24)) {
        return mutateRaw(text, maxSize);
    }
    pugi::xml_document document;
    load(document, text);
    if (!document.document_element()) {
        document.append_child("prefab");
    }
    const std::size_t changes = 1 + below(4);
    for (std::size_t i = 0; i < changes; ++i) {
        mutateTree(document, resources, 0);
    }
    std::string result = textOf(document);
    // A document that became too large loses elements until it fits.
    for (int attempt = 0; result.size() > maxSize && attempt < 16; ++attempt) {
        const Elements elements = elementsOf(document);
        if (elements.size() < 2) {
            break;
        }
        pugi::xml_node victim = elements[1 + below(elements.size() - 1)];
        victim.parent().remove_child(victim);
        result = textOf(document);
    }
    return result.size() > maxSize ? mutateRaw(text, maxSize) : result;
}

std::string XmlMutator::splice(std::string_view text, std::string_view donor, std::size_t maxSize) {
    pugi::xml_document document;
    pugi::xml_document other;
    load(document, text);
    load(other, donor);
    const Elements elements = elementsOf(document);
    const Elements donors = elementsOf(other);
    if (!elements.empty() && !donors.empty()) {
        const pugi::xml_node piece = pick(donors);
        // Prefer a sibling of the same name, where the piece makes sense.
        Elements siblings;
        std::copy_if(elements.begin(), elements.end(), std::back_inserter(siblings),
                     [piece](pugi::xml_node element) { return std::strcmp(element.name(), piece.name()) == 0; });
        pugi::xml_node place = siblings.empty() ? pick(elements) : pick(siblings);
        if (siblings.empty() || place == document.document_element()) {
            place.append_copy(piece);
        } else {
            place.parent().insert_copy_after(piece, place);
            if (isOneIn(2)) {
                place.parent().remove_child(place);
            }
        }
    }
    std::string result = textOf(document);
    return result.size() > maxSize ? cut(std::string(text), maxSize) : result;
}

std::string XmlMutator::mutateRaw(std::string_view text, std::size_t maxSize) {
    std::string bytes(text);
    bytes.resize(std::max(maxSize, text.size()));
    const std::size_t size =
        m_mutateBytes(reinterpret_cast<std::uint8_t*>(bytes.data()), std::min(text.size(), maxSize), maxSize);
    bytes.resize(size);
    return bytes;
}

void XmlMutator::mutateTree(pugi::xml_document& document, const std::vector<std::string>& resources, int depth) {
    Elements elements = elementsOf(document);
    if (elements.empty()) {
        return;
    }
    if (isOneIn(12) && document.child("prefab")) {
        addObject(document, resources);
        return;
    }
    if (isOneIn(3)) {
        mutateStructure(document, elements);
        return;
    }
    // Texts are at the leaves; a few attempts find one.
    for (int attempt = 0; attempt < 4; ++attempt) {
        const pugi::xml_node element = pick(elements);
        if (!hasElementChild(element)) {
            mutateText(element, elements, resources, depth);
            return;
        }
    }
    mutateStructure(document, elements);
}

void XmlMutator::mutateStructure(pugi::xml_document& document, Elements& elements) {
    pugi::xml_node element = pick(elements);
    pugi::xml_node parent = element.parent();
    const bool isRoot = element == document.document_element();
    switch (below(7)) {
    case 0:
        if (!isRoot) {
            parent.remove_child(element);
        }
        break;
    case 1:
        if (!isRoot) {
            parent.insert_copy_after(element, element);
        }
        break;
    case 2: // Swap with the next sibling.
        if (const pugi::xml_node next = element.next_sibling(); !isRoot && next) {
            parent.insert_move_before(next, element);
        }
        break;
    case 3: // Move under another element; pugixml refuses to move an element under itself.
        if (!isRoot) {
            pugi::xml_node target = pick(elements);
            target.append_move(element);
        }
        break;
    case 4:
        if (!isRoot || isOneIn(16)) {
            element.set_name(pick(NAMES));
        }
        break;
    case 5: { // Copy another element over this one.
        const pugi::xml_node other = pick(elements);
        if (!isRoot && other != document.document_element()) {
            parent.insert_copy_after(other, element);
            parent.remove_child(element);
        }
        break;
    }
    default:
        insertElement(element, elements);
    }
}

void XmlMutator::insertElement(pugi::xml_node parent, const Elements& elements) {
    const std::string_view name = parent.name();
    if (name == "gameObjects") {
        pugi::xml_node object = parent.append_child("gameObject");
        appendText(object, "uuid", smallUuid(1 + below(8)));
        appendText(object, "name", "Added");
    } else if (name == "components") {
        pugi::xml_node pool = parent.append_child("pool");
        appendText(pool, "type", isOneIn(4) ? pick(RARE_TYPES) : pick(COMPONENT_TYPES));
        appendText(pool, "version", "1");
    } else if (name == "pool") {
        pugi::xml_node item = parent.append_child("item");
        appendText(item, "gameObject", std::to_string(below(8)));
        item.append_child("properties");
    } else if (name == "overrides") {
        pugi::xml_node object = parent.append_child("gameObject");
        appendText(object, "uuid", isOneIn(2) ? uuidText({}, elements) : smallUuid(below(4)));
        pugi::xml_node component = object.append_child("component");
        appendText(component, "type", pick(COMPONENT_TYPES));
        component.append_child("properties");
    } else {
        appendText(parent, pick(NAMES), isOneIn(2) ? pick(NUMBERS) : "");
    }
}

/// Adds an object under an existing one, mostly with a component; the usual content of a prefab.
void XmlMutator::addObject(pugi::xml_document& document, const std::vector<std::string>& resources) {
    pugi::xml_node objects = childOf(document.document_element(), "gameObjects");
    const std::size_t count = countChildren(objects);
    const std::string parent = objects.child("gameObject").child("uuid").text().get();
    pugi::xml_node object = objects.append_child("gameObject");
    appendText(object, "uuid", smallUuid(below(4) == 0 ? below(100) : count + 1));
    appendText(object, "name", "Added " + std::to_string(count));
    if (count > 0) {
        addItem(document, "HierarchyComponent", count, "<parent>" + parent + "</parent>");
    }
    const std::string resource = resources.empty() ? std::string("missing.prefab") : pick(resources);
    switch (below(4)) {
    case 0:
        addItem(document, "PrefabComponent", count, "<resource>" + resource + "</resource>");
        break;
    case 1:
        addItem(document, "TagComponent", count, "<tag>added</tag>");
        break;
    case 2:
        addItem(document, "LinksComponent", count, "<target>" + parent + "</target>");
        break;
    default:
        break;
    }
}

void XmlMutator::addItem(pugi::xml_document& document, std::string_view type, std::size_t object,
                         std::string_view properties) {
    pugi::xml_node components = childOf(document.document_element(), "components");
    pugi::xml_node pool = components.find_child(
        [type](pugi::xml_node candidate) { return candidate.child("type").text().get() == type; });
    if (!pool) {
        pool = components.append_child("pool");
        appendText(pool, "type", type);
        appendText(pool, "version", "1");
    }
    pugi::xml_node item = pool.append_child("item");
    appendText(item, "gameObject", std::to_string(object));
    static_cast<void>(item.append_child("properties").append_buffer(properties.data(), properties.size()));
}

void XmlMutator::mutateText(pugi::xml_node element, const Elements& elements, const std::vector<std::string>& resources,
                            int depth) {
    const std::string_view name = element.name();
    const std::string text = element.text().get();
    if (name == "overridesData" && !isOneIn(16)) {
        setText(element, nestedText(text, resources, depth));
    } else if (name == "resource" && !resources.empty() && !isOneIn(8)) {
        setText(element, pick(resources));
    } else if (name == "type" && !isOneIn(8)) {
        setText(element, std::string(isOneIn(4) ? pick(RARE_TYPES) : pick(COMPONENT_TYPES)));
    } else if ((name == "uuid" || name == "parent" || isUuid(text)) && !isOneIn(16)) {
        setText(element, uuidText(text, elements));
    } else if (isNumber(text) && !isOneIn(8)) {
        setText(element, numberText(text));
    } else if (text == "true" || text == "false") {
        setText(element, text == "true" ? "false" : "true");
    } else {
        setText(element, anyText(text));
    }
}

/// An existing UUID of the document, a small one, the zero UUID, or the given one with one digit changed.
std::string XmlMutator::uuidText(const std::string& text, const Elements& elements) {
    switch (below(6)) {
    case 0:
        return Uuid::ZERO.toString();
    case 1:
        return smallUuid(1 + below(8));
    case 2:
        if (isUuid(text)) {
            std::string changed = text;
            char& digit = changed[below(changed.size())];
            digit = digit == '-' ? '-' : pick(std::string_view("0123456789abcdef"));
            return changed;
        }
        break;
    default:
        break;
    }
    for (int attempt = 0; attempt < 16; ++attempt) {
        const std::string candidate = pick(elements).text().get();
        if (isUuid(candidate)) {
            return candidate;
        }
    }
    return smallUuid(1);
}

std::string XmlMutator::numberText(const std::string& text) {
    if (isOneIn(2)) {
        return std::to_string(below(8));
    }
    if (isOneIn(2)) {
        return pick(NUMBERS);
    }
    std::string changed = text;
    changed[below(changed.size())] = pick(std::string_view("0123456789-."));
    return changed;
}

std::string XmlMutator::anyText(const std::string& text) {
    std::string changed = mutateRaw(text, text.size() + 32);
    changed.erase(std::find(changed.begin(), changed.end(), '\0'), changed.end());
    if (!isOneIn(16)) {
        removeControlCharacters(changed);
    }
    return changed;
}

/// Override data that is stored as a text.
std::string XmlMutator::nestedText(const std::string& text, const std::vector<std::string>& resources, int depth) {
    if (depth >= MAX_NESTED_TEXTS) {
        return anyText(text);
    }
    pugi::xml_document document;
    load(document, text);
    if (!document.document_element()) {
        document.append_child("overrides");
        insertElement(document.document_element(), elementsOf(document));
    } else {
        mutateTree(document, resources, depth + 1);
    }
    return textOf(document);
}

std::string XmlMutator::mutateBundle(std::string_view text, std::size_t maxSize) {
    if (isOneIn(64)) {
        return mutateRaw(text, maxSize);
    }
    std::vector<BundleFile> files = parseBundle(text);
    if (files.empty()) {
        files.push_back({"0.prefab", "<prefab><formatVersion>1</formatVersion><gameObjects></gameObjects></prefab>"});
    }
    if (isOneIn(12)) {
        changeFiles(files);
    } else {
        std::vector<std::string> resources;
        std::transform(files.begin(), files.end(), std::back_inserter(resources),
                       [](const BundleFile& file) { return file.name; });
        BundleFile& file = files[below(files.size())];
        const std::size_t others = text.size() - std::min(text.size(), file.text.size());
        if (others < maxSize) {
            file.text = mutate(file.text, maxSize - others, resources);
        }
    }
    std::string result = bundleText(files);
    return result.size() > maxSize ? mutateRaw(text, maxSize) : result;
}

void XmlMutator::changeFiles(std::vector<BundleFile>& files) {
    const std::size_t index = below(files.size());
    switch (below(4)) {
    case 0:
        if (files.size() > 1) {
            files.erase(files.begin() + static_cast<std::ptrdiff_t>(index));
        }
        break;
    case 1:
        files.push_back({std::to_string(files.size()) + ".prefab", files[index].text});
        break;
    case 2:
        std::swap(files[index].text, files[below(files.size())].text);
        break;
    default: // Another order of the names: another file is loaded, or nested ones change their roles.
        std::swap(files[index].name, files[below(files.size())].name);
    }
}

std::string XmlMutator::spliceBundle(std::string_view text, std::string_view donor, std::size_t maxSize) {
    std::vector<BundleFile> files = parseBundle(text);
    const std::vector<BundleFile> donors = parseBundle(donor);
    if (!files.empty() && !donors.empty()) {
        const BundleFile& other = pick(donors);
        if (isOneIn(4)) {
            files.push_back(other);
        } else {
            BundleFile& file = files[below(files.size())];
            file.text = splice(file.text, other.text, maxSize);
        }
    }
    std::string result = bundleText(files);
    return result.size() > maxSize ? cut(std::string(text), maxSize) : result;
}

} // namespace Kiln::Fuzz
