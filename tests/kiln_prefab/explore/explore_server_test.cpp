#include "explore_client.h"

#include <kiln_prefab/explore/explore_server.h>
#include <support/wait_for.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

using PrefabToolTests::EventReader;
using PrefabToolTests::ServedAddress;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::waitFor;

class ExploreServerTest : public testing::Test {
protected:
    ExploreServerTest() {
        m_server.setPage("<!doctype html><title>Page</title>");
        m_server.setData(R"({"data":1})");
        EXPECT_EQ(m_server.start(), "");
        m_address = ServedAddress(m_server.address());
    }

    /// "status body" of the answer.
    [[nodiscard]] std::string get(const std::string& path, const httplib::Headers& headers = {}) const {
        httplib::Client client = m_address.client();
        const httplib::Result result = client.Get(path, headers);
        return result ? std::to_string(result->status) + " " + result->body : to_string(result.error());
    }

    [[nodiscard]] std::string withToken(const std::string& path) const { return path + "?token=" + m_address.token; }

    ExploreServer m_server;
    ServedAddress m_address;
};

TEST_F(ExploreServerTest, address_leadsToThePageOnThisComputer) {
    EXPECT_THAT(m_server.address(), testing::MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/\\?token=[0-9a-f]+"));
    EXPECT_EQ(get(withToken("/")), "200 <!doctype html><title>Page</title>");
}

TEST_F(ExploreServerTest, data_isTheLastThatWasSet) {
    EXPECT_EQ(get(withToken("/data.json")), R"(200 {"data":1})");
    m_server.setData(R"({"data":2})");
    EXPECT_EQ(get(withToken("/data.json")), R"(200 {"data":2})");
}

TEST_F(ExploreServerTest, otherAddresses_haveNothing) {
    EXPECT_EQ(get(withToken("/live.json")), "404 There is nothing at this address.\n");
    EXPECT_EQ(get(withToken("/etc/passwd")), "404 There is nothing at this address.\n");
}

TEST_F(ExploreServerTest, answers_forbidStoringAndForeignContent) {
    httplib::Client client = m_address.client();
    const httplib::Result result = client.Get(withToken("/"));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->get_header_value("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(result->get_header_value("Cache-Control"), "no-store");
    EXPECT_EQ(result->get_header_value("Referrer-Policy"), "no-referrer");
    EXPECT_EQ(result->get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_THAT(result->get_header_value("Content-Security-Policy"), HasSubstr("default-src 'none';"));
    EXPECT_FALSE(result->has_header("Access-Control-Allow-Origin"));
}

TEST_F(ExploreServerTest, missingOrWrongToken_isRefused) {
    const std::string refusal = "403 The address does not have the token that kiln-prefab has printed.\n";
    EXPECT_EQ(get("/"), refusal);
    EXPECT_EQ(get("/data.json?token=" + std::string(64, '0')), refusal);
    EXPECT_EQ(get("/events"), refusal);
    EXPECT_EQ(get("/nothing"), refusal);
}

TEST_F(ExploreServerTest, foreignHost_isRefused) {
    EXPECT_EQ(get(withToken("/data.json"), {{"Host", "example.org"}}),
              "403 The request names another host than this server.\n");
}

TEST_F(ExploreServerTest, foreignOrigin_isRefused) {
    EXPECT_EQ(get(withToken("/data.json"), {{"Origin", "http://example.org"}}),
              "403 The request comes from a page of another server.\n");
}

TEST_F(ExploreServerTest, pathsUpwards_areRefusedHoweverTheyAreWritten) {
    for (const char* const path : {"/../etc/passwd", "/a/../data.json", "/%2e%2e/etc/passwd", "/%2E./x", "/..%2fx"}) {
        EXPECT_EQ(get(withToken(path)), "403 The address leads upwards.\n") << path;
    }
}

TEST_F(ExploreServerTest, otherMethods_areRefused) {
    httplib::Client client = m_address.client();
    const httplib::Result result = client.Post(withToken("/data.json"), "{}", "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 405);
    EXPECT_EQ(result->body, "Only GET is answered.\n");
}

TEST_F(ExploreServerTest, change_isPushedToOpenPages) {
    const EventReader first(m_address);
    const EventReader second(m_address);
    EXPECT_TRUE(waitFor([&] { return first.events() == "event: data\ndata: 1\n\n"; })) << first.events();
    m_server.setData(R"({"data":2})");
    EXPECT_TRUE(waitFor([&] { return first.events() == "event: data\ndata: 1\n\nevent: data\ndata: 2\n\n"; }));
    EXPECT_TRUE(waitFor([&] { return second.events().find("data: 2\n") != std::string::npos; }));
}

TEST_F(ExploreServerTest, sameData_isNotPushedAgain) {
    const EventReader reader(m_address);
    EXPECT_TRUE(waitFor([&] { return reader.events() == "event: data\ndata: 1\n\n"; }));
    m_server.setData(R"({"data":1})");
    m_server.setLive(R"({"objects":[]})");
    EXPECT_TRUE(waitFor([&] { return reader.events().find("event: live\n") != std::string::npos; }));
    EXPECT_EQ(reader.events(), "event: data\ndata: 1\n\nevent: live\ndata: {\"objects\":[]}\n\n");
    EXPECT_EQ(get(withToken("/live.json")), R"(200 {"objects":[]})");
}

TEST_F(ExploreServerTest, tooManyPages_areRefused) {
    std::vector<std::unique_ptr<EventReader>> readers;
    for (int i = 0; i < 12; ++i) {
        readers.push_back(std::make_unique<EventReader>(m_address));
        ASSERT_TRUE(waitFor([&] { return !readers.back()->events().empty(); }));
    }
    EXPECT_EQ(get(withToken("/events")), "503 Too many pages are open.\n");
    EXPECT_EQ(get(withToken("/data.json")), R"(200 {"data":1})");
}

TEST_F(ExploreServerTest, openPage_isNotIdle) {
    {
        const EventReader reader(m_address);
        ASSERT_TRUE(waitFor([&] { return !reader.events().empty(); }));
        EXPECT_EQ(m_server.idleTime().count(), 0);
        m_server.setData("{}");
    }
    // The server notices a closed connection when it writes to it.
    EXPECT_TRUE(waitFor([this] { return m_server.idleTime().count() > 0; }));
}

TEST_F(ExploreServerTest, stop_endsOpenConnections) {
    const EventReader reader(m_address);
    ASSERT_TRUE(waitFor([&] { return !reader.events().empty(); }));
    m_server.stop();
    EXPECT_TRUE(waitFor([&] { return reader.hasEnded(); }));
    EXPECT_THAT(get(withToken("/")), testing::Not(testing::StartsWith("200")));
}

} // namespace
} // namespace Kiln::PrefabTool
