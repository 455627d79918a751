#include "world_fixture.h"

#include <gmock/gmock.h>

namespace Kiln::Tessel::FrameworkTests {

struct FirstQueryClass {};
struct SecondQueryClass {};

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Message = TestSupport::LogCapture::Message;

/// These configurations use type ids that no component has, so that no other test registers them.
class QueryRegister : public testing::Test {
protected:
    ~QueryRegister() override { QueryIsUniqueAsserter::s_queriesRegistry().erase(CONFIG); }

    const QueryConfig CONFIG{{1000, 1001}, true};
    TestSupport::LogCapture log;
};

TEST_F(QueryRegister, enter_newConfiguration_isRegistered) {
    QueryIsUniqueAsserter::enter(CONFIG, typeid(FirstQueryClass));
    EXPECT_EQ(QueryIsUniqueAsserter::s_queriesRegistry().at(CONFIG), std::type_index(typeid(FirstQueryClass)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(QueryRegister, enter_sameClassAgain_isSilent) {
    QueryIsUniqueAsserter::enter(CONFIG, typeid(FirstQueryClass));
    QueryIsUniqueAsserter::enter(CONFIG, typeid(FirstQueryClass));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(QueryRegister, enter_otherClass_namesTheFirstOneAndKeepsIt) {
    QueryIsUniqueAsserter::enter(CONFIG, typeid(FirstQueryClass));
    QueryIsUniqueAsserter::enter(CONFIG, typeid(SecondQueryClass));
    EXPECT_THAT(log.messages(), ElementsAre(Message{LogSeverity::ERROR, "",
                                                    "Query with these arguments already exists! Try this one: "
                                                    "Kiln::Tessel::FrameworkTests::FirstQueryClass",
                                                    "object_framework/query"}));
    EXPECT_EQ(QueryIsUniqueAsserter::s_queriesRegistry().at(CONFIG), std::type_index(typeid(FirstQueryClass)));
}

TEST_F(QueryRegister, enter_configurationThatDiffersInTheGameObject_isAnother) {
    const QueryConfig other{CONFIG.types, false};
    QueryIsUniqueAsserter::enter(CONFIG, typeid(FirstQueryClass));
    QueryIsUniqueAsserter::enter(other, typeid(SecondQueryClass));
    EXPECT_THAT(log.texts(), IsEmpty());
    QueryIsUniqueAsserter::s_queriesRegistry().erase(other);
}

TEST(ReadableTypeName, isTheNameAsInSourceCode) {
    EXPECT_EQ(readableTypeName(typeid(int)), "int");
    EXPECT_EQ(readableTypeName(typeid(Query<HierarchyComponent, GameObject>)),
              "Kiln::Tessel::Query<Kiln::Tessel::HierarchyComponent, Kiln::Tessel::GameObject>");
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
