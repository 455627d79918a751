#include <reflection/meta_object.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/assertion_capture.h>

namespace mirra {

namespace {

using Kiln::TestSupport::AssertionCapture;
using testing::ElementsAre;

constexpr Annotation FIRST{"First"};
constexpr Annotation SECOND{"Second"};

struct Torch {
    std::string label;
    float& power() { return m_power; }
    const int& count() const { return m_count; }

private:
    float m_power = 60;
    int m_count = 2;
};

struct Annotated {
    int own = 0;
    int inner = 0;
    int outer = 0;
};
struct Unbalanced {
    int number = 0;
};
struct Overpopped {
    int number = 0;
};

} // namespace

TEST(MetaObject, description_hasTypeNameAndAnnotations) {
    const StaticMetaObject<Torch> metaObject("Torch", {FIRST});

    EXPECT_EQ(metaObject.type(), typeid(Torch));
    EXPECT_EQ(metaObject.name(), "Torch");
    EXPECT_TRUE(metaObject.annotations().has(FIRST));
    EXPECT_TRUE(metaObject.properties().empty());
}

TEST(MetaObject, properties_keepTheirOrder) {
    StaticMetaObject<Torch> metaObject("Torch");
    metaObject.addProperty<&Torch::power>("power");
    metaObject.addProperty<&Torch::label>("label");

    ASSERT_EQ(metaObject.properties().size(), 2U);
    EXPECT_EQ(metaObject.properties()[0].name, "power");
    EXPECT_EQ(metaObject.properties()[0].type, &valueType<float>());
    EXPECT_EQ(metaObject.properties()[1].name, "label");
    EXPECT_EQ(metaObject.properties()[1].type, &valueType<std::string>());
}

TEST(MetaObject, address_isTheMember) {
    StaticMetaObject<Torch> metaObject("Torch");
    metaObject.addProperty<&Torch::label>("label");
    metaObject.addProperty<&Torch::power>("power");
    metaObject.addProperty<&Torch::count>("count");
    Torch lamp;

    EXPECT_EQ(metaObject.properties()[0].address(&lamp), &lamp.label);
    EXPECT_EQ(metaObject.properties()[1].address(&lamp), &lamp.power());
    EXPECT_EQ(metaObject.properties()[2].address(&lamp), &lamp.count());
}

TEST(MetaObject, findProperty_byName) {
    StaticMetaObject<Torch> metaObject("Torch");
    metaObject.addProperty<&Torch::label>("label");

    EXPECT_EQ(metaObject.findProperty("label"), &metaObject.properties()[0]);
    EXPECT_EQ(metaObject.findProperty("Label"), nullptr);
    EXPECT_EQ(metaObject.findProperty(""), nullptr);
}

TEST(StaticMetaObjectBuilder, finish_registersTheDescription) {
    AssertionCapture assertions;
    StaticMetaObjectBuilder<Torch> builder("meta_object_test::Torch");
    builder.addProperty<&Torch::label>("label");
    const BaseStaticMetaObject& metaObject = builder.finish();

    EXPECT_EQ(MetaObjectManager::instance().findType(typeid(Torch)), &metaObject);
    EXPECT_EQ(assertions.count(), 0U);
}

TEST(StaticMetaObjectBuilder, pushedAnnotations_coverTheirScope) {
    AssertionCapture assertions;
    StaticMetaObjectBuilder<Annotated> builder("Annotated");
    builder.pushAnnotations({FIRST});
    builder.pushAnnotations({SECOND});
    builder.addProperty<&Annotated::inner>("inner", {Meta::View::Path});
    builder.popAnnotations();
    builder.addProperty<&Annotated::outer>("outer");
    builder.popAnnotations();
    builder.addProperty<&Annotated::own>("own", {SECOND});
    const std::vector<Property>& properties = builder.finish().properties();

    ASSERT_EQ(properties.size(), 3U);
    EXPECT_TRUE(properties[0].annotations.has(Meta::View::Path));
    EXPECT_TRUE(properties[0].annotations.has(FIRST));
    EXPECT_TRUE(properties[0].annotations.has(SECOND));
    EXPECT_TRUE(properties[1].annotations.has(FIRST));
    EXPECT_FALSE(properties[1].annotations.has(SECOND));
    EXPECT_FALSE(properties[2].annotations.has(FIRST));
    EXPECT_TRUE(properties[2].annotations.has(SECOND));
    EXPECT_EQ(assertions.count(), 0U);
}

TEST(StaticMetaObjectBuilder, missingPop_isReportedAndTheTypeRegistered) {
    AssertionCapture assertions;
    StaticMetaObjectBuilder<Unbalanced> builder("Unbalanced");
    builder.pushAnnotations({FIRST});
    const BaseStaticMetaObject& metaObject = builder.finish();

    EXPECT_THAT(assertions.failures(),
                ElementsAre(AssertionCapture::Failure{"annotations_.size() == 1", "Missing META_POP",
                                                      "shared_libs/reflection/static_meta_object", 322}));
    EXPECT_EQ(MetaObjectManager::instance().findType(typeid(Unbalanced)), &metaObject);
}

TEST(StaticMetaObjectBuilder, surplusPop_isReported) {
    AssertionCapture assertions;
    StaticMetaObjectBuilder<Overpopped> builder("Overpopped");
    builder.popAnnotations();
    builder.popAnnotations();
    builder.addProperty<&Overpopped::number>("number");
    builder.finish();

    EXPECT_THAT(assertions.messages(), ElementsAre("Missing META_POP"));
}

} // namespace mirra
