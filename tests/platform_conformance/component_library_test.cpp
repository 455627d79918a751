#include "platform_access.h"
#include "test_components.h"

#include <generic_components/transform_component.h>
#include <object_framework/entry_point.h>
#include <object_framework/hierarchy_component.h>

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <typeinfo>
#include <vector>

namespace Conformance {
namespace {

using namespace Kiln;
using namespace Kiln::Tessel;

[[nodiscard]] const ComponentLibrary& library() {
    return ComponentLibrary::instance();
}

TEST(Library, isAServiceOfTheEntryPoint) {
    EXPECT_EQ(EntryPoint::instance().getService<ComponentLibrary>(), &library());
}

TEST(Library, registeredType_isFoundByNameAndByType) {
    const std::size_t id = library().findComponent(Beacon::NAME);
    ASSERT_NE(id, ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library().findComponent(typeid(Beacon)), id);
    EXPECT_EQ(library().componentName(id), Beacon::NAME);
    EXPECT_LT(id, library().componentsCount());
}

/// The product looks names up by the component type's id.
TEST(Library, id_isTheComponentTypesId) {
    EXPECT_EQ(library().findComponent(typeid(Beacon)), NativeComponent<Beacon>::getType());
    EXPECT_EQ(library().componentMeta(library().findComponent(Beacon::NAME)).typeId,
              NativeComponent<Beacon>::getType());
}

TEST(Library, unknownType_hasNoId) {
    struct Unknown {};
    EXPECT_EQ(library().findComponent("ConformanceUnknown"), ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library().findComponent(""), ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library().findComponent(typeid(Unknown)), ComponentLibrary::INVALID_ID);
}

TEST(Library, names_areComparedByteForByte) {
    EXPECT_EQ(library().findComponent("conformancebeacon"), ComponentLibrary::INVALID_ID);
    EXPECT_EQ(library().findComponent(" ConformanceBeacon"), ComponentLibrary::INVALID_ID);
}

TEST(Library, idWithoutRecord_hasNoNameNoDescriptorAndThrows) {
    EXPECT_EQ(library().componentName(ComponentLibrary::INVALID_ID), "");
    EXPECT_FALSE(library().createDescriptor(ComponentLibrary::INVALID_ID));
    EXPECT_THROW(static_cast<void>(library().componentMeta(ComponentLibrary::INVALID_ID)), std::runtime_error);
}

TEST(Library, record_hasTheRegisteredValues) {
    const ComponentRecord& record = library().componentMeta(library().findComponent(Beacon::NAME));
    EXPECT_EQ(record.version, PrefabFormat::DEFAULT_COMPONENT_VERSION);
    EXPECT_EQ(record.options.bits(), 35U);
    EXPECT_EQ(record.name, Beacon::NAME);
}

TEST(Library, createDescriptor_makesANewDefaultDescriptorEachTime) {
    const SmartPointer<IComponentDescriptor> first = makeDescriptor(Beacon::NAME);
    const SmartPointer<IComponentDescriptor> second = makeDescriptor(Beacon::NAME);
    ASSERT_TRUE(first);
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first->name(), Beacon::NAME);
    EXPECT_EQ(first->type(), NativeComponent<Beacon>::getType());
    EXPECT_EQ(static_cast<BeaconDescriptor&>(*first).config().text, "unlit");
    EXPECT_EQ(first->getInstanceOptions().bits(), 35U);
}

TEST(Library, platformsOwnComponents_areRegistered) {
    EXPECT_EQ(library().findComponent("HierarchyComponent"), library().findComponent(typeid(HierarchyComponent)));
    EXPECT_EQ(library().findComponent("TransformComponent"), library().findComponent(typeid(TransformComponent)));
    EXPECT_NE(library().findComponent("HierarchyComponent"), ComponentLibrary::INVALID_ID);
    EXPECT_NE(library().findComponent("TransformComponent"), ComponentLibrary::INVALID_ID);
}

TEST(Library, lookups_workOnAnyThread) {
    std::atomic<int> failuresCount{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&failuresCount] {
            for (int round = 0; round < 1000; ++round) {
                const std::size_t id = library().findComponent(Beacon::NAME);
                failuresCount += library().componentName(id) == Beacon::NAME && library().createDescriptor(id) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failuresCount, 0);
}

TEST(ProcessRoles, needToDeserialize_isTrueWhenARoleIsShared) {
    EXPECT_TRUE(IComponentDescriptor::needToDeserialize(ALL_ROLES));
    EXPECT_FALSE(IComponentDescriptor::needToDeserialize(ComponentOptions()));
}

} // namespace
} // namespace Conformance
