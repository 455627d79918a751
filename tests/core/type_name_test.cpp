#include <core/type_name.h>

#include <functional>
#include <typeindex>

#include <gtest/gtest.h>

namespace Kiln {

namespace {

TEST(TypeName, ofABuiltInType_isItsName) {
    EXPECT_EQ(typeNameInSource(typeid(unsigned)), "unsigned int");
}

TEST(TypeName, ofAClass_hasItsNamespaces) {
    EXPECT_EQ(typeNameInSource(typeid(std::type_index)), "std::type_index");
}

TEST(TypeName, ofATemplate_hasItsArguments) {
    EXPECT_EQ(typeNameInSource(typeid(std::less<int>)), "std::less<int>");
}

} // namespace

} // namespace Kiln
