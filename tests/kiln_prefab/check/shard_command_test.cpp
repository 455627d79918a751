#include "check_fixture.h"

#include <cstddef>
#include <cstdint>

namespace Kiln::PrefabToolTests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ShardCommand : public CheckFixture {
protected:
    /// Forty prefabs with findings of many kinds, among others in files that are nested, but no targets.
    void writeFolder() const {
        for (std::uint64_t number = 0; number < 40; ++number) {
            const std::string name = "level/" + std::to_string(number) + ".prefab";
            switch (number % 5) {
            case 0:
                write(name, withUnknownType(100 + number));
                break;
            case 1:
                write(name, nesting(100 + number, "shared/" + std::to_string(number % 3) + ".prefab"));
                break;
            case 2:
                write(name, nesting(100 + number, "level/" + std::to_string(number / 2) + ".prefab"));
                break;
            case 3:
                write(name, nesting(7, "shared/missing.prefab")); // Copies of each other.
                break;
            default:
                write(name, "<prefab><broken>");
            }
        }
        write("shared/0.prefab", withUnknownType(1));
        write("shared/1.prefab", nesting(2, "shared/2.prefab"));
        write("shared/2.prefab", PrefabText().object(id(500), "A").object(id(500), "B"));
    }

    /// The reports of all shards, as file names.
    [[nodiscard]] std::vector<std::string> checkShards(std::size_t count) const {
        std::vector<std::string> reports;
        for (std::size_t index = 1; index <= count; ++index) {
            const std::string shard = std::to_string(index) + "/" + std::to_string(count);
            reports.insert(reports.begin(), "report" + std::to_string(index) + ".json");
            const TestSupport::ProcessResult result =
                check({"--unused", "--format", "json", "--shard", shard, "--output", reports.front(), "level"});
            EXPECT_NE(result.exitStatus, 2) << result;
        }
        return reports;
    }
};

TEST_F(ShardCommand, mergedShards_areOneRun) {
    writeFolder();
    for (const std::string format : {"json", "text", "sarif", "junit", "github"}) {
        const TestSupport::ProcessResult whole = check({"--unused", "--format", format, "level"});
        EXPECT_EQ(whole.exitStatus, 1);
        for (std::size_t count = 1; count <= 5; ++count) {
            std::vector<std::string> arguments{"--merge", "--format", format};
            const std::vector<std::string> reports = checkShards(count);
            arguments.insert(arguments.end(), reports.begin(), reports.end());
            EXPECT_EQ(check(arguments), whole) << format << " of " << count << " shards";
        }
    }
}

TEST_F(ShardCommand, eachFinding_isInOneShard) {
    writeFolder();
    const std::size_t wholeCount = findings({"--unused", "level"}).size();
    EXPECT_GT(wholeCount, 40U);
    std::size_t count = 0;
    for (const std::string shard : {"1/3", "2/3", "3/3"}) {
        const std::size_t shardCount = findings({"--unused", "--shard", shard, "level"}).size();
        EXPECT_GT(shardCount, 0U);
        count += shardCount;
    }
    EXPECT_EQ(count, wholeCount);
}

TEST_F(ShardCommand, reportsOfOverlappingRuns_areJoinedOnce) {
    writeFolder();
    EXPECT_EQ(check({"--format", "json", "--output", "one.json", "level/1.prefab"}).exitStatus, 0);
    EXPECT_EQ(check({"--format", "json", "--output", "two.json", "level/1.prefab"}).exitStatus, 0);
    EXPECT_EQ(check({"--merge", "--format", "json", "one.json", "two.json"}).output, read("one.json"));
}

TEST_F(ShardCommand, merge_takesStrictIntoAccount) {
    write("a.prefab", withUnknownType(1));
    EXPECT_EQ(check({"--format", "json", "--output", "a.json", "a.prefab"}).exitStatus, 0);
    EXPECT_EQ(check({"--merge", "a.json"}).exitStatus, 0);
    EXPECT_EQ(check({"--merge", "--strict", "a.json"}).exitStatus, 1);
}

TEST_F(ShardCommand, reportsThatDoNotFit_areRefused) {
    write("a.prefab", withUnknownType(1));
    EXPECT_EQ(check({"--format", "json", "--output", "old.json", "a.prefab"}).exitStatus, 0);
    write("a.prefab", withUnknownType(2));
    EXPECT_EQ(check({"--format", "json", "--output", "new.json", "a.prefab"}).exitStatus, 0);
    const TestSupport::ProcessResult result = check({"--merge", "old.json", "new.json"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.errors, "kiln-prefab: The reports do not belong together: 'a.prefab' has changed between them\n");
    EXPECT_EQ(check({"--merge", "none.json"}).errors,
              "kiln-prefab: Cannot read 'none.json': No such file or directory\n");
    EXPECT_THAT(check({"--merge", "a.prefab"}).errors,
                HasSubstr("kiln-prefab: 'a.prefab' is not a report of check --format json: "));
}

} // namespace

} // namespace Kiln::PrefabToolTests
