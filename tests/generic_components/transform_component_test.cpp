#include <generic_components/transform_component.h>

#include <object_framework/entry_point.h>
#include <object_framework/world.h>
#include <object_serialization/component_library.h>
#include <object_serialization/typed_component_descriptor.h>
#include <resource/data_section.h>
#include <support/log_capture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::Tessel {
namespace {

class Transform : public testing::Test {
protected:
    [[nodiscard]] static SmartPointer<ComponentDescriptor<TransformComponent>> makeDescriptor() {
        const ComponentLibrary& library = ComponentLibrary::instance();
        return staticPointerCast<ComponentDescriptor<TransformComponent>>(
            library.createDescriptor(library.findComponent("TransformComponent")));
    }
};

TEST_F(Transform, isInTheLibrary) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t id = library.findComponent("TransformComponent");
    EXPECT_EQ(id, NativeComponent<TransformComponent>::getType());
    EXPECT_EQ(library.findComponent(typeid(TransformComponent)), id);
    const ComponentRecord& record = library.componentMeta(id);
    EXPECT_EQ(record.name, "TransformComponent");
    EXPECT_EQ(record.displayName, "TransformComponent");
    EXPECT_EQ(record.category, "General");
    EXPECT_EQ(record.options.bits(), 35U);
    EXPECT_EQ(record.version, 1U);
    EXPECT_TRUE(record.isUserAddable);
    EXPECT_TRUE(record.isStorable);
}

TEST_F(Transform, configuration_isOneMatrixThatDefaultsToTheIdentity) {
    const auto descriptor = makeDescriptor();
    ASSERT_EQ(descriptor->configuration().properties(), 1U);
    EXPECT_EQ(descriptor->configuration().propertyAt(0).name(), "local");
    EXPECT_EQ(descriptor->config().local, Matrix::identity());
    EXPECT_FALSE(descriptor->hasLinks());
}

TEST_F(Transform, component_startsWithBothMatricesAsConfigured) {
    const Matrix matrix = Matrix::translation(1, 2, 3);
    const TransformComponent component({matrix});
    EXPECT_EQ(component.local, matrix);
    EXPECT_EQ(component.world, matrix);
    EXPECT_EQ(component.state, 0);
    EXPECT_EQ(component.type(), NativeComponent<TransformComponent>::getType());
}

TEST_F(Transform, stateValues) {
    EXPECT_EQ(TransformComponent::SETTING, 1);
    EXPECT_EQ(TransformComponent::CHANGED, 2);
}

TEST_F(Transform, writtenAndRead_isTheSameMatrix) {
    const auto descriptor = makeDescriptor();
    descriptor->config().local = Matrix::translation(0.1F, -2, 3e30F);
    const SmartPointer<DataSection> document = DataSection::create("properties");
    writeProperties(document->node(), descriptor->viewConfiguration());
    EXPECT_EQ(document->readString("local"), "1 0 0 0 0 1 0 0 0 0 1 0 0.1 -2 3e+30 1");
    const auto copy = makeDescriptor();
    readProperties(*document, document->node(), copy->configuration(), "TransformComponent");
    EXPECT_EQ(copy->config().local, descriptor->config().local);
}

TEST_F(Transform, createOnObject_placesTheObject) {
    EntryPoint& entryPoint = EntryPoint::instance();
    const int worldId = entryPoint.createWorld();
    GameObjectManager& manager = *getGameObjectManager(worldId);
    const GameObject object = manager.createGameObject();
    const auto descriptor = makeDescriptor();
    descriptor->config().local = Matrix::translation(1, 2, 3);
    descriptor->createOnObject(object);
    ASSERT_NE(manager.findComponent<TransformComponent>(object), nullptr);
    EXPECT_EQ(manager.findComponent<TransformComponent>(object)->local, Matrix::translation(1, 2, 3));
    entryPoint.destroyWorld(worldId);
}

} // namespace
} // namespace Kiln::Tessel
