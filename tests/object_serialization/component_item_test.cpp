#include "document_fixture.h"

#include <object_serialization/prefab_format.h>

namespace Kiln::SerializationTests {
namespace {

using Tessel::ComponentPool;
using Tessel::PrefabFormat;
using testing::ElementsAre;
using testing::IsEmpty;

/// The only item of a document.
class Item : public DocumentFixture {
protected:
    void open(const std::string& item) {
        m_format = std::make_unique<PrefabFormat>(parse("<prefab><components><pool><type>TextComponent</type>\n<item>" +
                                                        item + "</item></pool></components></prefab>"));
    }

    [[nodiscard]] Tessel::ComponentItem item() const {
        return m_format->getComponents()->getComponentPool(0).getComponentItem(0);
    }

    const SmartPointer<ComponentDescriptor<TextComponent>> descriptor = makeDescriptor<TextComponent>();

private:
    std::unique_ptr<PrefabFormat> m_format;
};

TEST_F(Item, constructConfig_readsTheProperties) {
    open("<properties><text> a </text></properties>");
    item().constructConfig(descriptor->configuration(), nullptr);
    EXPECT_EQ(descriptor->config().text, " a ");
    EXPECT_EQ(descriptor->config().note, "");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Item, constructConfig_withoutProperties_keepsTheDefaults) {
    open("");
    item().constructConfig(descriptor->configuration(), nullptr);
    EXPECT_EQ(descriptor->config().text, "");
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Item, constructConfig_problem_namesThePoolsTypeInTheLog) {
    open("\n<properties><txt>a</txt></properties>");
    item().constructConfig(descriptor->configuration(), nullptr);
    EXPECT_THAT(log.messages(), ElementsAre(propertyWarning("Component 'TextComponent': property 'txt' is not known "
                                                            "and is skipped (test.prefab, line 3)")));
}

TEST_F(Item, constructConfig_problemWithHandler_goesToTheHandler) {
    open("<properties><txt>a</txt></properties>");
    std::vector<std::string> problems;
    const Tessel::DeseriralizeErrorHandler handler{"context",
                                                   [&problems](const std::string& text) { problems.push_back(text); }};
    item().constructConfig(descriptor->configuration(), &handler);
    EXPECT_THAT(problems, ElementsAre("context. Component 'TextComponent': property 'txt' is not known and is skipped "
                                      "(test.prefab, line 2)"));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Item, findProperty_givesTheTextByteForByte) {
    open("<properties><text> a &lt; </text><note/></properties>");
    ASSERT_TRUE(item().findProperty("text").has_value());
    EXPECT_EQ(item().findProperty("text")->getSimpleValue(), " a < ");
    ASSERT_TRUE(item().findProperty("note").has_value());
    EXPECT_EQ(item().findProperty("note")->getSimpleValue(), "");
    EXPECT_FALSE(item().findProperty("colour").has_value());
}

TEST_F(Item, findProperty_withoutProperties_isNone) {
    open("<text>a</text>");
    EXPECT_FALSE(item().findProperty("text").has_value());
}

TEST_F(Item, setInstanceOptions_replacesThem) {
    open("<options>1</options>");
    item().setInstanceOptions(Tessel::ComponentOptions(34U));
    EXPECT_EQ(item().getInstanceOptions().bits(), 34U);
}

TEST_F(Item, storedConfig_isReadBack) {
    const SmartPointer<DataSection> section = DataSection::create("prefab");
    PrefabFormat format(section);
    ComponentPool& pool = format.createComponentPoolStorage().createComponentPool("TextComponent");
    descriptor->config() = {"text", " note ", 5};
    Tessel::ComponentItem stored = pool.addComponent(3);
    stored.storeConfig(descriptor->viewConfiguration());
    EXPECT_EQ(stored.getGameObjectIndex(), 3U);
    const auto copy = makeDescriptor<TextComponent>();
    stored.constructConfig(copy->configuration(), nullptr);
    EXPECT_EQ(copy->config().text, "text");
    EXPECT_EQ(copy->config().note, " note ");
    EXPECT_EQ(copy->config().state, 0);
}

TEST_F(Item, anItemOfTheSameComponent_seesWhatHasBeenStoredSince) {
    PrefabFormat format(DataSection::create("prefab"));
    ComponentPool& pool = format.createComponentPoolStorage().createComponentPool("TextComponent");
    Tessel::ComponentItem first = pool.addComponent(3);
    Tessel::ComponentItem second = pool.getComponentItem(0);
    first.setInstanceOptions(Tessel::ComponentOptions(1U));
    descriptor->config() = {"text", "note", 5};
    first.storeConfig(descriptor->viewConfiguration());
    EXPECT_EQ(second.getInstanceOptions().bits(), 1U);
    EXPECT_EQ(second.findProperty("text")->getSimpleValue(), "text");
    second.setInstanceOptions(Tessel::ComponentOptions(2U));
    EXPECT_EQ(first.getInstanceOptions().bits(), 2U);
}

} // namespace
} // namespace Kiln::SerializationTests
