#include <kiln_prefab/explore/request_guard.h>

#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::PrefabTool {
namespace {

constexpr const char* OTHER_HOST = "403 The request names another host than this server.\n";
constexpr const char* OTHER_ORIGIN = "403 The request comes from a page of another server.\n";
constexpr const char* NO_TOKEN = "403 The address does not have the token that kiln-prefab has printed.\n";
constexpr const char* UPWARDS = "403 The address leads upwards.\n";

[[nodiscard]] std::string refusalOf(const RequestFacts& request) {
    const std::optional<Refusal> refusal = RequestGuard(8080, "abc").refusal(request);
    return refusal ? std::to_string(refusal->status) + " " + std::string(refusal->message) : "";
}

[[nodiscard]] RequestFacts allowed() {
    return {"GET", {"127.0.0.1:8080"}, {}, {"abc"}, "/data.json"};
}

TEST(RequestGuardTest, requestOfThePage_isAllowed) {
    EXPECT_EQ(refusalOf(allowed()), "");
    RequestFacts request = allowed();
    request.hosts = {"localhost:8080"};
    request.origins = {"http://localhost:8080"};
    EXPECT_EQ(refusalOf(request), "");
}

TEST(RequestGuardTest, foreignHost_isRefused) {
    for (const char* const host : {"example.org", "127.0.0.1", "127.0.0.1:8081", "127.0.0.1:80800",
                                   "127.0.0.1.example.org:8080", "", "[::1]:8080"}) {
        RequestFacts request = allowed();
        request.hosts = {host};
        EXPECT_EQ(refusalOf(request), OTHER_HOST) << host;
    }
}

TEST(RequestGuardTest, missingAndRepeatedHost_areRefused) {
    RequestFacts request = allowed();
    request.hosts = {};
    EXPECT_EQ(refusalOf(request), OTHER_HOST);
    request.hosts = {"127.0.0.1:8080", "127.0.0.1:8080"};
    EXPECT_EQ(refusalOf(request), OTHER_HOST);
}

TEST(RequestGuardTest, foreignOrigin_isRefused) {
    for (const char* const origin : {"http://example.org", "null", "https://127.0.0.1:8080", "http://127.0.0.1", ""}) {
        RequestFacts request = allowed();
        request.origins = {origin};
        EXPECT_EQ(refusalOf(request), OTHER_ORIGIN) << origin;
    }
    RequestFacts request = allowed();
    request.origins = {"http://127.0.0.1:8080", "http://example.org"};
    EXPECT_EQ(refusalOf(request), OTHER_ORIGIN);
}

TEST(RequestGuardTest, missingWrongAndRepeatedToken_areRefused) {
    for (const std::vector<std::string>& tokens :
         std::vector<std::vector<std::string>>{{}, {""}, {"ab"}, {"abcd"}, {"abd"}, {"ABC"}, {"abc", "abc"}}) {
        RequestFacts request = allowed();
        request.tokens = tokens;
        EXPECT_EQ(refusalOf(request), NO_TOKEN);
    }
}

TEST(RequestGuardTest, pathThatLeadsUpwards_isRefused) {
    for (const char* const path : {"/..", "/../etc/passwd", "/a/../b", "..", "/a\\..\\b"}) {
        RequestFacts request = allowed();
        request.path = path;
        EXPECT_EQ(refusalOf(request), UPWARDS) << path;
    }
    RequestFacts request = allowed();
    request.path = "/a..b/...";
    EXPECT_EQ(refusalOf(request), "");
}

TEST(RequestGuardTest, otherMethods_areRefused) {
    RequestFacts request = allowed();
    request.method = "POST";
    EXPECT_EQ(refusalOf(request), "405 Only GET is answered.\n");
}

TEST(MakeToken, makesDifferentTokensOf64Digits) {
    std::set<std::string> tokens;
    for (int i = 0; i < 20; ++i) {
        const std::string token = makeToken();
        EXPECT_THAT(token, testing::MatchesRegex("[0-9a-f]+"));
        EXPECT_EQ(token.size(), 64U);
        tokens.insert(token);
    }
    EXPECT_EQ(tokens.size(), 20U);
}

} // namespace
} // namespace Kiln::PrefabTool
