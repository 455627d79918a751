#include <common/matrix.h>
#include <object_framework/link_config.h>
#include <object_serialization/component_registration.h>
#include <prefab_packing/packing.h>
#include <resource/plain_text.h>
#include <support/random_prefab.h>
#include <tessel_asset_loading/support/world_fixture.h>
#include <tessel_foundation/poolable_component.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabPackingTests {

namespace {

// The components of random prefabs have properties of four names, and values that fit some types. These types make many
// of the values unreadable, so that the messages about them are compared as well.

struct Part {
    std::int16_t x = 0;
    std::string inner;
};

template <class Values>
class TestComponent final : public Tessel::PoolableComponent<TestComponent<Values>, Tessel::IComponent> {
public:
    using Config = Values;

    explicit TestComponent(const Config& /*config*/) {}
};

struct LampValues {
    float brightness = 0;
    std::string colour;
    std::vector<std::uint8_t> label;
    Tessel::GameObjectLink target;
};

struct CargoValues {
    std::uint8_t brightness = 0;
    double colour = 0;
    Uuid label;
    std::vector<std::string> target;
};

struct SignValues {
    std::int64_t brightness = 0;
    Part colour;
    bool label = false;
    Matrix target;
};

template <class Values>
void addProperties(auto& config) {
    config.template addProperty<&Values::brightness>("brightness");
    config.template addProperty<&Values::colour>("colour");
    config.template addProperty<&Values::label>("label");
    config.template addProperty<&Values::target>("target");
}

struct PartDescription {
    PartDescription() {
        mirra::StaticMetaObjectBuilder<Part> part("Part");
        part.addProperty<&Part::x>("x");
        part.addProperty<&Part::inner>("inner");
        part.finish();
    }
};

const PartDescription partDescription;
const ComponentRegistration<TestComponent<LampValues>> lamp("LampComponent",
                                                            [](auto& config) { addProperties<LampValues>(config); });
const ComponentRegistration<TestComponent<CargoValues>> cargo("CargoComponent",
                                                              [](auto& config) { addProperties<CargoValues>(config); });
const ComponentRegistration<TestComponent<SignValues>> sign("SignComponent",
                                                            [](auto& config) { addProperties<SignValues>(config); });

/// Everything that a load shows.
struct Observation {
    std::string elements;
    std::string document;
    std::vector<std::string> objects;
    std::vector<std::string> messages;

    friend bool operator==(const Observation&, const Observation&) = default;
};

class PackedEquality : public TestSupport::WorldFixture {
protected:
    ~PackedEquality() override { FS::Utils::clearResourcePacks(); }

    /// Reads and creates a prefab, and removes its objects again.
    [[nodiscard]] Observation observe(const std::string& path) {
        Tessel::Loading::fullyClearCache();
        Observation observation;
        log.clear();
        const SmartPointer<DataSection> section = FS::Utils::openXmlSection(path, true);
        if (section) {
            observation.elements = plainText(section->node());
            const SmartPointer<DataSection> written = DataSection::create("prefab");
            Tessel::GameObjectPrefab::loadHierarchy(section, nullptr)->serialize(written);
            observation.document = written->toText();
        }
        Tessel::GameObject loaded;
        Tessel::Loading::loadGameObject(
            path, worldId, {},
            [&loaded](Tessel::GameObject root, Tessel::GameObjectManager& /*manager*/) {
                loaded = root;
                return true;
            },
            Uuid(1, 2));
        waitForWorkers();
        tick();
        for (const Tessel::GameObject object : manager().gameObjects()) {
            observation.objects.push_back(describe(object));
        }
        EXPECT_FALSE(loaded.isInvalid()) << path; // A load that fails would be tried again during later ones.
        Tessel::removeGameObject(loaded);
        observation.messages = log.texts();
        return observation;
    }

    [[nodiscard]] std::string describe(Tessel::GameObject object) const {
        std::string text = manager().getGameObjectUuid(object).toString() + " " + manager().getGameObjectName(object);
        if (const Tessel::GameObject parent = manager().getParent(object); !parent.isInvalid()) {
            text += " under " + manager().getGameObjectUuid(parent).toString();
        }
        for (const Tessel::ComponentTypeId type : manager().componentTypes(object)) {
            text += " " + ComponentLibrary::instance().componentName(type);
        }
        return text + (manager().isActive(object) ? " active" : " inactive");
    }

    /// Packs the files with positions and makes the pack the only source.
    void usePack(const std::vector<std::string>& paths, bool isCompressed) const {
        PrefabPacking::PackingOptions options;
        options.isCompressed = isCompressed;
        options.keepsPositions = true;
        const std::string pack = packs.path(isCompressed ? "b.kilnpack" : "a.kilnpack");
        FS::Utils::clearResourcePacks();
        FS::Utils::addResourceRoot(directory.path().string());
        EXPECT_THAT(PrefabPacking::packFiles(paths, pack, options).problems, testing::IsEmpty());
        FS::Utils::clearResourceRoots();
        EXPECT_TRUE(FS::Utils::addResourcePack(pack));
    }

    TestSupport::TemporaryDirectory packs;
};

TEST_F(PackedEquality, randomPrefabs_haveTheSameDocumentsObjectsAndMessages) {
    constexpr int CASES = 60;
    TestSupport::RandomSource random(7);
    std::vector<std::string> paths{"props/lamp.prefab", "props/lamp0.prefab", "props/lamp1.prefab",
                                   "props/lamp2.prefab"};
    for (const std::string& path : paths) {
        TestSupport::PrefabText lampText;
        lampText.root(Uuid(0, 1), path);
        writePrefab(path, lampText);
    }
    std::map<std::string, Observation> expected;
    std::size_t objectsCount = 0;
    std::size_t messagesCount = 0;
    for (int number = 0; number < CASES; ++number) {
        TestSupport::RandomPrefab prefab = TestSupport::randomPrefab(random, 20);
        for (int change = 0; change < 30; ++change) {
            TestSupport::changeRandomly(prefab, random);
        }
        paths.push_back("file" + std::to_string(number) + ".prefab");
        directory.writeFile(paths.back(), prefab.text(static_cast<std::size_t>(number)));
    }
    for (const std::string& path : paths) {
        Observation observation = observe(path);
        objectsCount += observation.objects.size();
        messagesCount += observation.messages.size();
        expected.emplace(path, std::move(observation));
    }
    EXPECT_GT(objectsCount, 100U);
    EXPECT_GT(messagesCount, 100U);
    for (const bool isCompressed : {false, true}) {
        usePack(paths, isCompressed);
        for (const std::string& path : paths) {
            const Observation actual = observe(path);
            EXPECT_EQ(actual.elements, expected[path].elements) << path;
            EXPECT_EQ(actual.document, expected[path].document) << path;
            EXPECT_EQ(actual.objects, expected[path].objects) << path;
            EXPECT_EQ(actual.messages, expected[path].messages) << path;
        }
    }
}

/// Every text of a list as the value of every type.
TEST_F(PackedEquality, everyTextForEveryType_hasTheSameValueOrMessage) {
    const std::vector<std::string> texts{"0",
                                         "1",
                                         "35",
                                         "255",
                                         "256",
                                         "65536",
                                         "4294967295",
                                         "4294967296",
                                         "-1",
                                         "-0",
                                         "0.5",
                                         "1.50",
                                         "16777217",
                                         "1e+20",
                                         "inf",
                                         "nan",
                                         "true",
                                         "",
                                         " 7 ",
                                         "red",
                                         "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001",
                                         "1 0 0 0 0 1 0 0 0 0 1 0 2.5 -3 1e+20 1",
                                         "<x>300</x><inner>35</inner>",
                                         "<x>40000</x>",
                                         "<value>35</value><value>256</value><value>text</value><other>1</other>"};
    const Uuid uuid(1, 1);
    std::vector<std::string> paths;
    for (const std::string& text : texts) {
        TestSupport::PrefabText prefab;
        const std::size_t root = prefab.root(uuid, "Root");
        for (const char* const type : {"LampComponent", "CargoComponent", "SignComponent"}) {
            std::string properties;
            for (const char* const name : {"brightness", "colour", "label", "target", "unknown"}) {
                properties.append("<").append(name).append(">").append(text).append("</").append(name).append(">");
            }
            prefab.component(type, root, properties);
        }
        paths.push_back("text" + std::to_string(paths.size()) + ".prefab");
        writePrefab(paths.back(), prefab);
    }
    std::map<std::string, Observation> expected;
    for (const std::string& path : paths) {
        expected[path] = observe(path);
        EXPECT_EQ(expected[path].objects.size(), 1U) << path;
    }
    for (const bool isCompressed : {false, true}) {
        usePack(paths, isCompressed);
        for (const std::string& path : paths) {
            EXPECT_EQ(observe(path), expected[path]) << path;
        }
    }
}

} // namespace

} // namespace Kiln::PrefabPackingTests
