#include "kiln_prefab_fixture.h"

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;
using TestSupport::OutputTarget;

class OutputFailure : public KilnPrefabFixture {
protected:
    OutputFailure() { write("a.prefab", simplePrefab()); }

    void expectReported(const std::vector<std::string>& arguments, const OutputTarget& target) const {
        const TestSupport::ProcessResult result = run(arguments, target);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_THAT(result.errors, HasSubstr("kiln-prefab: writing to standard output failed\n"));
    }
};

TEST_F(OutputFailure, fullDevice_isReported) {
    expectReported({"spawn", "a.prefab"}, {OutputTarget::Kind::FILE, "/dev/full"});
}

TEST_F(OutputFailure, fullDeviceWithJson_isReported) {
    expectReported({"spawn", "--json", "a.prefab"}, {OutputTarget::Kind::FILE, "/dev/full"});
}

TEST_F(OutputFailure, closedStdout_isReported) {
    expectReported({"spawn", "a.prefab"}, {OutputTarget::Kind::CLOSED, ""});
}

TEST_F(OutputFailure, helpIntoAFullDevice_isReported) {
    expectReported({"--help"}, {OutputTarget::Kind::FILE, "/dev/full"});
}

TEST_F(OutputFailure, usageError_keepsItsStatus) {
    EXPECT_EQ(run({"spawn"}, {OutputTarget::Kind::CLOSED, ""}).exitStatus, 2);
}

} // namespace

} // namespace Kiln::PrefabToolTests
