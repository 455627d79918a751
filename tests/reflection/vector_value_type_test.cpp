#include <reflection/meta_object.h>

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mirra {

namespace {

struct WithoutComparison {
    int number = 0;
};

} // namespace

TEST(VectorValueType, type_isDescribed) {
    const ValueType& type = valueType<std::vector<std::string>>();

    EXPECT_EQ(type.kind(), ValueKind::VECTOR);
    EXPECT_EQ(type.type(), typeid(std::vector<std::string>));
    EXPECT_EQ(type.name(), "vector of string");
    EXPECT_EQ(type.elementType(), &valueType<std::string>());
    EXPECT_EQ(&type, &valueType<std::vector<std::string>>());
    EXPECT_FALSE(type.containsLinks());
}

TEST(VectorValueType, nested_namesEveryLevel) {
    EXPECT_EQ(valueType<std::vector<std::vector<std::uint8_t>>>().name(), "vector of vector of uint8");
}

TEST(VectorValueType, appendElement_addsADefaultOne) {
    const ValueType& type = valueType<std::vector<int>>();
    std::vector<int> values{1};
    *static_cast<int*>(type.appendElement(&values)) += 5;

    EXPECT_EQ(values, (std::vector{1, 5}));
    EXPECT_EQ(type.elementsCount(&values), 2U);
}

TEST(VectorValueType, elementAt_isTheElement) {
    std::vector<std::string> values{"a", "b"};

    EXPECT_EQ(valueType<std::vector<std::string>>().elementAt(&values, 1), &values[1]);
}

TEST(VectorValueType, clearElements_leavesNone) {
    std::vector<int> values{1, 2};
    valueType<std::vector<int>>().clearElements(&values);

    EXPECT_TRUE(values.empty());
}

TEST(VectorValueType, isEqual_comparesSizeAndElements) {
    const ValueType& type = valueType<std::vector<int>>();
    const std::vector<int> values{1, 2};
    const std::vector<int> same{1, 2};
    const std::vector<int> shorter{1};
    const std::vector<int> other{1, 3};

    EXPECT_TRUE(type.isEqual(&values, &same));
    EXPECT_FALSE(type.isEqual(&values, &shorter));
    EXPECT_FALSE(type.isEqual(&shorter, &values));
    EXPECT_FALSE(type.isEqual(&values, &other));
}

TEST(VectorValueType, isEqual_elementsCompareAsTheirType) {
    const std::vector<float> first{std::numeric_limits<float>::quiet_NaN()};
    const std::vector<float> second{std::numeric_limits<float>::quiet_NaN()};

    EXPECT_TRUE(valueType<std::vector<float>>().isEqual(&first, &second));
}

TEST(VectorValueType, structures_compareByDescription) {
    StaticMetaObjectBuilder<WithoutComparison>("WithoutComparison")
        .addProperty<&WithoutComparison::number>("number")
        .finish();
    const std::vector<WithoutComparison> first{{1}, {2}};
    const std::vector<WithoutComparison> second{{1}, {3}};

    EXPECT_TRUE(valueType<std::vector<WithoutComparison>>().isEqual(&first, &first));
    EXPECT_FALSE(valueType<std::vector<WithoutComparison>>().isEqual(&first, &second));
}

} // namespace mirra
