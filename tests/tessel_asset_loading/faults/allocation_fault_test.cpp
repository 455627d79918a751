#include <support/failing_allocation.h>
#include <tessel_asset_loading/prefab_component/service/prefab_load_task.h>
#include <tessel_asset_loading/support/service_fixture.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <string>

#include <pugixml.hpp>

namespace Kiln::TestSupport {
namespace {

using Tessel::GameObject;
using Tessel::GameObjectPrefab;
using Tessel::PrefabLoadTask;
using Duration = AllocationFault::Duration;

constexpr std::size_t OBJECTS = 6; ///< Of an instance of "outer.prefab".

/// Operations of which one allocation fails, or one and all that follow. Each operation is repeated with the next
/// allocation failing, until it succeeds because it does not make that many.
class AllocationFaults : public ServiceFixture, public ::testing::WithParamInterface<Duration> {
protected:
    AllocationFaults() {
        // The parser allocates through functions of its own.
        pugi::set_memory_management_functions([](std::size_t size) { return operator new(size, std::nothrow); },
                                              [](void* block) { operator delete(block); });
        writeFiles();
    }
    ~AllocationFaults() override { pugi::set_memory_management_functions(std::malloc, std::free); }

    /// "outer.prefab" has a link and nests "inner.prefab" twice, once with overrides.
    void writeFiles() const {
        PrefabText inner;
        inner.component("TagComponent", inner.root(id(1), "Inner"), element("tag", "a tag that needs an allocation"));
        inner.child(id(2), "Leaf with a name that needs an allocation", id(1));
        writePrefab("inner.prefab", inner);

        OverridesText overrides;
        overrides.record(id(1), "TagComponent", element("tag", "another tag that needs an allocation"));
        PrefabText outer;
        outer.component("TagComponent", outer.root(id(1), "Outer"), element("tag", "outer"));
        outer.nested(id(2), "First", id(1), "inner.prefab", overrides.text());
        outer.component("LinksComponent", outer.nested(id(3), "Second", id(1), "inner.prefab"),
                        element("target", id(2).toString()));
        outer.child(id(4), "Last", id(1));
        writePrefab("outer.prefab", outer);
    }

    /// Runs `operation` with each of its allocations failing in turn, and `check` after each run; `check` learns
    /// whether the operation has thrown. Other exceptions than std::bad_alloc are not caught.
    void forEachFault(const std::function<void()>& prepare, const std::function<void()>& operation,
                      const std::function<void(bool isThrown)>& check) {
        for (std::size_t index = 0;; ++index) {
            SCOPED_TRACE("allocation " + std::to_string(index));
            prepare();
            bool isThrown = false;
            bool hasOccurred = false;
            try {
                const AllocationFault fault(index, GetParam());
                try {
                    operation();
                } catch (...) {
                    hasOccurred = fault.hasOccurred();
                    throw;
                }
                hasOccurred = fault.hasOccurred();
            } catch (const std::bad_alloc&) {
                isThrown = true;
            }
            check(isThrown);
            m_faults += hasOccurred ? 1 : 0;
            if (!hasOccurred || HasFailure()) {
                break;
            }
        }
        EXPECT_GT(m_faults, 0U);
        std::printf("faults: %zu\n", m_faults); // A figure of docs/reliability.md.
    }

    /// What every test ends with: the next load works.
    void expectNextLoadWorks() {
        service().clearCache();
        const std::size_t objectsBefore = manager().gameObjectsCount();
        load("outer.prefab", Uuid::generate());
        finishLoads();
        EXPECT_EQ(manager().gameObjectsCount(), objectsBefore + OBJECTS);
        EXPECT_TRUE(queued().empty());
    }

    void removeAllObjects() const {
        while (!manager().gameObjects().empty()) {
            manager().removeGameObject(manager().gameObjects().front());
        }
    }

    std::size_t m_faults = 0;
};

TEST_P(AllocationFaults, requestByPath_isQueuedAndLoadedOrLeavesNothing) {
    forEachFault(
        [this] {
            removeAllObjects();
            service().clearCache();
        },
        [this] { load("outer.prefab"); },
        [this](bool isThrown) {
            EXPECT_EQ(queued().size(), isThrown ? 0U : 1U);
            finishLoads();
            EXPECT_EQ(manager().gameObjectsCount(), isThrown ? 0U : OBJECTS);
            // The path is not left in the cache without a task.
            load("outer.prefab", id(200));
            finishLoads();
            EXPECT_EQ(manager().gameObjectsCount(), isThrown ? OBJECTS : 2 * OBJECTS);
        });
}

TEST_P(AllocationFaults, requestFromASection_isQueuedAndLoadedOrLeavesNothing) {
    const SmartPointer<DataSection> section = DataSection::fromFile(directory.path() / "outer.prefab", "outer", true);
    forEachFault([this] { removeAllObjects(); }, [this, &section] { loadSection(section); },
                 [this](bool isThrown) {
                     EXPECT_EQ(queued().size(), isThrown ? 0U : 1U);
                     finishLoads();
                     EXPECT_EQ(manager().gameObjectsCount(), isThrown ? 0U : OBJECTS);
                 });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, descriptorRequest_isQueuedOrLeavesNothing) {
    const std::size_t before = requestsCount();
    std::size_t expected = before;
    forEachFault([] { service().clearCache(); },
                 [] {
                     service().loadDescriptor(
                         "outer.prefab", [](GameObjectPrefab*) {}, false);
                 },
                 [this, &expected](bool isThrown) {
                     expected += isThrown ? 0 : 1;
                     EXPECT_EQ(requestsCount(), expected);
                     waitForWorkers();
                 });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, tick_createsTheInstanceOrLeavesItForTheNextFrame) {
    forEachFault(
        [this] {
            removeAllObjects();
            load("outer.prefab");
            waitForWorkers();
        },
        [] { service().tick(); },
        [this](bool isThrown) {
            EXPECT_FALSE(isThrown);
            const bool isCreated = queued().empty();
            EXPECT_EQ(manager().gameObjectsCount(), isCreated ? OBJECTS : 0U);
            service().tick();
            service().postTick();
            EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
            EXPECT_TRUE(queued().empty());
        });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, creation_isCompleteOrLeavesNothing) {
    const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy("outer.prefab", nullptr);
    GameObjectPrefab::CreateConfig config;
    std::vector<GameObject> created;
    forEachFault(
        [&] {
            removeAllObjects();
            config = {worldId, id(100), nullptr, {}};
            created.clear();
        },
        [&] { created = prefab->createGameObjects(config); },
        [&](bool isThrown) {
            const bool isCreated = !isThrown && !created.front().isInvalid();
            EXPECT_EQ(manager().gameObjectsCount(), isCreated ? OBJECTS : 0U);
            EXPECT_EQ(config.uuidMap.size(), isCreated ? OBJECTS : 0U);
        });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, removal_needsNoMemory) {
    GameObjectPrefab::CreateConfig config{worldId, id(100), nullptr, {}};
    const GameObject root = service().loadPrefabData("outer.prefab")->createGameObjects(config).front();
    {
        const AllocationFault fault(0, GetParam());
        manager().removeGameObject(root);
        EXPECT_FALSE(fault.hasOccurred());
    }
    EXPECT_EQ(manager().gameObjectsCount(), 0U);
}

TEST_P(AllocationFaults, documentLookup_findsTheDocumentOrCanBeRepeated) {
    const GameObjectPrefab* found = nullptr;
    forEachFault(
        [&] {
            service().clearCache();
            found = nullptr;
        },
        [&] { found = service().loadPrefabData("outer.prefab"); },
        [&](bool isThrown) {
            EXPECT_EQ(found == nullptr, isThrown);
            found = service().loadPrefabData("outer.prefab");
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(found->nodesCount(), 4U);
        });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, requestAfterALookup_isLoadedAlsoIfTheLookupHasThrown) {
    forEachFault(
        [this] {
            removeAllObjects();
            service().clearCache();
        },
        [] { (void)service().loadPrefabData("outer.prefab"); },
        [this](bool /*isThrown*/) {
            load("outer.prefab");
            finishLoads();
            EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
            EXPECT_TRUE(queued().empty());
        });
}

TEST_P(AllocationFaults, backgroundTask_fillsTheCacheOrLeavesThePathToTheNextLoad) {
    forEachFault(
        [this] {
            removeAllObjects();
            service().clearCache();
        },
        [] {
            const SmartPointer<PrefabLoadTask> task =
                makeSmart<PrefabLoadTask>("outer.prefab", makeSmart<Tessel::DescriptorCacheData>(), true);
            task->doBackgroundTask(FileIOTaskManager::instance());
        },
        [this](bool /*isThrown*/) {
            load("outer.prefab");
            finishLoads();
            EXPECT_EQ(manager().gameObjectsCount(), OBJECTS);
            EXPECT_TRUE(queued().empty());
        });
}

TEST_P(AllocationFaults, sharedDocument_isInTheCacheOrThePathHasNoEntry) {
    forEachFault([] { service().clearCache(); },
                 [] {
                     auto prefab = std::make_unique<GameObjectPrefab>();
                     service().sharePrefabData("outer.prefab", std::move(prefab));
                 },
                 [](bool isThrown) {
                     const auto entry = service().findSharedPrefab("outer.prefab");
                     EXPECT_EQ(entry == nullptr, isThrown);
                     EXPECT_TRUE(!entry || entry->prefab);
                 });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, replacedDocument_isTheNewOneOrThePathHasNoEntry) {
    const auto replacement = makeSmart<Tessel::DescriptorCacheData>();
    forEachFault([] { service().clearCache(); }, [&] { service().replaceSharedPrefab("outer.prefab", replacement); },
                 [&](bool isThrown) {
                     EXPECT_EQ(service().findSharedPrefab("outer.prefab"), isThrown ? nullptr : replacement);
                 });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, saving_leavesTheOldFileOrTheNewOne) {
    const std::unique_ptr<GameObjectPrefab> prefab = GameObjectPrefab::loadHierarchy("outer.prefab", nullptr);
    const std::string target = directory.path() / "saved.prefab";
    bool isSaved = false;
    forEachFault(
        [&] {
            directory.writeFile("saved.prefab", "old");
            isSaved = false;
        },
        [&] {
            const SmartPointer<DataSection> section = DataSection::create("prefab");
            prefab->serialize(section);
            isSaved = section->saveFile(target);
        },
        [&](bool isThrown) {
            EXPECT_FALSE(isThrown && isSaved);
            const auto reread = DataSection::fromFile(target, "saved", true);
            EXPECT_EQ(reread != nullptr, isSaved);
            const std::filesystem::directory_iterator files(directory.path());
            EXPECT_EQ(std::distance(begin(files), end(files)), 3) << "a temporary file remains";
        });
    expectNextLoadWorks();
}

TEST_P(AllocationFaults, clearingTheCache_isCompleteOrCanBeRepeated) {
    forEachFault(
        [] {
            (void)service().loadPrefabData("outer.prefab");
            (void)service().loadPrefabData("inner.prefab");
        },
        [this] {
            service().clearCached("inner.prefab");
            service().onWorldDestroyed(worldId);
            service().clearCache();
        },
        [](bool /*isThrown*/) { service().clearCache(); });
    expectNextLoadWorks();
}

INSTANTIATE_TEST_SUITE_P(Faults, AllocationFaults, ::testing::Values(Duration::ONCE, Duration::LASTING),
                         [](const auto& test) { return test.param == Duration::ONCE ? "once" : "lasting"; });

} // namespace
} // namespace Kiln::TestSupport
