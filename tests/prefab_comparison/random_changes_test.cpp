// Random documents, written in random spellings and orders: what does not count must not be a change, and each of a
// list of mutations must be one.

#include "comparison_fixture.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <map>
#include <numeric>
#include <random>

namespace Kiln::PrefabComparisonTests {

namespace {

constexpr int CASES = 1500;

class Random {
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    [[nodiscard]] std::size_t below(std::size_t limit) { return static_cast<std::size_t>(m_engine() % limit); }
    [[nodiscard]] bool coin() { return below(2) == 0; }

    template <class T>
    void shuffle(std::vector<T>& list) {
        for (std::size_t i = list.size(); i > 1; --i) {
            std::swap(list[i - 1], list[below(i)]);
        }
    }

private:
    std::mt19937_64 m_engine;
};

struct ModelProperty {
    std::string name;
    std::string value;
    bool isNumber = false;
};

struct ModelRecord {
    std::uint64_t object;
    ModelProperty property;
};

struct ModelComponent {
    std::string type;
    std::size_t object; ///< Index in Model::objects, or above.
    unsigned options = 35;
    std::vector<ModelProperty> properties;
    std::string resource;             ///< Of a PrefabComponent.
    std::vector<ModelRecord> records; ///< Of a PrefabComponent.
};

struct ModelObject {
    std::uint64_t uuid;
    std::string name;
    unsigned flags = 0;
    std::uint64_t parent = 0; ///< Zero for the root, which is the first one.
};

struct Model {
    std::vector<ModelObject> objects;
    std::vector<ModelComponent> components;
    unsigned plateVersion = 1;
    std::string unused; ///< Elements in the root.
};

[[nodiscard]] Model makeModel(Random& random) {
    Model model;
    const std::size_t count = 2 + random.below(5);
    for (std::size_t i = 0; i < count; ++i) {
        model.objects.push_back({i + 1, "Object " + std::to_string(random.below(3)),
                                 static_cast<unsigned>(random.below(64)), i == 0 ? 0 : 1 + random.below(i)});
        if (i == 1 || random.coin()) {
            model.components.push_back({"PlateComponent",
                                        i,
                                        35,
                                        {{"width", std::to_string(random.below(1000)), true},
                                         {"text", "text " + std::to_string(random.below(9))}},
                                        {},
                                        {}});
        }
        if (i == 1 || random.coin()) {
            model.components.push_back(
                {"LanternComponent", i, 3, {{"glow", std::to_string(random.below(9))}, {"oil", "full"}}, {}, {}});
        }
        if (i == 1 || random.below(3) == 0) {
            model.components.push_back({"PrefabComponent", i, 35, {}, "p" + std::to_string(random.below(3)), {}});
            for (std::uint64_t record = 0; record < 1 + random.below(3); ++record) {
                model.components.back().records.push_back(
                    {100 + record, {"width", std::to_string(random.below(1000)), true}});
            }
        }
    }
    return model;
}

/// Writes a model in one of many ways that mean the same.
class ModelWriter {
public:
    ModelWriter(const Model& model, Random& random) : m_model(model), m_random(random) {}

    [[nodiscard]] std::string write() {
        std::vector<std::size_t> order(m_model.objects.size() - 1);
        std::iota(order.begin(), order.end(), std::size_t{1});
        m_random.shuffle(order);
        order.insert(order.begin(), 0); // The first object counts.
        m_positions.resize(order.size());
        std::string objects;
        for (std::size_t i = 0; i < order.size(); ++i) {
            m_positions[order[i]] = i;
            objects += writeObject(m_model.objects[order[i]]);
        }
        return space() + "<prefab>" + space() + text("formatVersion", number("1")) + space() +
               text("gameObjects", objects) + m_model.unused + text("components", writePools()) + "</prefab>" + space();
    }

private:
    [[nodiscard]] std::string space() {
        const char* const spaces[] = {"", " ", "\n\t", "<!-- note -->", "\r\n"};
        return spaces[m_random.below(5)];
    }

    [[nodiscard]] static std::string text(const std::string& name, const std::string& content) {
        return element(name, content);
    }

    [[nodiscard]] std::string number(const std::string& digits) {
        return (m_random.coin() ? "" : " ") + std::string(m_random.coin() ? "" : "0") + digits +
               (m_random.coin() ? "" : "\n");
    }

    [[nodiscard]] std::string uuid(std::uint64_t number) {
        std::string result = Uuid(0xabcdef, number).toString();
        if (m_random.coin()) {
            std::transform(result.begin(), result.end(), result.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
        }
        return result;
    }

    [[nodiscard]] std::string joined(std::vector<std::string> parts) {
        m_random.shuffle(parts);
        std::string result = space();
        for (const std::string& part : parts) {
            result += part + space();
        }
        return result;
    }

    [[nodiscard]] std::string writeObject(const ModelObject& object) {
        std::vector<std::string> parts{text("uuid", uuid(object.uuid)), text("name", object.name)};
        if (object.flags != 0 || m_random.coin()) {
            parts.push_back(text("flags", number(std::to_string(object.flags))));
        }
        return text("gameObject", joined(std::move(parts))) + space();
    }

    [[nodiscard]] std::string writeProperties(const std::vector<ModelProperty>& properties) {
        std::vector<std::string> parts;
        for (const ModelProperty& property : properties) {
            parts.push_back(text(property.name, property.isNumber ? number(property.value) : property.value));
        }
        return joined(std::move(parts));
    }

    [[nodiscard]] std::string writeItem(std::size_t position, unsigned options, const std::string& properties) {
        std::vector<std::string> parts{text("gameObject", number(std::to_string(position))),
                                       text("properties", properties)};
        if (options != 35 || m_random.coin()) {
            parts.push_back(text("options", number(std::to_string(options))));
        }
        return text("item", joined(std::move(parts)));
    }

    [[nodiscard]] std::string writeOverrides(const std::vector<ModelRecord>& records) {
        std::vector<std::string> parts;
        for (const ModelRecord& record : records) {
            parts.push_back(
                text("gameObject",
                     joined({text("uuid", uuid(record.object)),
                             text("component", joined({text("type", "PlateComponent"),
                                                       text("properties", writeProperties({record.property}))}))})));
        }
        return TestSupport::cdata(text("overrides", joined(std::move(parts))));
    }

    [[nodiscard]] std::string writeComponent(const ModelComponent& component) {
        std::string properties = writeProperties(component.properties);
        if (component.type == "PrefabComponent") {
            properties = joined(
                {text("resource", component.resource), text("overridesData", writeOverrides(component.records))});
        }
        const std::size_t position =
            component.object < m_positions.size() ? m_positions[component.object] : component.object + 50;
        return writeItem(position, component.options, properties);
    }

    [[nodiscard]] std::string writePool(const std::string& type, unsigned version, std::vector<std::string> items) {
        items.push_back(text("type", type));
        if (version != 1 || m_random.coin()) {
            items.push_back(text("version", number(std::to_string(version))));
        }
        return text("pool", joined(std::move(items)));
    }

    [[nodiscard]] std::string writePools() {
        std::map<std::string, std::vector<std::string>> items;
        for (std::size_t i = 0; i < m_model.objects.size(); ++i) {
            if (m_model.objects[i].parent != 0) {
                items["HierarchyComponent"].push_back(
                    writeItem(m_positions[i], 35, text("parent", uuid(m_model.objects[i].parent))));
            }
        }
        for (const ModelComponent& component : m_model.components) {
            items[component.type].push_back(writeComponent(component));
        }
        std::vector<std::string> pools;
        for (auto& [type, list] : items) {
            const unsigned version = type == "PlateComponent" ? m_model.plateVersion : 1;
            m_random.shuffle(list);
            if (list.size() > 1 && m_random.coin()) {
                const auto middle = list.begin() + static_cast<std::ptrdiff_t>(1 + m_random.below(list.size() - 1));
                pools.push_back(writePool(type, version, {middle, list.end()}));
                list.erase(middle, list.end());
            }
            pools.push_back(writePool(type, version, list));
        }
        return joined(std::move(pools));
    }

    const Model& m_model;
    Random& m_random;
    std::vector<std::size_t> m_positions; ///< By the objects of the model.
};

using Mutation = std::function<void(Model&, Random&)>;

[[nodiscard]] ModelComponent& someComponent(Model& model, Random& random, const std::string& type) {
    std::vector<ModelComponent*> found;
    for (ModelComponent& component : model.components) {
        if (component.type == type) {
            found.push_back(&component);
        }
    }
    return *found[random.below(found.size())];
}

[[nodiscard]] ModelObject& someObject(Model& model, Random& random) {
    return model.objects[random.below(model.objects.size())];
}

[[nodiscard]] std::vector<std::pair<const char*, Mutation>> mutations() {
    return {
        {"rename", [](Model& model, Random& random) { someObject(model, random).name += "!"; }},
        {"flags", [](Model& model, Random& random) { someObject(model, random).flags ^= 1U << random.below(6); }},
        {"uuid", [](Model& model, Random& random) { someObject(model, random).uuid += 1000; }},
        {"move", [](Model& model, Random&) { model.objects.back().parent += 500; }},
        {"detach", [](Model& model, Random&) { model.objects.back().parent = 0; }},
        {"add object",
         [](Model& model, Random&) {
             model.objects.push_back({77, "New", 0, 1});
         }},
        {"remove object",
         [](Model& model, Random&) {
             const std::size_t last = model.objects.size() - 1;
             model.objects.pop_back();
             model.components.erase(std::remove_if(model.components.begin(), model.components.end(),
                                                   [last](const auto& component) { return component.object == last; }),
                                    model.components.end());
         }},
        {"add component",
         [](Model& model, Random& random) {
             model.components.push_back({"ExtraComponent", random.below(model.objects.size()), 35, {}, {}, {}});
         }},
        {"remove component",
         [](Model& model, Random& random) {
             model.components.erase(model.components.begin() +
                                    static_cast<std::ptrdiff_t>(random.below(model.components.size())));
         }},
        {"detach component",
         [](Model& model, Random& random) { model.components[random.below(model.components.size())].object = 60; }},
        {"options",
         [](Model& model, Random& random) { model.components[random.below(model.components.size())].options ^= 1U; }},
        {"version", [](Model& model, Random&) { model.plateVersion = 2; }},
        {"typed value",
         [](Model& model, Random& random) {
             someComponent(model, random, "PlateComponent").properties[random.below(2)].value += "1";
         }},
        {"untyped value",
         [](Model& model, Random& random) {
             someComponent(model, random, "LanternComponent").properties[random.below(2)].value += "1";
         }},
        {"add value",
         [](Model& model, Random& random) {
             someComponent(model, random, "LanternComponent").properties.push_back({"extra", ""});
         }},
        {"remove value",
         [](Model& model, Random& random) { someComponent(model, random, "PlateComponent").properties.pop_back(); }},
        {"resource",
         [](Model& model, Random& random) { someComponent(model, random, "PrefabComponent").resource += "x"; }},
        {"override value",
         [](Model& model, Random& random) {
             auto& records = someComponent(model, random, "PrefabComponent").records;
             records[random.below(records.size())].property.value += "1";
         }},
        {"override object",
         [](Model& model, Random& random) {
             auto& records = someComponent(model, random, "PrefabComponent").records;
             records[random.below(records.size())].object += 50;
         }},
        {"add override",
         [](Model& model, Random& random) {
             someComponent(model, random, "PrefabComponent").records.push_back({190, {"text", "t"}});
         }},
        {"remove override",
         [](Model& model, Random& random) { someComponent(model, random, "PrefabComponent").records.pop_back(); }},
        {"unused element", [](Model& model, Random&) { model.unused += "<note/>"; }},
    };
}

TEST(RandomDocuments, otherSpellingsAndOrders_areNoChange) {
    for (std::uint64_t seed = 1; seed <= CASES && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Model model = makeModel(random);
        const std::string a = ModelWriter(model, random).write();
        const std::string b = ModelWriter(model, random).write();
        EXPECT_THAT(changesBetween(a, b), testing::IsEmpty()) << a << "\n\n" << b;
    }
}

TEST(RandomDocuments, eachMutation_isAChange) {
    const std::vector<std::pair<const char*, Mutation>> list = mutations();
    for (std::uint64_t seed = 1; seed <= CASES && !testing::Test::HasFailure(); ++seed) {
        const auto& [name, mutate] = list[seed % list.size()];
        SCOPED_TRACE(std::string(name) + ", seed " + std::to_string(seed));
        Random random(seed);
        const Model model = makeModel(random);
        Model changed = model;
        mutate(changed, random);
        const std::string a = ModelWriter(model, random).write();
        const std::string b = ModelWriter(changed, random).write();
        EXPECT_THAT(changesBetween(a, b), testing::Not(testing::IsEmpty())) << a << "\n\n" << b;
    }
}

} // namespace

} // namespace Kiln::PrefabComparisonTests
