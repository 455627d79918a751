#include "platform_access.h"
#include "test_components.h"

#include <reflection/meta_object.h>
#include <reflection/reflected_object.h>
#include <variant/variant_converter.h>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace Conformance {
namespace {

using namespace Kiln;
using Kiln::Tessel::ILinkConfig;

[[nodiscard]] ILinkConfig* linkAt(const mirra::ReflectedObject& object, std::size_t index) {
    return vessa::VariantConverter::convertTo<ILinkConfig>(object.propertyAt(index).get());
}

TEST(Reflection, configuration_hasItsPropertiesByIndex) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    const mirra::ReflectedObject object = descriptor->configuration();
    ASSERT_TRUE(object.isValid());
    EXPECT_EQ(object.properties(), 4U);
}

TEST(Reflection, defaultObject_isNotValidAndHasNoProperties) {
    const mirra::ReflectedObject object;
    EXPECT_FALSE(object.isValid());
    EXPECT_EQ(object.properties(), 0U);
}

TEST(Reflection, onlyLinks_convertToILinkConfig) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    const mirra::ReflectedObject object = descriptor->configuration();
    EXPECT_EQ(linkAt(object, 0), nullptr);
    EXPECT_NE(linkAt(object, 2), nullptr);
    EXPECT_EQ(linkAt(object, 3), nullptr);
}

TEST(Reflection, linkThatIsConvertedTo_isThatOfTheConfiguration) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    ILinkConfig* const link = linkAt(descriptor->configuration(), 2);
    ASSERT_NE(link, nullptr);
    link->setUuid(Uuid(5, 6));
    EXPECT_EQ(link->uuid(), Uuid(5, 6));
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*descriptor).config().link.uuid(), Uuid(5, 6));
}

TEST(Reflection, structure_isAReflectedObject) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    const mirra::ReflectedObject object = descriptor->configuration();
    const mirra::ReflectedObject mark(object.propertyAt(3));
    ASSERT_TRUE(mark.isValid());
    ASSERT_EQ(mark.properties(), 2U);
    ILinkConfig* const link = linkAt(mark, 1);
    ASSERT_NE(link, nullptr);
    link->setUuid(Uuid(7, 8));
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*descriptor).config().mark.target.uuid(), Uuid(7, 8));
}

TEST(Reflection, simpleProperty_isNoReflectedObject) {
    const SmartPointer<IComponentDescriptor> descriptor = makeDescriptor(Beacon::NAME);
    EXPECT_FALSE(mirra::ReflectedObject(descriptor->configuration().propertyAt(0)).isValid());
}

TEST(Reflection, descriptions_areFoundFromAnyThread) {
    std::atomic<int> missingCount{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&missingCount] {
            for (int round = 0; round < 500; ++round) {
                missingCount += makeDescriptor(Beacon::NAME)->configuration().properties() == 4 ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(missingCount, 0);
}

} // namespace
} // namespace Conformance
