#include "platform_access.h"
#include "test_components.h"

#include <core/log.h>
#include <object_serialization/prefab_format.h>

#include <gmock/gmock.h>

#include <limits>
#include <string>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

constexpr const char* HARBOUR = R"(<?xml version="1.0" encoding="utf-8"?>
<prefab>
	<formatVersion>1</formatVersion>
	<gameObjects>
		<gameObject>
			<uuid>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</uuid>
			<name>Harbour</name>
			<flags>3</flags>
		</gameObject>
		<gameObject>
			<uuid>5B0F1C2E-6A0D-4F43-9F6E-0D9A35B1C002</uuid>
			<name> Lamp &amp; gate </name>
		</gameObject>
	</gameObjects>
	<components>
		<pool>
			<type>ConformanceBeacon</type>
			<version>7</version>
			<item>
				<gameObject>1</gameObject>
				<options>33</options>
				<properties>
					<text> lit </text>
					<link>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</link>
					<mark>
						<label>here</label>
						<target>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c002</target>
					</mark>
				</properties>
			</item>
			<item></item>
		</pool>
		<pool>
			<type>ConformanceBell</type>
		</pool>
	</components>
</prefab>
)";

class Format : public testing::Test {
protected:
    [[nodiscard]] ComponentPool& beacons() { return *harbour.getComponents()->findComponentPool(Beacon::NAME); }

    PrefabFormat harbour{parseDocument(HARBOUR)};
    PrefabFormat empty{parseDocument("<prefab/>")};
};

TEST_F(Format, version_isRead) {
    EXPECT_EQ(harbour.getFormatVersion(), PrefabFormat::FORMAT_VERSION);
    EXPECT_EQ(PrefabFormat::FORMAT_VERSION, 1U);
}

TEST_F(Format, missingVersion_isNone) {
    EXPECT_EQ(empty.getFormatVersion(), 0U);
}

TEST_F(Format, missingParts_areNull) {
    EXPECT_EQ(empty.getGameObjects(), nullptr);
    EXPECT_EQ(empty.getComponents(), nullptr);
}

TEST_F(Format, nullDocument_isAnEmptyOne) {
    PrefabFormat format(nullptr);
    EXPECT_EQ(format.getFormatVersion(), 0U);
    EXPECT_EQ(format.getGameObjects(), nullptr);
    EXPECT_EQ(format.getComponents(), nullptr);
}

TEST_F(Format, gameObjects_areReadInOrder) {
    const GameObjectPool& objects = *harbour.getGameObjects();
    ASSERT_EQ(objects.gameObjectsCount(), 2U);
    const SmartPointer<GameObjectDescriptor> first = objects.gameObjectData(0).getDescriptor();
    const SmartPointer<GameObjectDescriptor> second = objects.gameObjectData(1).getDescriptor();
    EXPECT_EQ(first->uuid(), Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    EXPECT_EQ(nameOf(*first), "Harbour");
    EXPECT_EQ(first->flags().to_ulong(), 3U);
    EXPECT_EQ(second->uuid(), Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c002));
    EXPECT_EQ(nameOf(*second), " Lamp & gate ");
    EXPECT_EQ(second->flags().to_ulong(), 0U);
}

TEST_F(Format, malformedUuid_isZeroWithAnError) {
    const LogCapture log;
    PrefabFormat format(
        parseDocument("<prefab><gameObjects><gameObject><uuid>nonsense</uuid></gameObject></gameObjects></prefab>"));
    EXPECT_EQ(format.getGameObjects()->gameObjectData(0).getDescriptor()->uuid(), Uuid::ZERO);
    EXPECT_EQ(log.count(LogSeverity::ERROR), 1U);
}

TEST_F(Format, pools_areFoundByPositionAndByName) {
    ComponentPoolStorage& pools = *harbour.getComponents();
    ASSERT_EQ(pools.poolsCount(), 2U);
    EXPECT_EQ(pools.getComponentPool(0).getComponentType(), Beacon::NAME);
    EXPECT_EQ(pools.findComponentPool(Bell::NAME), &pools.getComponentPool(1));
    EXPECT_EQ(pools.findComponentPool("Other"), nullptr);
}

TEST_F(Format, poolVersion_missing_isTheDefault) {
    EXPECT_EQ(beacons().getComponentVersion(), 7U);
    EXPECT_EQ(harbour.getComponents()->findComponentPool(Bell::NAME)->getComponentVersion(),
              PrefabFormat::DEFAULT_COMPONENT_VERSION);
}

TEST_F(Format, item_isRead) {
    ASSERT_EQ(beacons().itemsCount(), 2U);
    EXPECT_EQ(beacons().getComponentItem(0).getGameObjectIndex(), 1U);
    EXPECT_EQ(beacons().getComponentItem(0).getInstanceOptions().bits(), 33U);
}

TEST_F(Format, emptyItem_hasTheDefaults) {
    const ComponentItem item = beacons().getComponentItem(1);
    EXPECT_EQ(item.getGameObjectIndex(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(item.getInstanceOptions().bits(), 35U);
    EXPECT_FALSE(item.findProperty("text"));
}

TEST_F(Format, constructConfig_fillsTheConfiguration) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    beacons().getComponentItem(0).constructConfig(descriptor->configuration(), nullptr);
    const Beacon::Config& config = static_cast<BeaconDescriptor&>(*descriptor).config();
    EXPECT_EQ(config.text, " lit ");
    EXPECT_EQ(config.other, "");
    EXPECT_EQ(config.link.uuid(), Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    EXPECT_EQ(config.mark.label, "here");
    EXPECT_EQ(config.mark.target.uuid(), Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c002));
}

TEST_F(Format, findProperty_yieldsTheText) {
    const ComponentItem item = beacons().getComponentItem(0);
    ASSERT_TRUE(item.findProperty("text"));
    EXPECT_EQ(item.findProperty("text")->getSimpleValue(), " lit ");
    EXPECT_FALSE(item.findProperty("other"));
}

TEST_F(Format, unknownProperty_isSkippedWithAWarning) {
    const LogCapture log;
    PrefabFormat format(parseDocument("<prefab><components><pool><type>ConformanceBeacon</type><item><properties>"
                                      "<unknown>1</unknown><text>lit</text></properties></item></pool></components>"
                                      "</prefab>"));
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    format.getComponents()->getComponentPool(0).getComponentItem(0).constructConfig(descriptor->configuration(),
                                                                                    nullptr);
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*descriptor).config().text, "lit");
    EXPECT_EQ(log.count(LogSeverity::WARNING), 1U);
}

TEST_F(Format, whatIsWritten_readsBack) {
    const SmartPointer<DataSection> document = emptyDocument();
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    Beacon::Config& config = static_cast<BeaconDescriptor&>(*descriptor).config();
    config.text = " <lit> ";
    config.mark.target.setUuid(Uuid(5, 6));
    {
        PrefabFormat format(document);
        format.setFormatVersion(PrefabFormat::FORMAT_VERSION);
        GameObjectPool& objects = format.createGameObjectPool();
        const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
        object->setUuid(Uuid(1, 2));
        object->setName("Quay & pier");
        object->setFlags(std::bitset<6>(0x21));
        objects.addGameObject(object);
        EXPECT_EQ(format.getGameObjects(), &objects);

        ComponentPoolStorage& pools = format.createComponentPoolStorage();
        EXPECT_EQ(format.getComponents(), &pools);
        ComponentPool& pool = pools.createComponentPool(Beacon::NAME);
        EXPECT_EQ(pools.findComponentPool(Beacon::NAME), &pool);
        pool.setComponentVersion(4);
        ComponentItem item = pool.addComponent(0);
        item.setInstanceOptions(ComponentOptions(0x21U));
        item.storeConfig(descriptor->viewConfiguration());
    }

    PrefabFormat format(document);
    EXPECT_EQ(format.getFormatVersion(), 1U);
    ASSERT_EQ(format.getGameObjects()->gameObjectsCount(), 1U);
    const SmartPointer<GameObjectDescriptor> object = format.getGameObjects()->gameObjectData(0).getDescriptor();
    EXPECT_EQ(object->uuid(), Uuid(1, 2));
    EXPECT_EQ(nameOf(*object), "Quay & pier");
    EXPECT_EQ(object->flags().to_ulong(), 0x21U);
    ComponentPool& pool = format.getComponents()->getComponentPool(0);
    EXPECT_EQ(pool.getComponentVersion(), 4U);
    ASSERT_EQ(pool.itemsCount(), 1U);
    EXPECT_EQ(pool.getComponentItem(0).getGameObjectIndex(), 0U);
    EXPECT_EQ(pool.getComponentItem(0).getInstanceOptions().bits(), 0x21U);
    const SmartPointer<IComponentDescriptor> readBack = makeDescriptor(Beacon::NAME);
    pool.getComponentItem(0).constructConfig(readBack->configuration(), nullptr);
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*readBack).config().text, " <lit> ");
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*readBack).config().mark.target.uuid(), Uuid(5, 6));
}

/// The elements and texts themselves: other programs read these files.
TEST_F(Format, whatIsWritten_hasTheLayoutOfPrefabFiles) {
    const SmartPointer<DataSection> document = emptyDocument();
    PrefabFormat format(document);
    format.setFormatVersion(1);
    const SmartPointer<GameObjectDescriptor> object = makeSmart<GameObjectDescriptor>();
    object->setUuid(Uuid(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001));
    object->setName("Harbour");
    format.createGameObjectPool().addGameObject(object);
    ComponentPool& pool = format.createComponentPoolStorage().createComponentPool(Beacon::NAME);
    pool.setComponentVersion(1);
    ComponentItem item = pool.addComponent(0);
    item.setInstanceOptions(ALL_ROLES);
    item.storeConfig(makeDescriptor(Beacon::NAME)->viewConfiguration());

    EXPECT_EQ(document->readString("formatVersion"), "1");
    const SmartPointer<DataSection> storedObject =
        document->openSection("gameObjects", false)->openSection("gameObject", false);
    EXPECT_EQ(storedObject->readString("uuid"), "5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001");
    EXPECT_EQ(storedObject->readString("name"), "Harbour");
    EXPECT_EQ(storedObject->readString("flags"), "0");
    const SmartPointer<DataSection> storedPool = document->openSection("components", false)->openSection("pool", false);
    EXPECT_EQ(storedPool->readString("type"), Beacon::NAME);
    EXPECT_EQ(storedPool->readString("version"), "1");
    const SmartPointer<DataSection> storedItem = storedPool->openSection("item", false);
    EXPECT_EQ(storedItem->readString("gameObject"), "0");
    EXPECT_EQ(storedItem->readString("options"), "35");
    const SmartPointer<DataSection> properties = storedItem->openSection("properties", false);
    EXPECT_EQ(properties->readString("text"), "unlit");
    EXPECT_EQ(properties->readString("link"), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(properties->openSection("mark", false)->readString("label"), "");
}

} // namespace
} // namespace Conformance
