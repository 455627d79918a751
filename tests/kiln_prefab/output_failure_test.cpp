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

TEST_F(OutputFailure, pipeThatNobodyReads_endsTheProgramQuietlyBySigpipe) {
    PrefabText prefab; // Its output does not fit into a pipe, so the program is still writing when the reader ends.
    for (std::size_t i = 0; i < 2000; ++i) {
        prefab.object(id(i + 1), std::string(100, 'x'));
        if (i > 0) {
            prefab.parent(i, id(1));
        }
    }
    write("big.prefab", prefab);
    for (const std::string format : {"text", "json"}) {
        const TestSupport::ProcessResult result =
            TestSupport::runProcess("/bin/bash",
                                    {"-c", KILN_BUILD_BIN_DIR "/kiln-prefab spawn --format " + format +
                                               " big.prefab | true; exit ${PIPESTATUS[0]}"},
                                    m_directory.path());
        EXPECT_EQ(result, (TestSupport::ProcessResult{141, "", ""}));
    }
}

TEST_F(OutputFailure, usageError_keepsItsStatus) {
    EXPECT_EQ(run({"spawn"}, {OutputTarget::Kind::CLOSED, ""}).exitStatus, 2);
}

} // namespace

} // namespace Kiln::PrefabToolTests
