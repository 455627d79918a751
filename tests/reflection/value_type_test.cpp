#include <reflection/meta_object.h>

#include <gtest/gtest.h>

namespace mirra {

namespace {

class OpaqueType final : public ValueType {
public:
    explicit OpaqueType(ValueKind kind) : ValueType(kind, typeid(int), "opaque") {}
    bool isEqual(const void*, const void*) const override { return true; }
};

} // namespace

TEST(ValueType, base_hasKindTypeAndName) {
    const OpaqueType type(ValueKind::SCALAR);

    EXPECT_EQ(type.kind(), ValueKind::SCALAR);
    EXPECT_EQ(type.type(), typeid(int));
    EXPECT_EQ(type.name(), "opaque");
}

TEST(ValueType, base_hasNoText) {
    const OpaqueType type(ValueKind::VECTOR);
    int value = 3;
    std::string text = "unchanged";

    EXPECT_FALSE(type.parse("4", &value));
    EXPECT_EQ(value, 3);
    type.format(&value, text);
    EXPECT_EQ(text, "unchanged");
    EXPECT_FALSE(type.isWhiteSpaceKept());
}

TEST(ValueType, base_hasNoElements) {
    const OpaqueType type(ValueKind::SCALAR);
    int value = 3;

    EXPECT_EQ(type.elementType(), nullptr);
    EXPECT_EQ(type.elementsCount(&value), 0U);
    EXPECT_EQ(type.elementAt(&value, 0), nullptr);
    EXPECT_EQ(type.appendElement(&value), nullptr);
    type.clearElements(&value);
    EXPECT_EQ(value, 3);
}

TEST(ValueType, base_hasNoMetaObject) {
    EXPECT_EQ(OpaqueType(ValueKind::SCALAR).metaObject(), nullptr);
}

TEST(ValueType, base_containsLinksWhenItIsOne) {
    EXPECT_TRUE(OpaqueType(ValueKind::LINK).containsLinks());
    EXPECT_FALSE(OpaqueType(ValueKind::SCALAR).containsLinks());
}

} // namespace mirra
