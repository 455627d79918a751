#include "document_fixture.h"

#include <object_serialization/prefab_format.h>

namespace Kiln::SerializationTests {
namespace {

using Tessel::ComponentItem;
using Tessel::ComponentPool;
using Tessel::ComponentPoolStorage;
using Tessel::GameObjectPool;
using Tessel::PrefabFormat;

class WritingFormat : public DocumentFixture {
protected:
    [[nodiscard]] static SmartPointer<GameObjectDescriptor> object(const Uuid& uuid, std::string name,
                                                                   unsigned long flags = 0) {
        SmartPointer<GameObjectDescriptor> descriptor = makeSmart<GameObjectDescriptor>();
        descriptor->setUuid(uuid);
        descriptor->setName(std::move(name));
        descriptor->setFlags(flags);
        return descriptor;
    }

    const SmartPointer<DataSection> section = DataSection::create("prefab");
    PrefabFormat format{section};
};

TEST_F(WritingFormat, newDocument_hasNoPoolsUntilTheyAreMade) {
    EXPECT_EQ(format.getGameObjects(), nullptr);
    EXPECT_EQ(format.getComponents(), nullptr);
    GameObjectPool& objects = format.createGameObjectPool();
    ComponentPoolStorage& components = format.createComponentPoolStorage();
    EXPECT_EQ(format.getGameObjects(), &objects);
    EXPECT_EQ(format.getComponents(), &components);
    EXPECT_EQ(objects.gameObjectsCount(), 0U);
    EXPECT_EQ(components.poolsCount(), 0U);
}

TEST_F(WritingFormat, setFormatVersion_replacesAnEarlierOne) {
    format.setFormatVersion(7);
    format.setFormatVersion(1);
    EXPECT_EQ(format.getFormatVersion(), 1U);
    EXPECT_EQ(section->childrenCount(), 1U);
}

TEST_F(WritingFormat, addedObjectsPoolsAndItems_areThereAtOnce) {
    GameObjectPool& objects = format.createGameObjectPool();
    objects.addGameObject(object({0, 1}, "a", 5));
    ASSERT_EQ(objects.gameObjectsCount(), 1U);
    const auto descriptor = objects.gameObjectData(0).getDescriptor();
    EXPECT_EQ(descriptor->uuid(), Uuid(0, 1));
    EXPECT_EQ(descriptor->name(), "a");
    EXPECT_EQ(descriptor->flags().to_ulong(), 5U);

    ComponentPoolStorage& components = format.createComponentPoolStorage();
    ComponentPool& pool = components.createComponentPool("TextComponent");
    EXPECT_EQ(components.poolsCount(), 1U);
    EXPECT_EQ(components.findComponentPool("TextComponent"), &pool);
    EXPECT_EQ(pool.getComponentType(), "TextComponent");
    EXPECT_EQ(pool.getComponentVersion(), 1U);
    pool.setComponentVersion(4);
    EXPECT_EQ(pool.getComponentVersion(), 4U);
    EXPECT_EQ(pool.itemsCount(), 0U);
    EXPECT_EQ(pool.addComponent(9).getGameObjectIndex(), 9U);
    EXPECT_EQ(pool.itemsCount(), 1U);
}

TEST_F(WritingFormat, emptyDocument_exactText) {
    format.setFormatVersion(PrefabFormat::FORMAT_VERSION);
    format.createGameObjectPool();
    format.createComponentPoolStorage();
    EXPECT_EQ(section->toText(), R"(<?xml version="1.0" encoding="utf-8"?>
<prefab>
	<formatVersion>1</formatVersion>
	<gameObjects></gameObjects>
	<components></components>
</prefab>
)");
}

// Long because it has the whole text of a document.
TEST_F(WritingFormat, documentOfTheFileFormat_exactText) {
    format.setFormatVersion(PrefabFormat::FORMAT_VERSION);
    GameObjectPool& objects = format.createGameObjectPool();
    const Uuid harbour(0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c001);
    objects.addGameObject(object(harbour, "Harbour"));
    objects.addGameObject(object({0x5b0f1c2e6a0d4f43, 0x9f6e0d9a35b1c002}, "Lamp & <post>", 0x3f));
    ComponentPoolStorage& components = format.createComponentPoolStorage();

    ComponentPool& links = components.createComponentPool("LinksComponent");
    links.setComponentVersion(1);
    ComponentItem link = links.addComponent(1);
    link.setInstanceOptions(Tessel::ALL_ROLES);
    const auto linksDescriptor = makeDescriptor<LinksComponent>();
    linksDescriptor->config().link.setUuid(harbour);
    linksDescriptor->config().wires.resize(1);
    link.storeConfig(linksDescriptor->viewConfiguration());

    ComponentPool& texts = components.createComponentPool("TextComponent");
    texts.setComponentVersion(2);
    for (const std::uint64_t index : {0U, 1U}) {
        ComponentItem item = texts.addComponent(index);
        item.setInstanceOptions(Tessel::ComponentOption::SERVER);
        const auto descriptor = makeDescriptor<TextComponent>();
        descriptor->config().text = "text " + std::to_string(index);
        item.storeConfig(descriptor->viewConfiguration());
    }

    EXPECT_EQ(section->toText(), R"(<?xml version="1.0" encoding="utf-8"?>
<prefab>
	<formatVersion>1</formatVersion>
	<gameObjects>
		<gameObject>
			<uuid>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</uuid>
			<name>Harbour</name>
			<flags>0</flags>
		</gameObject>
		<gameObject>
			<uuid>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c002</uuid>
			<name>Lamp &amp; &lt;post&gt;</name>
			<flags>63</flags>
		</gameObject>
	</gameObjects>
	<components>
		<pool>
			<type>LinksComponent</type>
			<version>1</version>
			<item>
				<gameObject>1</gameObject>
				<options>35</options>
				<properties>
					<link>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</link>
					<links></links>
					<wire>
						<end>00000000-0000-0000-0000-000000000000</end>
					</wire>
					<wires>
						<value>
							<end>00000000-0000-0000-0000-000000000000</end>
						</value>
					</wires>
				</properties>
			</item>
		</pool>
		<pool>
			<type>TextComponent</type>
			<version>2</version>
			<item>
				<gameObject>0</gameObject>
				<options>2</options>
				<properties>
					<text>text 0</text>
					<note></note>
				</properties>
			</item>
			<item>
				<gameObject>1</gameObject>
				<options>2</options>
				<properties>
					<text>text 1</text>
					<note></note>
				</properties>
			</item>
		</pool>
	</components>
</prefab>
)");
}

TEST_F(WritingFormat, existingDocument_isAppendedTo) {
    const SmartPointer<DataSection> document =
        parse("<prefab><gameObjects><gameObject><uuid>00000000-0000-0000-0000-000000000001</uuid></gameObject>"
              "</gameObjects><components><pool><type>A</type><item><gameObject>0</gameObject></item></pool>"
              "</components></prefab>");
    PrefabFormat existing(document);
    existing.getGameObjects()->addGameObject(object({0, 2}, "b"));
    existing.getComponents()->findComponentPool("A")->addComponent(1);
    existing.getComponents()->createComponentPool("B");
    PrefabFormat again(document);
    EXPECT_EQ(again.getGameObjects()->gameObjectsCount(), 2U);
    EXPECT_EQ(again.getGameObjects()->gameObjectData(1).getDescriptor()->name(), "b");
    EXPECT_EQ(again.getComponents()->poolsCount(), 2U);
    EXPECT_EQ(again.getComponents()->getComponentPool(0).itemsCount(), 2U);
    EXPECT_EQ(again.getComponents()->getComponentPool(0).getComponentItem(1).getGameObjectIndex(), 1U);
}

TEST_F(WritingFormat, pools_keepTheDocumentAlive) {
    auto other = std::make_unique<PrefabFormat>(parse("<prefab><components><pool><type>A</type></pool></components>"
                                                      "</prefab>"));
    EXPECT_EQ(other->getComponents()->getComponentPool(0).getComponentVersion(), 1U);
}

} // namespace
} // namespace Kiln::SerializationTests
