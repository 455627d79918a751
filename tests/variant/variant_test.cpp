#include <variant/variant.h>

#include <memory>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

namespace vessa {

TEST(Variant, default_isEmptyAndVoid) {
    const Variant variant;

    EXPECT_TRUE(variant.isEmpty());
    EXPECT_EQ(variant.type(), typeid(void));
    EXPECT_EQ(variant.address(), nullptr);
    EXPECT_EQ(variant.get<int>(), nullptr);
}

TEST(Variant, own_holdsValueOfItsType) {
    const Variant variant = Variant::own(std::string("lamp"));

    EXPECT_EQ(variant.type(), typeid(std::string));
    ASSERT_NE(variant.get<std::string>(), nullptr);
    EXPECT_EQ(*variant.get<std::string>(), "lamp");
}

TEST(Variant, own_lvalue_copiesIt) {
    std::string text = "lamp";
    const Variant variant = Variant::own(text);
    text = "harbour";

    EXPECT_EQ(*variant.get<std::string>(), "lamp");
}

TEST(Variant, copy_sharesOwnedValue) {
    Variant copy;
    {
        const Variant variant = Variant::own(1);
        copy = variant;
        *variant.get<int>() = 2;
    }

    EXPECT_EQ(*copy.get<int>(), 2);
}

TEST(Variant, lastOwner_destroysValue) {
    const auto observed = std::make_shared<int>(5);
    {
        const Variant variant = Variant::own(observed);
        EXPECT_EQ(observed.use_count(), 2);
    }
    EXPECT_EQ(observed.use_count(), 1);
}

TEST(Variant, share_keepsPointerAlive) {
    auto pointer = std::make_shared<int>(7);
    const Variant variant = Variant::share(pointer);
    pointer.reset();

    EXPECT_EQ(*variant.get<int>(), 7);
}

TEST(Variant, share_null_isEmptyAndVoid) {
    const Variant variant = Variant::share(std::shared_ptr<int>());

    EXPECT_TRUE(variant.isEmpty());
    EXPECT_EQ(variant.type(), typeid(void));
}

TEST(Variant, refer_sharesNothing) {
    int value = 1;
    const Variant variant = Variant::refer(&value);
    *variant.get<int>() = 3;

    EXPECT_EQ(value, 3);
    EXPECT_EQ(variant.address(), &value);
}

TEST(Variant, refer_byTypeIndex_isThatType) {
    int value = 1;
    const Variant variant = Variant::refer(std::type_index(typeid(int)), &value);

    EXPECT_EQ(variant.get<int>(), &value);
}

TEST(Variant, refer_null_isEmptyAndVoid) {
    const Variant variant = Variant::refer(static_cast<int*>(nullptr));

    EXPECT_TRUE(variant.isEmpty());
    EXPECT_EQ(variant.type(), typeid(void));
}

TEST(Variant, get_otherType_isNull) {
    const Variant variant = Variant::own(1);

    EXPECT_EQ(variant.get<unsigned>(), nullptr);
    EXPECT_EQ(variant.get<long>(), nullptr);
}

} // namespace vessa
