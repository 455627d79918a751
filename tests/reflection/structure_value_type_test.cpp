#include <reflection/meta_object.h>

#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

// Named types: the name that a structure goes by in messages is that of its C++ type.
namespace structure_value_type_test {

struct Undescribed {
    int number = 0;
};

struct DescribedLate {
    int number = 0;
};

struct Inner {
    std::string text;
};

struct Outer {
    Inner inner;
    int number = 0;
};

struct DescribedByManyThreads {
    int number = 0;
};

} // namespace structure_value_type_test

namespace mirra {

using namespace structure_value_type_test;

TEST(StructureValueType, type_isDescribed) {
    const ValueType& type = valueType<Undescribed>();

    EXPECT_EQ(type.kind(), ValueKind::STRUCTURE);
    EXPECT_EQ(type.type(), typeid(Undescribed));
    EXPECT_EQ(type.name(), "structure_value_type_test::Undescribed");
    EXPECT_EQ(type.elementType(), nullptr);
    EXPECT_EQ(&type, &valueType<Undescribed>());
}

TEST(StructureValueType, undescribed_hasNothing) {
    const ValueType& type = valueType<Undescribed>();
    const Undescribed first{1};
    const Undescribed second{2};

    EXPECT_EQ(type.metaObject(), nullptr);
    EXPECT_FALSE(type.containsLinks());
    EXPECT_TRUE(type.isEqual(&first, &second));
}

TEST(StructureValueType, describedLate_isFound) {
    const ValueType& type = valueType<DescribedLate>();
    ASSERT_EQ(type.metaObject(), nullptr);

    const BaseStaticMetaObject& metaObject =
        StaticMetaObjectBuilder<DescribedLate>("DescribedLate").addProperty<&DescribedLate::number>("number").finish();

    EXPECT_EQ(type.metaObject(), &metaObject);
    const DescribedLate first{1};
    const DescribedLate second{2};
    EXPECT_FALSE(type.isEqual(&first, &second));
}

TEST(StructureValueType, isEqual_comparesNestedStructures) {
    StaticMetaObjectBuilder<Outer>("Outer")
        .addProperty<&Outer::inner>("inner")
        .addProperty<&Outer::number>("number")
        .finish();
    StaticMetaObjectBuilder<Inner>("Inner").addProperty<&Inner::text>("text").finish();
    const Outer first{{"a"}, 1};
    const Outer same{{"a"}, 1};
    const Outer other{{"b"}, 1};

    EXPECT_TRUE(valueType<Outer>().isEqual(&first, &same));
    EXPECT_FALSE(valueType<Outer>().isEqual(&first, &other));
}

TEST(StructureValueType, describedWhileOthersLook_allFindIt) {
    const ValueType& type = valueType<DescribedByManyThreads>();
    std::latch start(3);
    std::atomic<int> wrongDescriptions{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&] {
            start.arrive_and_wait();
            const BaseStaticMetaObject* metaObject = nullptr;
            while (!metaObject) {
                metaObject = type.metaObject();
            }
            if (metaObject->properties().size() != 1 || metaObject->properties()[0].name != "number") {
                ++wrongDescriptions;
            }
        });
    }
    start.arrive_and_wait();
    StaticMetaObjectBuilder<DescribedByManyThreads>("DescribedByManyThreads")
        .addProperty<&DescribedByManyThreads::number>("number")
        .finish();
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(wrongDescriptions, 0);
}

} // namespace mirra
