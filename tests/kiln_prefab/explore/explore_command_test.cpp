#include "../kiln_prefab_fixture.h"

#include "explore_client.h"

#include <support/wait_for.h>

#include <fstream>
#include <future>
#include <iterator>

#include <signal.h> // NOLINT(modernize-deprecated-headers): <csignal> does not declare kill

namespace Kiln::PrefabToolTests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using TestSupport::ProcessResult;
using TestSupport::waitFor;

class ExploreCommandTest : public KilnPrefabFixture {
protected:
    ExploreCommandTest() { write("lamp.prefab", PrefabText().object(id(11), "Lamp")); }

    ~ExploreCommandTest() override {
        if (m_process.valid()) {
            static_cast<void>(stop(SIGKILL));
        }
    }

    /// Starts the command and waits until it has printed its address.
    void start(const std::vector<std::string>& arguments) {
        std::vector<std::string> all{"-c", "echo $$ > pid; exec \"$0\" explore \"$@\" > address",
                                     KILN_BUILD_BIN_DIR "/kiln-prefab"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        m_process = std::async(std::launch::async,
                               [this, all] { return TestSupport::runProcess("/bin/sh", all, m_directory.path()); });
        ASSERT_TRUE(waitFor([this] { return read("address").ends_with('\n') || hasEnded(); }));
        const std::string address = read("address");
        ASSERT_THAT(address, Not(IsEmpty())) << m_process.get();
        m_address = ServedAddress(address.substr(0, address.size() - 1));
    }

    [[nodiscard]] bool hasEnded() const {
        return m_process.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

    [[nodiscard]] ProcessResult stop(int signal) {
        ::kill(std::stoi(read("pid")), signal);
        return m_process.get();
    }

    [[nodiscard]] std::string read(const std::string& name) const {
        std::ifstream stream(m_directory.path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    [[nodiscard]] std::string get(const std::string& path) const {
        httplib::Client client = m_address.client();
        const httplib::Result result = client.Get(path + "?token=" + m_address.token);
        return result ? result->body : to_string(result.error());
    }

    std::future<ProcessResult> m_process;
    ServedAddress m_address;
};

TEST_F(ExploreCommandTest, page_hasDataAndInterruptEndsTheProgram) {
    start({"."});
    EXPECT_THAT(get("/"), HasSubstr("<!doctype html>"));
    EXPECT_EQ(Json::parse(get("/data.json")).at("title"), ".");
    EXPECT_THAT(get("/data.json"), HasSubstr("lamp.prefab"));
    EXPECT_EQ(get("/live.json"), "There is nothing at this address.\n");
    const ProcessResult result = stop(SIGINT);
    EXPECT_EQ(result.errors, "note: open this address in a browser; Ctrl-C ends the program\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(ExploreCommandTest, termination_endsTheProgramWhileAPageIsOpen) {
    start({"--quiet", "lamp.prefab"});
    const EventReader reader(m_address);
    ASSERT_TRUE(waitFor([&] { return !reader.events().empty(); }));
    EXPECT_EQ(stop(SIGTERM), (ProcessResult{0, "", ""}));
}

TEST_F(ExploreCommandTest, changedAndNewFiles_arePushedWithTheirFindings) {
    start({"--quiet", "."});
    const EventReader reader(m_address);
    ASSERT_TRUE(waitFor([&] { return reader.events() == "event: data\ndata: 1\n\n"; }));
    EXPECT_THAT(get("/data.json"), Not(HasSubstr("KP0301")));
    write("lamp.prefab", PrefabText().object(id(11), "Lamp").component("SailComponent", 0));
    EXPECT_TRUE(waitFor([&] { return reader.events().find("data: 2\n") != std::string::npos; }));
    EXPECT_THAT(get("/data.json"), HasSubstr("KP0301"));
    write("quays/quay.prefab", PrefabText().object(id(1), "Long quay"));
    EXPECT_TRUE(waitFor([&] { return reader.events().find("data: 3\n") != std::string::npos; }));
    EXPECT_THAT(get("/data.json"), HasSubstr("Long quay"));
}

TEST_F(ExploreCommandTest, spawnedPrefab_hasLiveObjectsAndPools) {
    write("quay.prefab",
          PrefabText().object(id(1), "Quay").object(id(2), "Lamp", 1).parent(1, id(1)).nest(1, "lamp.prefab"));
    start({"--quiet", "--spawn", "quay.prefab", "."});
    const Json live = Json::parse(get("/live.json"));
    EXPECT_EQ(live.at("schemaVersion"), 1);
    ASSERT_EQ(live.at("instances").size(), 1U);
    EXPECT_EQ(live.at("instances")[0].at("name"), "quay.prefab");
    EXPECT_EQ(live.at("instances")[0].at("state"), "active");
    EXPECT_GT(live.at("instances")[0].at("milliseconds"), 0);
    ASSERT_EQ(live.at("objects").size(), 2U);
    EXPECT_EQ(live.at("objects")[0].at("name"), "Quay");
    EXPECT_EQ(live.at("objects")[0].at("state"), "active");
    EXPECT_EQ(live.at("objects")[0].at("depth"), 0);
    EXPECT_EQ(live.at("objects")[1].at("name"), "Lamp");
    EXPECT_EQ(live.at("objects")[1].at("state"), "inactive");
    EXPECT_EQ(live.at("objects")[1].at("depth"), 1);
    ASSERT_EQ(live.at("pools").size(), 2U);
    for (const Json& pool : live.at("pools")) {
        EXPECT_EQ(pool.at("used"), pool.at("type") == "PrefabComponent" ? 2 : 1) << pool;
        EXPECT_EQ(pool.at("capacity"), 256) << pool;
    }
    const EventReader reader(m_address);
    ASSERT_TRUE(waitFor([&] { return reader.events().find("event: live\n") != std::string::npos; }));
    write("lamp.prefab", "<prefab>");
    EXPECT_TRUE(waitFor([&] { return Json::parse(get("/live.json")).at("objects").size() == 1; }));
}

TEST_F(ExploreCommandTest, idleTime_endsTheProgramWithoutPages) {
    start({"--idle", "0.0005", "."});
    EXPECT_TRUE(waitFor([this] { return hasEnded(); }));
    const ProcessResult result = m_process.get();
    EXPECT_THAT(result.errors, testing::EndsWith("note: no page has been open for the time of --idle\n"));
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(ExploreCommandTest, missingFolder_isRefused) {
    const ProcessResult result = run({"explore", "gone"});
    EXPECT_EQ(result, (ProcessResult{2, "", "kiln-prefab: 'gone' does not exist\n"}));
}

TEST_F(ExploreCommandTest, pathOutsideOfTheRoots_isRefused) {
    write("inner/a.prefab", PrefabText().object(id(1), "A"));
    const ProcessResult result = run({"explore", "--root", "inner", "../lamp.prefab"});
    EXPECT_THAT(result.errors, HasSubstr("is outside of the resource roots; --root DIR adds DIR"));
    EXPECT_EQ(result.exitStatus, 2);
}

} // namespace
} // namespace Kiln::PrefabToolTests
