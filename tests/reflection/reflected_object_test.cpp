#include <reflection/reflected_object.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mirra {

namespace {

struct Bulb {
    float power = 60;
};

struct Lamp {
    std::string label = "lamp";
    Bulb bulb;
    std::vector<int> hours;
};

struct UndescribedPart {
    int number = 0;
};

struct Holder {
    UndescribedPart part;
};

class ReflectedObjectTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        StaticMetaObjectBuilder<Bulb>("reflected_object_test::Bulb").addProperty<&Bulb::power>("power").finish();
        StaticMetaObjectBuilder<Lamp>("reflected_object_test::Lamp")
            .addProperty<&Lamp::label>("label", {Meta::View::Path})
            .addProperty<&Lamp::bulb>("bulb")
            .addProperty<&Lamp::hours>("hours")
            .finish();
        StaticMetaObjectBuilder<Holder>("reflected_object_test::Holder").addProperty<&Holder::part>("part").finish();
    }

    static const BaseStaticMetaObject& lampType() { return *MetaObjectManager::instance().findType(typeid(Lamp)); }

    Lamp m_lamp;
    ReflectedObject m_reflected{vessa::Variant::refer(&m_lamp)};
};

} // namespace

TEST_F(ReflectedObjectTest, default_isNotValid) {
    const ReflectedObject reflected;

    EXPECT_FALSE(reflected.isValid());
    EXPECT_EQ(reflected.properties(), 0U);
    EXPECT_EQ(reflected.metaObject(), nullptr);
    EXPECT_EQ(reflected.object(), nullptr);
}

TEST_F(ReflectedObjectTest, describedType_isSeenThroughItsDescription) {
    EXPECT_TRUE(m_reflected.isValid());
    EXPECT_EQ(m_reflected.metaObject(), &lampType());
    EXPECT_EQ(m_reflected.object(), &m_lamp);
    EXPECT_EQ(m_reflected.properties(), 3U);
}

TEST_F(ReflectedObjectTest, undescribedOrEmptyVariant_isNotValid) {
    UndescribedPart value;

    EXPECT_FALSE(ReflectedObject(vessa::Variant::refer(&value)).isValid());
    EXPECT_FALSE(ReflectedObject(vessa::Variant()).isValid());
}

TEST_F(ReflectedObjectTest, owningVariant_isKeptAlive) {
    ReflectedObject reflected;
    {
        const vessa::Variant owner = vessa::Variant::own(Lamp{"kept", {}, {}});
        reflected = ReflectedObject(owner);
    }
    EXPECT_EQ(*reflected.propertyAt(0).get().get<std::string>(), "kept");
}

TEST_F(ReflectedObjectTest, init_viewsAnObject) {
    ReflectedObject reflected;
    reflected.init(lampType(), &m_lamp);

    EXPECT_TRUE(reflected.isValid());
    EXPECT_EQ(reflected.propertyAt(0).value(), &m_lamp.label);
}

TEST_F(ReflectedObjectTest, init_dropsWhatWasViewedBefore) {
    const auto observed = std::make_shared<int>(0);
    struct Owner : Lamp {
        std::shared_ptr<int> observed;
    };
    StaticMetaObjectBuilder<Owner>("reflected_object_test::Owner").finish();
    ReflectedObject reflected(vessa::Variant::own(Owner{{}, observed}));
    ASSERT_TRUE(reflected.isValid());
    ASSERT_EQ(observed.use_count(), 2);

    reflected.init(lampType(), &m_lamp);
    EXPECT_EQ(observed.use_count(), 1);
}

TEST_F(ReflectedObjectTest, propertyAt_bindsNameTypeValueAndAnnotations) {
    const BoundProperty label = m_reflected.propertyAt(0);

    EXPECT_EQ(label.name(), "label");
    EXPECT_EQ(&label.type(), &valueType<std::string>());
    EXPECT_EQ(label.value(), &m_lamp.label);
    EXPECT_TRUE(label.hasAnnotation(Meta::View::Path));
    EXPECT_FALSE(m_reflected.propertyAt(1).hasAnnotation(Meta::View::Path));
}

TEST_F(ReflectedObjectTest, boundProperty_getRefersToTheValue) {
    *m_reflected.propertyAt(0).get().get<std::string>() = "changed";

    EXPECT_EQ(m_lamp.label, "changed");
}

TEST_F(ReflectedObjectTest, structureProperty_isAnObject) {
    const ReflectedObject bulb(m_reflected.propertyAt(1));

    ASSERT_TRUE(bulb.isValid());
    EXPECT_EQ(bulb.object(), &m_lamp.bulb);
    ASSERT_EQ(bulb.properties(), 1U);
    EXPECT_EQ(bulb.propertyAt(0).name(), "power");
    EXPECT_EQ(bulb.propertyAt(0).value(), &m_lamp.bulb.power);
}

TEST_F(ReflectedObjectTest, vectorProperty_hasItsElementsAsProperties) {
    m_lamp.hours = {3, 4};
    const ReflectedObject hours(m_reflected.propertyAt(2));

    EXPECT_TRUE(hours.isValid());
    EXPECT_EQ(hours.metaObject(), nullptr);
    ASSERT_EQ(hours.properties(), 2U);
    EXPECT_EQ(hours.propertyAt(1).name(), "");
    EXPECT_EQ(&hours.propertyAt(1).type(), &valueType<int>());
    EXPECT_EQ(hours.propertyAt(1).value(), &m_lamp.hours[1]);
    EXPECT_FALSE(hours.propertyAt(1).hasAnnotation(Meta::View::Path));
}

TEST_F(ReflectedObjectTest, emptyVector_isValid) {
    const ReflectedObject hours(m_reflected.propertyAt(2));

    EXPECT_TRUE(hours.isValid());
    EXPECT_EQ(hours.properties(), 0U);
}

TEST_F(ReflectedObjectTest, scalarProperty_isNotValid) {
    const ReflectedObject label(m_reflected.propertyAt(0));

    EXPECT_FALSE(label.isValid());
    EXPECT_EQ(label.object(), nullptr);
}

TEST_F(ReflectedObjectTest, undescribedStructureProperty_isNotValid) {
    Holder holder;
    const ReflectedObject reflected(vessa::Variant::refer(&holder));
    ASSERT_EQ(reflected.properties(), 1U);

    EXPECT_FALSE(ReflectedObject(reflected.propertyAt(0)).isValid());
}

TEST_F(ReflectedObjectTest, arePropertiesEqual_comparesEveryProperty) {
    Lamp other;
    EXPECT_TRUE(arePropertiesEqual(lampType(), &m_lamp, &other));

    other.label = "other";
    EXPECT_FALSE(arePropertiesEqual(lampType(), &m_lamp, &other));
    other = Lamp();
    other.bulb.power = 40;
    EXPECT_FALSE(arePropertiesEqual(lampType(), &m_lamp, &other));
    other = Lamp();
    other.hours = {1};
    EXPECT_FALSE(arePropertiesEqual(lampType(), &m_lamp, &other));
}

TEST_F(ReflectedObjectTest, arePropertiesEqual_notANumberEqualsItself) {
    Lamp other;
    m_lamp.bulb.power = other.bulb.power = std::numeric_limits<float>::quiet_NaN();

    EXPECT_TRUE(arePropertiesEqual(lampType(), &m_lamp, &other));
}

} // namespace mirra
