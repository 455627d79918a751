#include "document_fixture.h"

#include <object_framework/hierarchy_component.h>

#include <ostream>

namespace Kiln::SerializationTests {
namespace {

using Tessel::ComponentOption;
using Tessel::ComponentOptions;
using Tessel::HierarchyComponent;

TEST(Registration, hierarchyComponent_isInTheLibrary) {
    const ComponentLibrary& library = ComponentLibrary::instance();
    const std::size_t id = library.findComponent("HierarchyComponent");
    EXPECT_EQ(id, Tessel::NativeComponent<HierarchyComponent>::getType());
    EXPECT_EQ(library.findComponent(typeid(HierarchyComponent)), id);
    EXPECT_EQ(library.componentName(id), "HierarchyComponent");
    const ComponentRecord& record = library.componentMeta(id);
    EXPECT_EQ(record.typeId, id);
    EXPECT_EQ(record.type, std::type_index(typeid(HierarchyComponent)));
    EXPECT_EQ(record.name, "HierarchyComponent");
    EXPECT_EQ(record.displayName, "HierarchyComponent");
    EXPECT_EQ(record.category, "General");
    EXPECT_EQ(record.options.bits(), 35U);
    EXPECT_EQ(record.version, 1U);
    EXPECT_TRUE(record.isUserAddable);
    EXPECT_TRUE(record.isStorable);
}

TEST(Registration, hierarchyComponent_hasOneProperty) {
    const auto descriptor = makeDescriptor<HierarchyComponent>();
    ASSERT_EQ(descriptor->configuration().properties(), 1U);
    EXPECT_EQ(descriptor->configuration().propertyAt(0).name(), "parent");
    EXPECT_EQ(descriptor->configuration().propertyAt(0).type().kind(), mirra::ValueKind::LINK);
}

TEST(Registration, makeComponentRecord_fillsTheRecord) {
    const ComponentRecord record = makeComponentRecord<UnknownComponent>("Unknown");
    EXPECT_EQ(record.typeId, Tessel::NativeComponent<UnknownComponent>::getType());
    EXPECT_EQ(record.type, std::type_index(typeid(UnknownComponent)));
    EXPECT_EQ(record.name, "Unknown");
    EXPECT_EQ(record.displayName, "Unknown");
    EXPECT_EQ(record.category, "General");
    EXPECT_EQ(record.version, 1U);
    const SmartPointer<IComponentDescriptor> descriptor = record.factory();
    EXPECT_EQ(descriptor->name(), "Unknown");
    EXPECT_EQ(descriptor->type(), record.typeId);
}

TEST(Registration, secondRegistrationOfAType_isRefused) {
    TestSupport::LogCapture log;
    const std::size_t count = ComponentLibrary::instance().componentsCount();
    const ComponentRegistration<TextComponent> again("AnotherName", [](auto&) {});
    EXPECT_EQ(ComponentLibrary::instance().componentsCount(), count);
    EXPECT_EQ(ComponentLibrary::instance().findComponent("AnotherName"), ComponentLibrary::INVALID_ID);
    EXPECT_THAT(log.texts(), testing::ElementsAre("Component 'AnotherName' is registered twice; the first registration "
                                                  "stays"));
}

/// Role mask of the process, options, and whether a component with these is wanted.
struct Need {
    std::uint32_t roles;
    std::uint32_t options;
    bool isNeeded;

    /// Part of the test's name.
    friend std::ostream& operator<<(std::ostream& stream, const Need& need) {
        return stream << "roles " << need.roles << " options " << need.options;
    }
};

class NeedToDeserialize : public testing::TestWithParam<Need> {
protected:
    ~NeedToDeserialize() override { Tessel::setProcessRoles(Tessel::ALL_ROLES); }
};

TEST_P(NeedToDeserialize, whenRolesAndOptionsShareABit) {
    Tessel::setProcessRoles(ComponentOptions(GetParam().roles));
    EXPECT_EQ(IComponentDescriptor::needToDeserialize(ComponentOptions(GetParam().options)), GetParam().isNeeded);
}

INSTANTIATE_TEST_SUITE_P(Roles, NeedToDeserialize,
                         testing::Values(Need{0x23, 0x23, true}, Need{0x23, 0x01, true}, Need{0x23, 0x02, true},
                                         Need{0x23, 0x20, true}, Need{0x23, 0x00, false}, Need{0x23, 0x18, false},
                                         Need{0x01, 0x01, true}, Need{0x01, 0x22, false}, Need{0x02, 0x23, true},
                                         Need{0x02, 0x21, false}, Need{0x20, 0x03, false}, Need{0x00, 0x23, false}));

} // namespace
} // namespace Kiln::SerializationTests
