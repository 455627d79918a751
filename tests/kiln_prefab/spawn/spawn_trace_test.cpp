#include "../quay_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace Kiln::PrefabToolTests {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class SpawnTrace : public QuayFixture {
protected:
    [[nodiscard]] Json readTrace() const {
        std::ifstream stream(m_directory.path("trace.json"));
        return Json::parse(stream);
    }

    /// The files of the events of a name, in the order of their times.
    [[nodiscard]] static std::vector<std::string> filesOf(const Json& trace, const std::string& name) {
        std::vector<Json> events;
        for (const Json& event : trace.at("traceEvents")) {
            if (event.at("name") == name) {
                events.push_back(event);
            }
        }
        std::stable_sort(events.begin(), events.end(),
                         [](const Json& left, const Json& right) { return left.at("ts") < right.at("ts"); });
        std::vector<std::string> files;
        for (const Json& event : events) {
            files.push_back(event.at("args").value("file", ""));
        }
        return files;
    }
};

TEST_F(SpawnTrace, hasASpanForEachFile) {
    const TestSupport::ProcessResult result = spawn({"--trace", "trace.json", "quay.prefab"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_THAT(filesOf(readTrace(), "read"), ElementsAre("quay.prefab", "lamp.prefab"));
}

TEST_F(SpawnTrace, furtherInstances_readNoFile) {
    EXPECT_EQ(spawn({"--trace", "trace.json", "--instances", "3", "quay.prefab"}).exitStatus, 0);
    EXPECT_THAT(filesOf(readTrace(), "read"), ElementsAre("quay.prefab", "lamp.prefab"));
}

TEST_F(SpawnTrace, prefabOfAnEarlierArgument_isReadAgain) {
    EXPECT_EQ(spawn({"--trace", "trace.json", "quay.prefab", "lamp.prefab"}).exitStatus, 0);
    EXPECT_THAT(filesOf(readTrace(), "read"), ElementsAre("quay.prefab", "lamp.prefab", "lamp.prefab"));
}

TEST_F(SpawnTrace, eventsOfWorkers_areOnTheirThreads) {
    EXPECT_EQ(spawn({"--trace", "trace.json", "quay.prefab"}).exitStatus, 0);
    const Json trace = readTrace();
    EXPECT_THAT(filesOf(trace, "read"), testing::SizeIs(2));
    for (const Json& event : trace.at("traceEvents")) {
        if (event.at("name") == "read") {
            EXPECT_GE(event.at("tid"), 1);
        }
    }
}

TEST_F(SpawnTrace, threads_haveNames) {
    EXPECT_EQ(spawn({"--trace", "trace.json", "quay.prefab"}).exitStatus, 0);
    const Json trace = readTrace();
    std::vector<std::string> names;
    for (const Json& event : trace.at("traceEvents")) {
        if (event.at("ph") == "M") {
            names.push_back(event.at("args").at("name"));
        }
    }
    EXPECT_THAT(names, Contains("main thread"));
    EXPECT_THAT(names, Contains(StartsWith("worker ")));
}

TEST_F(SpawnTrace, failedLoad_hasACompleteTrace) {
    EXPECT_EQ(spawn({"--trace", "trace.json", "gone.prefab"}).exitStatus, 1);
    EXPECT_TRUE(readTrace().at("traceEvents").is_array());
}

TEST_F(SpawnTrace, existingFile_isReplaced) {
    write("trace.json", std::string(100'000, 'x'));
    EXPECT_EQ(spawn({"--trace", "trace.json", "lamp.prefab"}).exitStatus, 0);
    EXPECT_TRUE(readTrace().at("traceEvents").is_array());
}

TEST_F(SpawnTrace, emptyName_isAUsageError) {
    const TestSupport::ProcessResult result = spawn({"--trace", "", "lamp.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.errors, HasSubstr("--trace: the name is empty"));
}

TEST_F(SpawnTrace, fileThatCannotBeOpened_isReportedAndNothingIsLoaded) {
    const TestSupport::ProcessResult result = spawn({"--trace", "nowhere/trace.json", "lamp.prefab"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.errors, "kiln-prefab: cannot write the trace 'nowhere/trace.json': No such file or directory\n");
}

TEST_F(SpawnTrace, fileThatCannotBeWritten_isReported) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    const TestSupport::ProcessResult result = spawn({"--trace", "/dev/full", "lamp.prefab"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "kiln-prefab: --trace: writing the trace '/dev/full' failed\n");
    EXPECT_THAT(result.output, HasSubstr("\n2 objects, 1 prefab file, "));
}

} // namespace

} // namespace Kiln::PrefabToolTests
