#include <tessel_asset_loading/prefab_limits.h>
#include <tessel_asset_loading/support/service_fixture.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

namespace Kiln::TestSupport {
namespace {

using Tessel::PrefabLimits;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// PrefabLimits::walkVisits: the number of nested prefabs that one walk ahead visits.
class WalkLimit : public ServiceFixture {
protected:
    WalkLimit() {
        HookComponent::onPreload = [this](const HookComponent::Config& config) { preloaded.push_back(config.tag); };
    }
    ~WalkLimit() override { setPrefabLimits(PrefabLimits()); }

    static void limitVisits(std::size_t visits) {
        PrefabLimits limits;
        limits.walkVisits = visits;
        setPrefabLimits(limits);
    }

    /// A prefab with a hook and integration points of one resource. Its root does not name a file.
    static void cacheFan(const std::string& path, std::size_t points, const std::string& resource) {
        PrefabBuilder prefab;
        prefab.root(id(1)).with<HookComponent>({path});
        for (std::size_t i = 0; i < points; ++i) {
            prefab.nested(id(2 + i), "Point", id(1), resource);
        }
        cachePrefab(path, prefab);
    }

    [[nodiscard]] std::vector<std::string> warnings() const {
        std::vector<std::string> texts;
        for (const std::string& line : logged()) {
            if (line.starts_with("4: ")) {
                texts.push_back(line);
            }
        }
        return texts;
    }

    std::vector<std::string> preloaded;
};

TEST_F(WalkLimit, default_isTenThousandVisits) {
    EXPECT_EQ(Tessel::prefabLimits().walkVisits, 10'000U);
}

TEST_F(WalkLimit, visitsUpToTheLimit_areAllMade) {
    cacheFan("leaf.prefab", 0, {});
    cacheFan("fan.prefab", 3, "leaf.prefab");
    limitVisits(3);

    service().loadPrefabData("fan.prefab")->backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("fan.prefab", "leaf.prefab", "leaf.prefab", "leaf.prefab"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(WalkLimit, visitsBeyondTheLimit_areSkippedAndCountedInOneWarning) {
    PrefabBuilder fan;
    fan.root(id(1)).with<Tessel::PrefabComponent>({"fan.prefab", {}});
    for (std::size_t i = 0; i < 5; ++i) {
        fan.nested(id(2 + i), "Point", id(1), "leaf.prefab");
    }
    cacheFan("leaf.prefab", 0, {});
    cachePrefab("fan.prefab", fan);
    limitVisits(2);

    // At depth 5, the root's reference to the own file ends at the next level.
    service().loadPrefabData("fan.prefab")->backgroundLoad(5);

    EXPECT_THAT(preloaded, ElementsAre("leaf.prefab", "leaf.prefab"));
    EXPECT_THAT(warnings(), ElementsAre("4: Loading ahead from 'fan.prefab': after 2 visits, the limit, 3 repeated "
                                        "visits of nested prefabs were skipped."));
}

TEST_F(WalkLimit, prefabThatIsNotVisitedYet_isVisitedBeyondTheLimit) {
    cacheFan("a.prefab", 0, {});
    cacheFan("b.prefab", 0, {});
    PrefabBuilder fan;
    fan.root(id(1), "Fan");
    fan.nested(id(2), "Point", id(1), "a.prefab").nested(id(3), "Point", id(1), "a.prefab");
    fan.nested(id(4), "Point", id(1), "b.prefab").nested(id(5), "Point", id(1), "b.prefab");
    cachePrefab("fan.prefab", fan);
    limitVisits(1);

    service().loadPrefabData("fan.prefab")->backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("a.prefab", "b.prefab"));
    EXPECT_THAT(warnings(), ElementsAre("4: Loading ahead from 'Fan': after 1 visits, the limit, 2 repeated visits of "
                                        "nested prefabs were skipped."));
}

TEST_F(WalkLimit, referenceOfARootToItsOwnFile_isNotCounted) {
    writeHookedRoot("alone.prefab", "alone");
    limitVisits(0);

    service().loadPrefabData("alone.prefab")->backgroundLoad(0);

    EXPECT_EQ(preloaded.size(), 7U);
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(WalkLimit, prefabVisitedAtAnotherDepth_isVisitedBeyondTheLimit) {
    cacheFan("leaf.prefab", 0, {});
    cacheFan("middle.prefab", 1, "leaf.prefab");
    PrefabBuilder top;
    top.root(id(1), "Top").nested(id(2), "Point", id(1), "leaf.prefab").nested(id(3), "Point", id(1), "middle.prefab");
    cachePrefab("top.prefab", top);
    limitVisits(1);

    service().loadPrefabData("top.prefab")->backgroundLoad(0);

    EXPECT_THAT(preloaded, ElementsAre("leaf.prefab", "middle.prefab", "leaf.prefab"));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(WalkLimit, cachingAndPreloading_areOneWalk) {
    writeHookedRoot("leaf.prefab", "leaf");
    PrefabText top;
    top.root(id(1));
    top.nested(id(2), "Point", id(1), "leaf.prefab");
    writePrefab("top.prefab", top);
    limitVisits(1);

    service().cachePrefabData("top.prefab", true);

    EXPECT_THAT(warnings(), ElementsAre(HasSubstr("Loading ahead from 'top.prefab': after 1 visits, the limit, ")));
}

TEST_F(WalkLimit, fileThatNestsItselfThreeTimes_endsWithBoundedWork) {
    PrefabText prefab;
    prefab.component("HookComponent", prefab.root(id(1)), element("tag", "self"));
    for (std::size_t i = 0; i < 3; ++i) {
        prefab.nested(id(2 + i), "Point", id(1), "self.prefab");
    }
    writePrefab("self.prefab", prefab);

    service().cachePrefabData("self.prefab", true);

    // Without a limit, the walk preloads more than ten million times.
    EXPECT_LT(preloaded.size(), 20'000U);
    EXPECT_THAT(warnings(), ElementsAre(HasSubstr("Loading ahead from 'self.prefab': after 10000 visits, the limit")));
}

TEST_F(WalkLimit, nextWalk_countsAnew) {
    cacheFan("leaf.prefab", 0, {});
    cacheFan("fan.prefab", 2, "leaf.prefab");
    limitVisits(2);

    service().loadPrefabData("fan.prefab")->backgroundLoad(0);
    service().loadPrefabData("fan.prefab")->backgroundLoad(0);

    EXPECT_EQ(preloaded.size(), 6U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(WalkLimit, walkThatThrows_isEnded) {
    cacheFan("leaf.prefab", 0, {});
    cacheFan("fan.prefab", 2, "leaf.prefab");
    limitVisits(2);
    HookComponent::onPreload = [](const HookComponent::Config& config) {
        if (config.tag == "leaf.prefab") {
            throw std::runtime_error("no such texture");
        }
    };
    EXPECT_THROW(service().loadPrefabData("fan.prefab")->backgroundLoad(0), std::runtime_error);

    HookComponent::onPreload = [this](const HookComponent::Config& config) { preloaded.push_back(config.tag); };
    service().loadPrefabData("fan.prefab")->backgroundLoad(0);

    EXPECT_EQ(preloaded.size(), 3U);
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace Kiln::TestSupport
