#include "platform_doubles.h"
#include <tessel_asset_loading/support/document_fixture.h>

#include <numeric>
#include <stdexcept>

namespace Kiln::TestSupport {
namespace {

using Tessel::HierarchyComponent;
using Tessel::NativeComponent;
using Tessel::TransformComponent;
using testing::ElementsAre;
using testing::IsEmpty;

/// Its factory throws.
class ExplosiveComponent final : public Tessel::PoolableComponent<ExplosiveComponent, Tessel::IComponent> {
public:
    struct Config {};
    explicit ExplosiveComponent(const Config& /*config*/) {}
};

struct ExplosiveRegistration {
    ExplosiveRegistration() {
        ComponentRecord record = makeComponentRecord<ExplosiveComponent>("ExplosiveComponent");
        record.factory = []() -> SmartPointer<IComponentDescriptor> { throw std::runtime_error("exploded"); };
        ComponentLibrary::instance().append(std::move(record));
    }
};

const ExplosiveRegistration s_explosiveRegistration;

/// Component types whose registration record can't be obtained.
class FailingRecords : public DocumentFixture {
protected:
    FailingRecords() { document.root(id(1), "Root"); }

    /// Fetching the record of TagComponent throws from the given time on; the first is 1.
    template <class Error>
    void failForTags(const Error& error, int fromTime = 1) {
        doubles.onComponentMeta = [error, fromTime, time = 0](std::size_t typeId) mutable {
            if (typeId == NativeComponent<TagComponent>::getType() && ++time >= fromTime) {
                throw error;
            }
        };
    }

    void read(Tessel::DeseriralizeErrorHandler* errorHandler = nullptr) {
        prefab.deserialize(document.section(), errorHandler);
    }

    [[nodiscard]] std::vector<std::string> componentNames() const {
        std::vector<std::string> names;
        for (const SmartPointer<IComponentDescriptor>& component : prefab.getGameObject(0)->components()) {
            names.push_back(component->name());
        }
        return names;
    }

    PrefabText document;
    PlatformDoubles doubles;
};

// Reading.

TEST_F(FailingRecords, deserialize_fetchesTheRecordTwicePerPool) {
    document.component("TagComponent", 0).component("TagComponent", 0).component("ValuesComponent", 0);
    read();
    EXPECT_THAT(doubles.calls, ElementsAre("componentMeta TagComponent", "componentMeta TagComponent",
                                           "componentMeta ValuesComponent", "componentMeta ValuesComponent"));
}

TEST_F(FailingRecords, deserialize_unknownType_fetchesNoRecord) {
    document.component("NoSuchComponent", 0);
    read(&handler);
    EXPECT_THAT(doubles.calls, IsEmpty());
}

TEST_F(FailingRecords, deserialize_fetchThrows_isLoggedAndOnlyThatPoolSkipped) {
    failForTags(std::runtime_error("100%s lost"));
    document.component("ValuesComponent", 0).component("TagComponent", 0).component("TagComponent", 99);
    document.component("TransformComponent", 0);
    read();
    EXPECT_THAT(logged(), ElementsAre("5: GameObjectPrefab: 100%s lost"));
    EXPECT_THAT(componentNames(), ElementsAre("ValuesComponent", "TransformComponent"));
}

TEST_F(FailingRecords, deserialize_fetchThrowsWithHandler_isLoggedAllTheSame) {
    failForTags(std::runtime_error("lost"));
    document.component("TagComponent", 0);
    read(&handler);
    EXPECT_THAT(logged(), ElementsAre("5: GameObjectPrefab: lost"));
    EXPECT_THAT(handled, IsEmpty());
    EXPECT_THAT(componentNames(), IsEmpty());
}

TEST_F(FailingRecords, deserialize_secondFetchThrows_skipsThePoolToo) {
    failForTags(std::runtime_error("lost"), 2);
    document.component("TagComponent", 0);
    read(&handler);
    EXPECT_THAT(logged(), ElementsAre("5: GameObjectPrefab: lost"));
    EXPECT_THAT(componentNames(), IsEmpty());
}

TEST_F(FailingRecords, deserialize_fetchThrowsAKindOfRuntimeError_isLogged) {
    failForTags(std::range_error("out of reach"));
    document.component("TagComponent", 0);
    read();
    EXPECT_THAT(logged(), ElementsAre("5: GameObjectPrefab: out of reach"));
}

TEST_F(FailingRecords, deserialize_fetchThrows_theVersionIsNotCompared) {
    failForTags(std::runtime_error("lost"));
    document.poolVersion("TagComponent", 3).component("TagComponent", 0);
    read(&handler);
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(FailingRecords, deserialize_fetchThrowsAnythingElse_isPropagatedToTheCaller) {
    failForTags(std::logic_error("wrong"));
    document.component("ValuesComponent", 0).component("TagComponent", 0);
    EXPECT_THROW(read(&handler), std::logic_error);
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(handled, IsEmpty());
}

TEST_F(FailingRecords, deserialize_exceptionOnTheWay_keepsWhatWasRead) {
    failForTags(std::logic_error("wrong"));
    document.component("ValuesComponent", 0).component("TagComponent", 0);
    EXPECT_THROW(read(), std::logic_error);
    ASSERT_EQ(prefab.nodesCount(), 1U);
    EXPECT_THAT(componentNames(), ElementsAre("ValuesComponent"));
}

TEST_F(FailingRecords, deserialize_factoryThrows_isPropagatedToTheCallerAndNotLogged) {
    document.component("ExplosiveComponent", 0);
    EXPECT_THROW(read(&handler), std::runtime_error);
    EXPECT_THAT(componentNames(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(handled, IsEmpty());
}

// Writing.

TEST_F(FailingRecords, serialize_fetchesEveryRecordOnceInTheOrderOfTheIds) {
    std::vector<std::size_t> fetched;
    doubles.onComponentMeta = [&fetched](std::size_t typeId) { fetched.push_back(typeId); };
    prefab.serialize(DataSection::create("prefab"));
    std::vector<std::size_t> all(ComponentLibrary::instance().componentsCount());
    std::iota(all.begin(), all.end(), std::size_t(0));
    EXPECT_EQ(fetched, all);
}

TEST_F(FailingRecords, serialize_fetchThrows_isLoggedOnceAndOnlyThatTypeLeftOut) {
    PrefabBuilder builder;
    builder.root(id(1)).with<ValuesComponent>().with<TagComponent>().with<TransformComponent>().with<LinksComponent>();
    builder.child(id(2), "Child", id(1)).with<TagComponent>();
    failForTags(std::runtime_error("100%s lost"));
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    builder.build().serialize(section);
    EXPECT_THAT(logged(), ElementsAre("5: GameObjectPrefab: 100%s lost"));
    std::vector<std::string> types;
    const SmartPointer<DataSection> pools = section->openSection("components", false);
    for (const SmartPointer<DataSection> pool : *pools) {
        types.push_back(pool->readString("type"));
    }
    EXPECT_THAT(types, testing::UnorderedElementsAre("HierarchyComponent", "ValuesComponent", "TransformComponent",
                                                     "LinksComponent"));
}

TEST_F(FailingRecords, serialize_fetchThrows_valuesAreNotTakenAsThePrefabsOwn) {
    PrefabBuilder builder;
    builder.root(id(1)).with<TagComponent>({"own", {}});
    ComponentDescriptor<TagComponent>& tag = findDescriptor<TagComponent>(builder.last());
    tag.config().tag = "changed";
    failForTags(std::runtime_error("lost"));
    builder.build().serialize(DataSection::create("prefab"));
    EXPECT_TRUE(tag.isOffPrefabProperties());
    EXPECT_EQ(tag.prefabProperties().tag, "own");
}

TEST_F(FailingRecords, serialize_fetchThrows_anExistingPoolIsUnchanged) {
    document.component("TagComponent", 0);
    const SmartPointer<DataSection> section = document.section();
    failForTags(std::runtime_error("lost"));
    PrefabBuilder().root(id(2)).with<TagComponent>().build().serialize(section);
    const SmartPointer<DataSection> pool = section->openSection("components", false)->openSection("pool", false);
    EXPECT_EQ(pool->childrenCount(), 3U); // Type, version and one item.
}

} // namespace
} // namespace Kiln::TestSupport
