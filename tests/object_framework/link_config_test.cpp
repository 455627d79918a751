#include <object_framework/link_config.h>

#include <variant/variant_converter.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace Kiln::Tessel::FrameworkTests {

/// A link class that is not part of the framework.
class SpecialLink final : public ILinkConfig {
public:
    [[nodiscard]] const Uuid& uuid() const override { return m_uuid; }
    void setUuid(const Uuid& uuid) override { m_uuid = uuid; }
    [[nodiscard]] bool isLiveUuid() const override { return true; }
    [[nodiscard]] GameObject target() const override { return m_target; }
    void setTarget(GameObject target) override { m_target = target; }

private:
    Uuid m_uuid;
    GameObject m_target;
};

namespace {

constexpr Uuid U(0x0123456789abcdef, 0xfedcba9876543210);
constexpr const char* U_TEXT = "01234567-89ab-cdef-fedc-ba9876543210";

TEST(GameObjectLink, default_hasNoUuidAndNoTarget) {
    const GameObjectLink link;
    EXPECT_EQ(link.uuid(), Uuid::ZERO);
    EXPECT_FALSE(link.isLiveUuid());
    EXPECT_TRUE(link.target().isInvalid());
}

TEST(GameObjectLink, copies_areIndependent) {
    GameObjectLink link(U);
    link.setLiveUuid(true);
    link.setTarget(GameObject(1, 2, 3));
    const GameObjectLink copy = link;
    GameObjectLink assigned;
    assigned = link;
    link.setUuid(Uuid::ZERO);
    link.setLiveUuid(false);
    link.setTarget(GameObject());
    for (const GameObjectLink& other : {copy, assigned}) {
        EXPECT_EQ(other.uuid(), U);
        EXPECT_TRUE(other.isLiveUuid());
        EXPECT_EQ(other.target(), GameObject(1, 2, 3));
    }
}

TEST(GameObjectLink, assignedToItself_staysAsItIs) {
    GameObjectLink link(U);
    link.setTarget(GameObject(1, 2, 3));
    const GameObjectLink& same = link;
    link = same;
    EXPECT_EQ(link.uuid(), U);
    EXPECT_EQ(link.target(), GameObject(1, 2, 3));
}

template <class T>
class LinkTypes : public testing::Test {};
using Links = testing::Types<GameObjectLink, SpecialLink>;
TYPED_TEST_SUITE(LinkTypes, Links);

TYPED_TEST(LinkTypes, valueType_isALink) {
    const mirra::ValueType& type = mirra::valueType<TypeParam>();
    EXPECT_EQ(type.kind(), mirra::ValueKind::LINK);
    EXPECT_EQ(type.type(), std::type_index(typeid(TypeParam)));
    EXPECT_EQ(type.name(), "link");
    EXPECT_TRUE(type.containsLinks());
    EXPECT_FALSE(type.isWhiteSpaceKept());
    EXPECT_TRUE(mirra::valueType<std::vector<TypeParam>>().containsLinks());
}

TYPED_TEST(LinkTypes, parse_readsTheUuid) {
    TypeParam link;
    EXPECT_TRUE(mirra::valueType<TypeParam>().parse(U_TEXT, &link));
    EXPECT_EQ(link.uuid(), U);
    EXPECT_TRUE(mirra::valueType<TypeParam>().parse("00000000-0000-0000-0000-000000000000", &link));
    EXPECT_EQ(link.uuid(), Uuid::ZERO);
}

TYPED_TEST(LinkTypes, parse_malformed_leavesTheLinkAsItWas) {
    TypeParam link;
    link.setUuid(U);
    for (const char* const text : {"", "lamp", " 01234567-89ab-cdef-fedc-ba9876543210", "01234567"}) {
        EXPECT_FALSE(mirra::valueType<TypeParam>().parse(text, &link)) << text;
    }
    EXPECT_EQ(link.uuid(), U);
}

TYPED_TEST(LinkTypes, format_appendsTheUuid) {
    TypeParam link;
    link.setUuid(U);
    std::string text = "> ";
    mirra::valueType<TypeParam>().format(&link, text);
    EXPECT_EQ(text, std::string("> ") + U_TEXT);
}

TYPED_TEST(LinkTypes, isEqual_comparesTheUuids) {
    TypeParam a;
    TypeParam b;
    a.setUuid(U);
    b.setUuid(U);
    b.setTarget(GameObject(1, 2, 3));
    EXPECT_TRUE(mirra::valueType<TypeParam>().isEqual(&a, &b));
    b.setUuid(Uuid::ZERO);
    EXPECT_FALSE(mirra::valueType<TypeParam>().isEqual(&a, &b));
}

TYPED_TEST(LinkTypes, link_isTheValueSeenThroughTheInterface) {
    TypeParam link;
    const auto& type = dynamic_cast<const LinkValueType&>(mirra::valueType<TypeParam>());
    EXPECT_EQ(&type.link(static_cast<void*>(&link)), &link);
}

TYPED_TEST(LinkTypes, variantOfALink_convertsToTheInterface) {
    (void)mirra::valueType<TypeParam>(); // Registers the conversion.
    TypeParam link;
    link.setUuid(U);
    ILinkConfig* const converted = vessa::VariantConverter::convertTo<ILinkConfig>(vessa::Variant::refer(&link));
    EXPECT_EQ(converted, &link);
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
