#include "check_fixture.h"

#include <kiln_prefab/check/file_watcher.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <string>

namespace Kiln::PrefabToolTests {

namespace {

using testing::HasSubstr;

class WatchCommand : public CheckFixture {
protected:
    /// Starts the program with --watch, runs the script while it watches, and interrupts it. In the script,
    /// `await TEXT` waits until the output has the text.
    [[nodiscard]] std::string watch(const std::string& arguments, const std::string& script) const {
        const std::string all = R"(
            "$0" check --watch )" +
                                arguments + R"( > out 2> errors & watcher=$!
            trap 'kill -KILL $watcher 2>/dev/null' EXIT
            await() {
                for i in $(seq 200); do grep -qF -- "$1" out errors && return; sleep 0.05; done
                echo "'$1' did not appear"
            }
            )" + script + R"(
            kill -TERM $watcher
            wait $watcher
            echo "status $?")";
        return TestSupport::runProcess("/bin/sh", {"-c", all, KILN_BUILD_BIN_DIR "/kiln-prefab"}, m_directory.path())
            .output;
    }
};

TEST_F(WatchCommand, changedFile_isCheckedAgain) {
    write("a.prefab", sound(1));
    write("unknown", withUnknownType(1));
    EXPECT_EQ(watch("a.prefab", R"(
        await "No findings in 1 checked file."
        cp unknown a.prefab
        await "1 warning in 1 checked file.")"),
              "status 143\n");
    EXPECT_EQ(read("errors"), "");
}

TEST_F(WatchCommand, nestedAndNewFilesAndSettings_areWatched) {
    write("a.prefab", nesting(10, "none.prefab"));
    write("sound", sound(1));
    write("unknown", withUnknownType(20));
    EXPECT_EQ(watch(".", R"(
        await "1 error in 2 checked files."
        cp sound none.prefab
        await "No findings in 2 checked files."
        cp unknown new.prefab
        await "1 warning in 3 checked files."
        echo '{"severity": {"KP0301": "note"}}' > kiln-prefab.json
        await "1 note in 3 checked files."
        echo '{' > kiln-prefab.json
        await "kiln-prefab.json:1: syntax error"
        rm kiln-prefab.json && cp unknown other.prefab
        await "3 warnings in 4 checked files.")"),
              "status 143\n");
}

TEST(FileWatcher, change_isReportedWhenTheFilesHaveSettled) {
    const TestSupport::TemporaryDirectory directory;
    const std::string name = directory.path("a");
    directory.writeFile("a", "1");
    const PrefabTool::FileWatcher watcher([&name] { return std::set<std::string>{name}; });
    const PrefabTool::FileWatcher::Stamps before = watcher.stamps();
    EXPECT_TRUE(before.at(name).exists);
    directory.writeFile("a", "22");
    const PrefabTool::FileWatcher::Stamps after = watcher.awaitChange(before, std::chrono::milliseconds(1));
    EXPECT_EQ(after.at(name).size, 2);
    std::filesystem::remove(name);
    EXPECT_FALSE(watcher.awaitChange(after, std::chrono::milliseconds(1)).at(name).exists);
}

} // namespace

} // namespace Kiln::PrefabToolTests
