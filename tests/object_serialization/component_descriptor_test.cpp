#include "document_fixture.h"

#include <object_serialization/override_records.h>
#include <variant/variant_converter.h>

#include <type_traits>

namespace Kiln::SerializationTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TextDescriptor = ComponentDescriptor<TextComponent>;

static_assert(!std::is_copy_constructible_v<TextDescriptor> && !std::is_copy_assignable_v<TextDescriptor>,
              "a descriptor refers to its own configuration");

class Descriptor : public DocumentFixture {
protected:
    /// Override records for a text component.
    [[nodiscard]] static ComponentOverrideRecords overrides(const std::string& properties) {
        ComponentOverrideRecords records("TextComponent");
        records.add(parse("<properties>" + properties + "</properties>"));
        return records;
    }

    /// The `text` that a view of the descriptor shows.
    [[nodiscard]] static std::string textOf(const mirra::ReflectedObject& view) {
        return static_cast<const TextConfig*>(view.object())->text;
    }

    const SmartPointer<TextDescriptor> descriptor = makeDescriptor<TextComponent>();
    const TextDescriptor& constant = *descriptor;
};

TEST_F(Descriptor, texts_comeFromItsRegistration) {
    EXPECT_EQ(descriptor->name(), "TextComponent");
    EXPECT_EQ(descriptor->libraryPath(), "components/TextComponent");
    EXPECT_EQ(descriptor->category(), IComponentDescriptor::DEFAULT_CATEGORY);
    EXPECT_STREQ(IComponentDescriptor::DEFAULT_CATEGORY, "General");
    EXPECT_EQ(descriptor->type(), Tessel::NativeComponent<TextComponent>::getType());
}

TEST_F(Descriptor, instanceOptions_are35UntilSet) {
    EXPECT_EQ(descriptor->getInstanceOptions().bits(), 35U);
    descriptor->setInstanceOptions(Tessel::ComponentOption::CLIENT);
    EXPECT_EQ(descriptor->getInstanceOptions().bits(), 1U);
}

TEST_F(Descriptor, beforeTheFirstStore_changesAreThePrefabsValues) {
    descriptor->config().text = "a";
    EXPECT_EQ(constant.config().text, "a");
    EXPECT_EQ(descriptor->prefabProperties().text, "a");
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
}

TEST_F(Descriptor, afterAStore_changesAreSeenInTheConfigurationAlone) {
    descriptor->config().text = "a";
    descriptor->storePrefabProperties();
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
    descriptor->config().text = "b";
    EXPECT_TRUE(descriptor->isOffPrefabProperties());
    EXPECT_EQ(constant.config().text, "b");
    EXPECT_EQ(textOf(descriptor->viewConfiguration()), "b");
    EXPECT_EQ(textOf(descriptor->configuration()), "b");
    EXPECT_EQ(descriptor->prefabProperties().text, "a");
}

TEST_F(Descriptor, viewConfiguration_isNotAChange) {
    descriptor->storePrefabProperties();
    EXPECT_EQ(descriptor->viewConfiguration().object(), &descriptor->prefabProperties());
    (void)constant.config();
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
}

TEST_F(Descriptor, configuration_afterAStore_isAChange) {
    descriptor->storePrefabProperties();
    EXPECT_NE(descriptor->configuration().object(), &descriptor->prefabProperties());
    EXPECT_TRUE(descriptor->isOffPrefabProperties());
}

TEST_F(Descriptor, storePrefabProperties_takesTheChangesOver) {
    descriptor->storePrefabProperties();
    descriptor->config().text = "b";
    descriptor->storePrefabProperties();
    EXPECT_EQ(descriptor->prefabProperties().text, "b");
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(constant.config().text, "b");
}

TEST_F(Descriptor, setupOverrides_null_restores) {
    descriptor->config().text = "a";
    descriptor->storePrefabProperties();
    descriptor->config().text = "b";
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(constant.config().text, "a");
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
}

TEST_F(Descriptor, setupOverrides_appliesTheRecords) {
    descriptor->config() = {"a", "n", 0};
    descriptor->storePrefabProperties();
    const ComponentOverrideRecords records = overrides("<text>over</text>");
    descriptor->setupOverrides(&records);
    EXPECT_EQ(constant.config().text, "over");
    EXPECT_EQ(constant.config().note, "n");
    EXPECT_EQ(descriptor->prefabProperties().text, "a");
    EXPECT_TRUE(descriptor->isOffPrefabProperties());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Descriptor, setupOverrides_startsFromThePrefabsValuesEachTime) {
    descriptor->config() = {"a", "n", 0};
    descriptor->storePrefabProperties();
    const ComponentOverrideRecords first = overrides("<text>first</text>");
    const ComponentOverrideRecords second = overrides("<note>second</note>");
    descriptor->setupOverrides(&first);
    descriptor->setupOverrides(&second);
    EXPECT_EQ(constant.config().text, "a");
    EXPECT_EQ(constant.config().note, "second");
}

TEST_F(Descriptor, setupOverrides_neverStored_storesFirst) {
    descriptor->config().text = "a";
    const ComponentOverrideRecords records = overrides("<text>over</text>");
    descriptor->setupOverrides(&records);
    EXPECT_EQ(constant.config().text, "over");
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(constant.config().text, "a");
}

TEST_F(Descriptor, setupOverrides_problem_namesTheComponent) {
    const ComponentOverrideRecords records = overrides("<colour>red</colour>");
    descriptor->setupOverrides(&records);
    EXPECT_THAT(log.messages(), ElementsAre(propertyWarning("Component 'TextComponent': property 'colour' is not "
                                                            "known and is skipped (test.prefab, line 1)")));
}

TEST_F(Descriptor, setState_isKeptAcrossRestoreAndStore) {
    descriptor->storePrefabProperties();
    descriptor->config().text = "changed";
    descriptor->setState(&TextConfig::state, 5);
    EXPECT_EQ(constant.config().state, 5);
    EXPECT_EQ(constant.config().text, "changed");
    descriptor->setupOverrides(nullptr);
    EXPECT_EQ(constant.config().state, 5);
    descriptor->config().text = "again";
    descriptor->storePrefabProperties();
    EXPECT_EQ(constant.config().state, 5);
}

TEST_F(Descriptor, setState_withoutChanges_makesNone) {
    descriptor->storePrefabProperties();
    descriptor->setState(&TextConfig::state, 5);
    EXPECT_FALSE(descriptor->isOffPrefabProperties());
}

TEST_F(Descriptor, reflect_holdsAViewOfTheConfiguration) {
    descriptor->config().text = "a";
    const vessa::Variant variant = descriptor->reflect();
    const auto* const object = variant.get<mirra::ReflectedObject>();
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(object->isValid());
    EXPECT_EQ(object->object(), &descriptor->prefabProperties());
    EXPECT_EQ(object->metaObject(), mirra::MetaObjectManager::instance().findType(typeid(TextConfig)));
    EXPECT_EQ(object->properties(), 2U);
    EXPECT_EQ(object->propertyAt(0).name(), "text");
}

TEST_F(Descriptor, registration_describesTheConfiguration) {
    EXPECT_NE(mirra::MetaObjectManager::instance().findType("TextComponent::Config"), nullptr);
}

TEST_F(Descriptor, metaType_componentWithoutDescription_isNull) {
    EXPECT_EQ(descriptor->metaType(), nullptr);
}

TEST_F(Descriptor, preload_getsThePrefabsValues) {
    TextComponent::preloaded.clear();
    descriptor->config().text = "own";
    descriptor->storePrefabProperties();
    descriptor->config().text = "changed";
    descriptor->preload();
    EXPECT_THAT(TextComponent::preloaded, ElementsAre("own"));
}

TEST_F(Descriptor, preload_componentThatHasNone_doesNothing) {
    makeDescriptor<ValuesComponent>()->preload();
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Descriptor, hasLinks_followsTheDescription) {
    EXPECT_FALSE(descriptor->hasLinks());
    EXPECT_TRUE(makeDescriptor<LinksComponent>()->hasLinks());
    EXPECT_TRUE(makeDescriptor<ValuesComponent>()->hasLinks());
    EXPECT_FALSE(makeDescriptor<TreeComponent>()->hasLinks());
}

TEST_F(Descriptor, componentWithoutDescription_hasNoConfigurationToSee) {
    ComponentDescriptor<UnknownComponent> unknown("Unknown", "General");
    EXPECT_FALSE(unknown.configuration().isValid());
    EXPECT_FALSE(unknown.viewConfiguration().isValid());
    EXPECT_FALSE(unknown.hasLinks());
    unknown.config().number = 3;
    unknown.storePrefabProperties();
    EXPECT_EQ(unknown.prefabProperties().number, 3);
}

} // namespace
} // namespace Kiln::SerializationTests
