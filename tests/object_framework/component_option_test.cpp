#include <object_framework/component_option.h>

#include <gtest/gtest.h>

namespace Kiln::Tessel::FrameworkTests {
namespace {

class ProcessRoles : public testing::Test {
protected:
    ~ProcessRoles() override { setProcessRoles(ALL_ROLES); }
};

TEST_F(ProcessRoles, options_areTheBitsOfTheFileFormat) {
    EXPECT_EQ(ComponentOptions(ComponentOption::CLIENT).bits(), 0x01U);
    EXPECT_EQ(ComponentOptions(ComponentOption::SERVER).bits(), 0x02U);
    EXPECT_EQ(ComponentOptions(ComponentOption::USE_RECORD_OPTIONS).bits(), 0x08U);
    EXPECT_EQ(ComponentOptions(ComponentOption::SKIP_ROLE_CHECK).bits(), 0x10U);
    EXPECT_EQ(ComponentOptions(ComponentOption::EDITOR).bits(), 0x20U);
}

TEST_F(ProcessRoles, allRoles_areClientServerAndEditor) {
    EXPECT_EQ(ALL_ROLES.bits(), 35U);
    EXPECT_EQ(ALL_ROLES, ComponentOption::CLIENT | ComponentOptions(ComponentOption::SERVER) | ComponentOption::EDITOR);
}

TEST_F(ProcessRoles, default_isAllRoles) {
    EXPECT_EQ(processRoles(), ALL_ROLES);
}

TEST_F(ProcessRoles, set_replacesThem) {
    setProcessRoles(ComponentOption::SERVER);
    EXPECT_EQ(processRoles().bits(), 0x02U);
    setProcessRoles({});
    EXPECT_FALSE(processRoles());
}

} // namespace
} // namespace Kiln::Tessel::FrameworkTests
