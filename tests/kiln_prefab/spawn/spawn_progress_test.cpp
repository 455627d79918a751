#include "../kiln_prefab_fixture.h"
#include "../terminal_runner.h"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

namespace Kiln::PrefabToolTests {

namespace {

using testing::AnyOf;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class SpawnProgress : public KilnPrefabFixture {
protected:
    SpawnProgress() {
        write("lamp.prefab", PrefabText().object(id(1), "Lamp").object(id(2), "Bulb").parent(1, id(1)));
        write("quay.prefab",
              PrefabText().object(id(1), "Quay").object(id(2), "Lamp").parent(1, id(1)).nest(1, "lamp.prefab"));
    }

    /// Output of `kiln-prefab spawn ARGUMENTS` on a terminal of that type.
    [[nodiscard]] std::string onTerminal(std::vector<std::string> arguments, const char* type = "xterm") const {
        arguments.insert(arguments.begin(), {"kiln-prefab", "spawn"});
        return outputOnTerminal([&] {
            std::vector<char*> argv;
            for (std::string& argument : arguments) {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            setenv("TERM", type, 1);
            if (chdir(m_directory.path().c_str()) == 0) {
                execv(KILN_BUILD_BIN_DIR "/kiln-prefab", argv.data());
            }
            return 127;
        });
    }
};

TEST_F(SpawnProgress, notOnATerminal_isALineForEachPhaseAndTheOutcome) {
    const TestSupport::ProcessResult result = spawn({"--progress", "quay.prefab"});
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> errors = lines(result.errors);
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), "quay.prefab: succeeded, 2 files, 3 objects");
    EXPECT_THAT(errors, Each(AnyOf("quay.prefab: waiting", MatchesRegex("quay\\.prefab: reading, [0-2] of [12] files"),
                                   MatchesRegex("quay\\.prefab: creating, [0-3] of 3 objects"),
                                   "quay.prefab: activating", errors.back())));
}

TEST_F(SpawnProgress, aPhase_isShownWhenItBegins) {
    const std::vector<std::string> errors = lines(spawn({"--progress", "--budget", "0", "quay.prefab"}).errors);
    std::vector<std::string> phases;
    for (const std::string& line : errors) {
        phases.push_back(line.substr(0, line.find(',')));
    }
    EXPECT_EQ(std::adjacent_find(phases.begin(), phases.end()), phases.end());
    EXPECT_THAT(phases, testing::Contains("quay.prefab: creating"));
}

TEST_F(SpawnProgress, failedLoad_endsWithItsFailure) {
    const TestSupport::ProcessResult result = spawn({"--progress", "gone.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("gone.prefab: failed\nerror: gone.prefab: "));
}

TEST_F(SpawnProgress, severalInstances_haveTheirOwnLines) {
    const std::vector<std::string> errors =
        lines(spawn({"--progress", "--instances", "2", "lamp.prefab", "quay.prefab"}).errors);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), "lamp.prefab: succeeded, 1 file, 2 objects"), 2);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), "quay.prefab: succeeded, 2 files, 3 objects"), 2);
}

TEST_F(SpawnProgress, onATerminal_isABarThatIsErased) {
    const std::string output = onTerminal({"--progress", "--budget", "0", "quay.prefab"});
    EXPECT_THAT(output, testing::ContainsRegex("\r\x1b\\[K\\[[#-]{20}\\] +[0-9]+ % quay.prefab: "));
    EXPECT_THAT(output, HasSubstr("% quay.prefab: creating, "));
    EXPECT_THAT(output, HasSubstr("\r\x1b[Kquay.prefab, instance ")) << "the line is erased before the result";
    EXPECT_THAT(output, Not(HasSubstr("succeeded")));
}

TEST_F(SpawnProgress, onADumbTerminal_isALineForEachPhase) {
    const std::string output = onTerminal({"--progress", "quay.prefab"}, "dumb");
    EXPECT_THAT(output, HasSubstr("quay.prefab: succeeded, 2 files, 3 objects"));
    EXPECT_THAT(output, Not(HasSubstr("\x1b")));
}

TEST_F(SpawnProgress, results_goToStdoutAsUsual) {
    EXPECT_THAT(spawn({"--progress", "quay.prefab"}).output, HasSubstr("\n3 objects, 2 prefab files, "));
    EXPECT_THAT(spawn({"--progress", "gone.prefab"}).output, IsEmpty());
}

TEST_F(SpawnProgress, quiet_excludesIt) {
    const TestSupport::ProcessResult result = spawn({"--quiet", "--progress", "quay.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("--quiet excludes --progress"));
}

TEST_F(SpawnProgress, controlCharactersInPaths_areShownAsCodes) {
    EXPECT_THAT(spawn({"--progress", "a\x1B[31m.prefab"}).errors, HasSubstr("a\\x1b[31m.prefab: failed\n"));
}

} // namespace

} // namespace Kiln::PrefabToolTests
