#include "document_fixture.h"

#include <object_serialization/prefab_format.h>

#include <limits>

namespace Kiln::SerializationTests {
namespace {

using Tessel::ComponentItem;
using Tessel::ComponentPool;
using Tessel::PrefabFormat;
using testing::ElementsAre;
using testing::IsEmpty;

class ReadingFormat : public DocumentFixture {
protected:
    [[nodiscard]] static std::uint32_t versionOf(const std::string& text) {
        return PrefabFormat(parse("<prefab>" + text + "</prefab>")).getFormatVersion();
    }

    /// The descriptor of a document's only game object.
    [[nodiscard]] static SmartPointer<GameObjectDescriptor> readObject(const std::string& text) {
        PrefabFormat format(
            parse("<prefab>\n<gameObjects>\n<gameObject>" + text + "</gameObject></gameObjects></prefab>"));
        return format.getGameObjects()->gameObjectData(0).getDescriptor();
    }

    static constexpr const char* UUID = "<uuid>00000000-0000-0000-0000-000000000007</uuid>";
};

TEST_F(ReadingFormat, nullSection_isAnEmptyDocument) {
    PrefabFormat format(nullptr);
    EXPECT_EQ(format.getFormatVersion(), 0U);
    EXPECT_EQ(format.getGameObjects(), nullptr);
    EXPECT_EQ(format.getComponents(), nullptr);
}

TEST_F(ReadingFormat, emptyDocument_hasVersionZeroAndNoPools) {
    PrefabFormat format(parse("<prefab/>"));
    EXPECT_EQ(format.getFormatVersion(), 0U);
    EXPECT_EQ(format.getGameObjects(), nullptr);
    EXPECT_EQ(format.getComponents(), nullptr);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingFormat, constants_areOne) {
    EXPECT_EQ(PrefabFormat::FORMAT_VERSION, 1U);
    EXPECT_EQ(PrefabFormat::DEFAULT_COMPONENT_VERSION, 1U);
}

TEST_F(ReadingFormat, rootElement_mayHaveAnyName) {
    PrefabFormat format(parse("<scene><formatVersion>1</formatVersion><gameObjects/></scene>"));
    EXPECT_EQ(format.getFormatVersion(), 1U);
    EXPECT_NE(format.getGameObjects(), nullptr);
}

TEST_F(ReadingFormat, formatVersion_isReadUnchanged) {
    EXPECT_EQ(versionOf("<formatVersion>1</formatVersion>"), 1U);
    EXPECT_EQ(versionOf("<formatVersion>\n 2 </formatVersion>"), 2U);
    EXPECT_EQ(versionOf("<formatVersion>4294967295</formatVersion>"), 4294967295U);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingFormat, formatVersionThatDoesNotRead_isZeroAndAnError) {
    EXPECT_EQ(versionOf("\n<formatVersion> one </formatVersion>"), 0U);
    EXPECT_EQ(versionOf("<formatVersion>4294967296</formatVersion>"), 0U);
    EXPECT_EQ(versionOf("<formatVersion></formatVersion>"), 0U);
    EXPECT_THAT(log.messages(),
                ElementsAre(formatError("'formatVersion' can't be read from 'one' (test.prefab, line 2)"),
                            formatError("'formatVersion' can't be read from '4294967296' (test.prefab, line 1)"),
                            formatError("'formatVersion' can't be read from '' (test.prefab, line 1)")));
}

TEST_F(ReadingFormat, gameObjectPool_holdsTheGameObjectElementsInOrder) {
    PrefabFormat format(parse("<prefab><gameObjects><gameObject><name>a</name></gameObject><other/><gameObject>"
                              "<name>b</name></gameObject></gameObjects></prefab>"));
    ASSERT_EQ(format.getGameObjects()->gameObjectsCount(), 2U);
    EXPECT_EQ(format.getGameObjects()->gameObjectData(0).getDescriptor()->name(), "a");
    EXPECT_EQ(format.getGameObjects()->gameObjectData(1).getDescriptor()->name(), "b");
}

TEST_F(ReadingFormat, emptyGameObjectPool_isThere) {
    PrefabFormat format(parse("<prefab><gameObjects/></prefab>"));
    ASSERT_NE(format.getGameObjects(), nullptr);
    EXPECT_EQ(format.getGameObjects()->gameObjectsCount(), 0U);
}

TEST_F(ReadingFormat, gameObject_hasItsUuidNameAndFlags) {
    const auto object = readObject("<uuid> 5B0F1C2E-6a0d-4f43-9f6e-0d9a35b1c001 </uuid><name> Lamp &amp; post </name>"
                                   "<flags> 37 </flags>");
    EXPECT_EQ(object->uuid(), Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    EXPECT_EQ(object->name(), " Lamp & post ");
    EXPECT_EQ(object->flags().to_ulong(), 37U);
    EXPECT_THAT(object->components(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingFormat, gameObjectWithoutNameAndFlags_hasDefaults) {
    const auto object = readObject(UUID);
    EXPECT_EQ(object->name(), "");
    EXPECT_TRUE(object->flags().none());
    EXPECT_FALSE(object->isInactiveByDefault());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingFormat, missingUuid_isZeroAndAnErrorAtTheGameObject) {
    const auto object = readObject("\n<name>lamp</name>");
    EXPECT_EQ(object->uuid(), Uuid::ZERO);
    EXPECT_EQ(object->name(), "lamp");
    EXPECT_THAT(log.messages(),
                ElementsAre(formatError("A game object's UUID can't be read from '' (test.prefab, line 3)")));
}

TEST_F(ReadingFormat, malformedUuid_isZeroAndAnErrorAtTheUuid) {
    EXPECT_EQ(readObject("\n<uuid> 1234 </uuid>")->uuid(), Uuid::ZERO);
    EXPECT_THAT(log.messages(),
                ElementsAre(formatError("A game object's UUID can't be read from '1234' (test.prefab, line 4)")));
}

TEST_F(ReadingFormat, flagsThatDoNotRead_areNoneAndAnError) {
    for (const char* const text : {"64", "-1", "hidden", "1 2", ""}) {
        log.clear();
        EXPECT_TRUE(readObject(std::string(UUID) + "<flags>" + text + "</flags>")->flags().none());
        EXPECT_THAT(log.messages(), ElementsAre(formatError("'flags' can't be read from '" + std::string(text) +
                                                            "' (test.prefab, line 3)")));
    }
    log.clear();
    EXPECT_TRUE(readObject(std::string(UUID) + "<flags>63</flags>")->flags().all());
    EXPECT_THAT(log.messages(), IsEmpty());
}

class ReadingPools : public DocumentFixture {
protected:
    /// Opens a document with those pools.
    [[nodiscard]] static PrefabFormat open(const std::string& pools) {
        return PrefabFormat(parse("<prefab>\n<components>" + pools + "</components></prefab>"));
    }

    static constexpr std::uint64_t NO_INDEX = std::numeric_limits<std::uint64_t>::max();
};

TEST_F(ReadingPools, everyChildOfComponents_isAPool) {
    PrefabFormat format = open("<pool><type>A</type></pool><other><type>B</type></other><pool/>");
    ASSERT_EQ(format.getComponents()->poolsCount(), 3U);
    EXPECT_EQ(format.getComponents()->getComponentPool(0).getComponentType(), "A");
    EXPECT_EQ(format.getComponents()->getComponentPool(1).getComponentType(), "B");
    EXPECT_EQ(format.getComponents()->getComponentPool(2).getComponentType(), "");
}

TEST_F(ReadingPools, type_isKeptByteForByte) {
    EXPECT_EQ(open("<pool><type>\n\tA </type></pool>").getComponents()->getComponentPool(0).getComponentType(),
              "\n\tA ");
}

TEST_F(ReadingPools, findComponentPool_findsTheFirstOfAName) {
    PrefabFormat format = open("<pool><type>A</type></pool><pool><type>B</type></pool><pool><type>A</type></pool>");
    EXPECT_EQ(format.getComponents()->findComponentPool("A"), &format.getComponents()->getComponentPool(0));
    EXPECT_EQ(format.getComponents()->findComponentPool("B"), &format.getComponents()->getComponentPool(1));
    EXPECT_EQ(format.getComponents()->findComponentPool("C"), nullptr);
}

TEST_F(ReadingPools, version_missingIsOneAndUnreadableIsZero) {
    PrefabFormat format = open("<pool/><pool><version> 3 </version></pool><pool>\n<version>new</version></pool>");
    EXPECT_EQ(format.getComponents()->getComponentPool(0).getComponentVersion(), 1U);
    EXPECT_EQ(format.getComponents()->getComponentPool(1).getComponentVersion(), 3U);
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_EQ(format.getComponents()->getComponentPool(2).getComponentVersion(), 0U);
    EXPECT_THAT(log.messages(), ElementsAre(formatError("'version' can't be read from 'new' (test.prefab, line 3)")));
}

TEST_F(ReadingPools, items_areTheItemElementsInOrder) {
    PrefabFormat format = open("<pool><item><gameObject>4</gameObject></item><other/><item><gameObject>2</gameObject>"
                               "</item></pool>");
    const ComponentPool& pool = format.getComponents()->getComponentPool(0);
    ASSERT_EQ(pool.itemsCount(), 2U);
    EXPECT_EQ(pool.getComponentItem(0).getGameObjectIndex(), 4U);
    EXPECT_EQ(pool.getComponentItem(1).getGameObjectIndex(), 2U);
}

TEST_F(ReadingPools, gameObjectIndex_missing_isTheHighestNumber) {
    PrefabFormat format = open("<pool><item/></pool>");
    EXPECT_EQ(format.getComponents()->getComponentPool(0).getComponentItem(0).getGameObjectIndex(), NO_INDEX);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingPools, gameObjectIndex_unreadable_isTheHighestNumberAndAnError) {
    PrefabFormat format = open("<pool><item><gameObject>-1</gameObject></item><item><gameObject>"
                               "18446744073709551616</gameObject></item></pool>");
    const ComponentPool& pool = format.getComponents()->getComponentPool(0);
    EXPECT_EQ(pool.getComponentItem(0).getGameObjectIndex(), NO_INDEX);
    EXPECT_EQ(pool.getComponentItem(1).getGameObjectIndex(), NO_INDEX);
    EXPECT_THAT(log.messages(),
                ElementsAre(formatError("'gameObject' can't be read from '-1' (test.prefab, line 2)"),
                            formatError("'gameObject' can't be read from '18446744073709551616' (test.prefab, line "
                                        "2)")));
}

TEST_F(ReadingPools, options_missingAre35) {
    PrefabFormat format = open("<pool><item/><item><options>\n1 </options></item></pool>");
    const ComponentPool& pool = format.getComponents()->getComponentPool(0);
    EXPECT_EQ(pool.getComponentItem(0).getInstanceOptions().bits(), 35U);
    EXPECT_EQ(pool.getComponentItem(1).getInstanceOptions().bits(), 1U);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ReadingPools, options_unreadable_are35AndAnError) {
    PrefabFormat format = open("<pool><item><options>client</options></item></pool>");
    EXPECT_EQ(format.getComponents()->getComponentPool(0).getComponentItem(0).getInstanceOptions().bits(), 35U);
    EXPECT_THAT(log.messages(),
                ElementsAre(formatError("'options' can't be read from 'client' (test.prefab, line 2)")));
}

} // namespace
} // namespace Kiln::SerializationTests
