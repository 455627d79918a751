#include <variant/variant_converter.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace vessa {

namespace {

struct Left {
    int left = 1;
};
struct Right {
    int right = 2;
};
struct Both : Left, Right {};
struct Deeper : Both {};

template <int NUMBER>
struct Numbered : Left {};

} // namespace

TEST(VariantConverter, sameType_isTheValueItself) {
    Left value;
    EXPECT_EQ(VariantConverter::convertTo<Left>(Variant::refer(&value)), &value);
}

TEST(VariantConverter, sameType_convertSharesOwnership) {
    Variant converted;
    {
        const Variant variant = Variant::own(5);
        converted = VariantConverter::convert(variant, typeid(int));
    }
    ASSERT_NE(converted.get<int>(), nullptr);
    EXPECT_EQ(*converted.get<int>(), 5);
}

TEST(VariantConverter, registeredBase_isTheSubobject) {
    VariantConverter::registerBase<Both, Left>();
    VariantConverter::registerBase<Both, Right>();
    Both value;
    const Variant variant = Variant::refer(&value);

    EXPECT_EQ(VariantConverter::convertTo<Left>(variant), static_cast<Left*>(&value));
    EXPECT_EQ(VariantConverter::convertTo<Right>(variant), static_cast<Right*>(&value));
    EXPECT_EQ(VariantConverter::convertTo<Right>(variant)->right, 2);
}

TEST(VariantConverter, registeredBase_convertHasTheBasesType) {
    VariantConverter::registerBase<Both, Right>();
    Both value;
    const Variant converted = VariantConverter::convert(Variant::refer(&value), typeid(Right));

    EXPECT_EQ(converted.type(), typeid(Right));
    EXPECT_EQ(converted.address(), static_cast<Right*>(&value));
}

TEST(VariantConverter, unregisteredBase_isEmpty) {
    Deeper value;
    const Variant variant = Variant::refer(&value);

    EXPECT_EQ(VariantConverter::convertTo<Left>(variant), nullptr);
    EXPECT_TRUE(VariantConverter::convert(variant, typeid(Left)).isEmpty());
}

TEST(VariantConverter, oppositeDirection_isEmpty) {
    VariantConverter::registerBase<Both, Left>();
    Both value;
    const Variant variant = Variant::refer(static_cast<Left*>(&value));

    EXPECT_EQ(VariantConverter::convertTo<Both>(variant), nullptr);
}

TEST(VariantConverter, emptyVariant_isEmpty) {
    EXPECT_TRUE(VariantConverter::convert(Variant(), typeid(Left)).isEmpty());
    EXPECT_EQ(VariantConverter::convertTo<Left>(Variant()), nullptr);
}

TEST(VariantConverter, registeredTwice_firstStays) {
    static int first = 1;
    static int second = 2;
    VariantConverter::registerConversion(typeid(char), typeid(int), [](void*) -> void* { return &first; });
    VariantConverter::registerConversion(typeid(char), typeid(int), [](void*) -> void* { return &second; });

    EXPECT_EQ(VariantConverter::convertTo<int>(Variant::own('x')), &first);
}

TEST(VariantConverter, conversionYieldsNull_isEmptyAndVoid) {
    VariantConverter::registerConversion(typeid(char), typeid(long), [](void*) -> void* { return nullptr; });
    const Variant converted = VariantConverter::convert(Variant::own('x'), typeid(long));

    EXPECT_TRUE(converted.isEmpty());
    EXPECT_EQ(converted.type(), typeid(void));
}

TEST(VariantConverter, registeredWhileOthersConvert_everyConversionIsRight) {
    VariantConverter::registerBase<Both, Right>();
    std::latch start(3);
    std::atomic<int> wrongConversions{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            Both value;
            const Variant variant = Variant::refer(&value);
            for (int round = 0; round < 1000; ++round) {
                if (VariantConverter::convertTo<Right>(variant) != static_cast<Right*>(&value)) {
                    ++wrongConversions;
                }
            }
        });
    }
    start.arrive_and_wait();
    [&]<int... NUMBERS>(std::integer_sequence<int, NUMBERS...>) {
        (VariantConverter::registerBase<Numbered<NUMBERS>, Left>(), ...);
    }
    (std::make_integer_sequence<int, 64>());
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(wrongConversions, 0);
    Numbered<63> last;
    EXPECT_EQ(VariantConverter::convertTo<Left>(Variant::refer(&last)), static_cast<Left*>(&last));
}

} // namespace vessa
