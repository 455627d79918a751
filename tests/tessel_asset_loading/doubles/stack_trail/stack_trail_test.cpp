#include <core/stack_tracker.h>
#include <tessel_asset_loading/support/world_fixture.h>

#include <gmock/gmock.h>

#include <string_view>

namespace Kiln {

namespace {

/// Records what the thread that constructs this enters and leaves during its lifetime. Other threads record nothing.
class Trail : NonCopyable {
public:
    Trail() { s_current = this; }
    ~Trail() { s_current = nullptr; }

    static void push(const char* function, std::string_view file) {
        if (s_current) {
            ++s_current->m_depth;
            std::string_view name(function);
            constexpr std::string_view SERVICE = "Kiln::Tessel::PrefabService::";
            if (name.starts_with(SERVICE)) {
                EXPECT_EQ(file, "shared_libs\\tessel_asset_loading\\prefab_component") << name;
                s_current->entered.emplace_back(name.substr(SERVICE.size()));
            }
        }
    }

    static void pop() {
        if (s_current) {
            --s_current->m_depth;
        }
    }

    /// 0 when everything that was entered has been left.
    [[nodiscard]] int depth() const { return m_depth; }

    std::vector<std::string> entered; ///< Operations of the prefab service, in their order.

private:
    static inline thread_local Trail* s_current = nullptr;

    int m_depth = 0;
};

} // namespace

// These replace the core library's definitions in this whole program: the libraries' calls are bound to the
// executable's symbols.

void StackTracker::push(const char* function, const char* file, unsigned /*line*/) {
    Trail::push(function, file);
}

void StackTracker::pop() {
    Trail::pop();
}

namespace TestSupport {
namespace {

using testing::ElementsAre;

/// Every public operation of the prefab service enters the stack tracker's trail under its name and leaves it again.
class StackTrail : public WorldFixture {
protected:
    StackTrail() {
        PrefabText prefab;
        prefab.root(id(1), "Root");
        writePrefab("lamp.prefab", prefab);
    }

    /// Runs an operation and expects that nothing of it is left in the trail.
    template <class Operation>
    std::vector<std::string> entered(const Operation& operation) {
        const Trail trail;
        try {
            operation();
        } catch (const std::exception&) {
            m_isThrown = true;
        }
        EXPECT_EQ(trail.depth(), 0);
        return trail.entered;
    }

    bool m_isThrown = false;
};

TEST_F(StackTrail, loadPrefabData_isEntered) {
    EXPECT_THAT(entered([] { service().loadPrefabData("lamp.prefab"); }), ElementsAre("loadPrefabData"));
    EXPECT_THAT(entered([] { service().loadPrefabData("lamp.prefab"); }), ElementsAre("loadPrefabData"));
    EXPECT_THAT(entered([] { service().loadPrefabData("missing.prefab"); }), ElementsAre("loadPrefabData"));
}

TEST_F(StackTrail, cachePrefabData_ofADocument_isEntered) {
    EXPECT_THAT(entered([] { service().cachePrefabData("lamp.prefab", PrefabBuilder().root(id(1)).buildUnique()); }),
                ElementsAre("cachePrefabData"));
}

TEST_F(StackTrail, cachePrefabData_ofAFile_isEnteredWithItsWalk) {
    EXPECT_THAT(entered([] { service().cachePrefabData("missing.prefab", true); }),
                ElementsAre("cachePrefabData", "cachePrefabDataInternal", "loadPrefabData"));
}

TEST_F(StackTrail, cachePrefabData_beyondTheDepth_isLeftAtEachLevel) {
    EXPECT_THAT(entered([] { service().cachePrefabData("lamp.prefab", false); }),
                ElementsAre("cachePrefabData", "cachePrefabDataInternal", "loadPrefabData", "cachePrefabDataInternal",
                            "loadPrefabData", "cachePrefabDataInternal", "loadPrefabData", "cachePrefabDataInternal",
                            "loadPrefabData", "cachePrefabDataInternal", "loadPrefabData", "cachePrefabDataInternal",
                            "loadPrefabData", "cachePrefabDataInternal"));
}

TEST_F(StackTrail, clearing_isEntered) {
    EXPECT_THAT(entered([] { service().clearCache(); }), ElementsAre("clearCache"));
    EXPECT_THAT(entered([] { service().clearCached(std::string("lamp.prefab")); }), ElementsAre("clearCached"));
    EXPECT_THAT(entered([] { service().clearCached(std::vector<std::string>{"lamp.prefab"}); }),
                ElementsAre("clearCached"));
    EXPECT_THAT(entered([] { service().fini(); }), ElementsAre("fini"));
}

TEST_F(StackTrail, sharedPrefabs_areEntered) {
    const SmartPointer<Tessel::DescriptorCacheData> entry = makeSmart<Tessel::DescriptorCacheData>();
    EXPECT_THAT(entered([] { static_cast<void>(service().findSharedPrefab("lamp.prefab")); }),
                ElementsAre("findSharedPrefab"));
    EXPECT_THAT(entered([] { service().sharePrefabData("lamp.prefab", PrefabBuilder().root(id(1)).buildUnique()); }),
                ElementsAre("sharePrefabData"));
    EXPECT_THAT(entered([] { service().sharePrefabData("lamp.prefab", nullptr); }), ElementsAre("sharePrefabData"));
    EXPECT_THAT(entered([&] { service().replaceSharedPrefab("lamp.prefab", entry); }),
                ElementsAre("replaceSharedPrefab"));
    EXPECT_THAT(entered([&] { service().dropSharedPrefab("lamp.prefab", *entry); }), ElementsAre("dropSharedPrefab"));
}

TEST_F(StackTrail, onWorldDestroyed_isEnteredWithTheClearing) {
    EXPECT_THAT(entered([this] { service().onWorldDestroyed(worldId); }),
                ElementsAre("onWorldDestroyed", "clearCached"));
}

TEST_F(StackTrail, loadDescriptor_isEntered) {
    EXPECT_THAT(entered([] {
                    service().loadDescriptor(
                        "lamp.prefab", [](Tessel::GameObjectPrefab*) {}, false);
                }),
                ElementsAre("loadDescriptor"));
    waitForWorkers();
}

TEST_F(StackTrail, loadGameObject_ofAFile_isEntered) {
    const auto load = [](int into) { service().loadGameObject("lamp.prefab", into, id(1), nullptr, nullptr); };
    EXPECT_THAT(entered([&] { load(worldId); }), ElementsAre("loadGameObject"));
    EXPECT_THAT(entered([&] { load(-1); }), ElementsAre("loadGameObject"));
    waitForWorkers();
}

TEST_F(StackTrail, loadGameObject_ofASection_isEntered) {
    const auto load = [this](const SmartPointer<DataSection>& section) {
        service().loadGameObject(section, worldId, id(1), nullptr, nullptr);
    };
    EXPECT_THAT(entered([&] { load(PrefabText().section()); }), ElementsAre("loadGameObject"));
    EXPECT_THAT(entered([&] { load(nullptr); }), ElementsAre("loadGameObject"));
    waitForWorkers();
}

TEST_F(StackTrail, tickAndPostTick_areEntered) {
    EXPECT_THAT(entered([] { service().tick(); }), ElementsAre("tick"));
    EXPECT_THAT(entered([] { service().postTick(); }), ElementsAre("postTick"));
}

TEST_F(StackTrail, tickThatThrows_isLeft) {
    class Throwing final : public IObjectLoadedCallback {
        bool onPreactivate(Tessel::GameObject, Tessel::GameObjectManager&) override { throw std::runtime_error("no"); }
        void onObjectLoaded(Tessel::GameObject, Tessel::GameObjectManager&) override {}
        void onObjectLoadedIntoHierarchy(Tessel::GameObject, Tessel::GameObjectManager&) override {}
        void releaseCallback() override {}
    };
    service().loadGameObject("lamp.prefab", worldId, id(1), makeSmart<Throwing>(), nullptr);
    waitForWorkers();

    EXPECT_THAT(entered([] { service().tick(); }), ElementsAre("tick"));
    EXPECT_TRUE(m_isThrown);
}

} // namespace
} // namespace TestSupport
} // namespace Kiln
