#include "library_fixture.h"

#include <support/failing_allocation.h>
#include <tessel_streaming/documents/file_graph.h>

#include <new>

namespace Kiln::TestSupport {
namespace {

using Tessel::Streaming::detail::FileGraph;
using Tessel::Streaming::detail::NeededFile;
using Tessel::Streaming::detail::readFile;

/// Each test repeats an operation with its first, second, … allocation failing until it succeeds.
class DocumentsFaultTest : public LibraryFixture {};

TEST_F(DocumentsFaultTest, readFile_isAFailureOrSucceeds) {
    write("lamp.prefab", {"bulb.prefab"});
    int failures = 0;
    for (std::size_t index = 0;; ++index) {
        SmartPointer<LoadedFile> file;
        bool hasOccurred = false;
        {
            const AllocationFault fault(index, AllocationFault::Duration::ONCE);
            file = readFile("lamp.prefab", service());
            hasOccurred = fault.hasOccurred();
        }
        if (!hasOccurred) {
            EXPECT_NE(file->prefab(), nullptr);
            break;
        }
        if (!file->prefab()) {
            ++failures;
            ASSERT_EQ(file->failures.size(), 1u);
            EXPECT_EQ(file->failures.front().code, FailureCode::OUT_OF_MEMORY);
            EXPECT_FALSE(isCached("lamp.prefab")) << index;
        }
        Tessel::Loading::fullyClearCache();
    }
    EXPECT_GT(failures, 10);
}

TEST_F(DocumentsFaultTest, add_failsWithoutATraceOrFailsTheFile) {
    write("lamp.prefab");
    for (std::size_t index = 0;; ++index) {
        NeedId need = 0;
        bool hasOccurred = false;
        {
            const AllocationFault fault(index, AllocationFault::Duration::ONCE);
            try {
                need = library->add("lamp.prefab", 96, false);
            } catch (const std::bad_alloc&) {
                hasOccurred = true;
            }
            hasOccurred |= fault.hasOccurred();
        }
        finishTasks();
        if (need == 0) {
            EXPECT_EQ(library->counts().queuedFiles, 0u);
            EXPECT_EQ(library->counts().heldDocuments, 0u);
            EXPECT_EQ(library->find("lamp.prefab"), nullptr);
            continue;
        }
        EXPECT_TRUE(library->isComplete(need)) << index;
        library->remove(need);
        library->releaseUnused();
        EXPECT_FALSE(isCached("lamp.prefab"));
        if (!hasOccurred) {
            break;
        }
    }
}

TEST_F(DocumentsFaultTest, finish_failsTheFileAndCompletesItsNeeds) {
    write("top.prefab", {"left.prefab", "right.prefab"});
    int failures = 0;
    for (std::size_t index = 0;; ++index) {
        FileGraph graph;
        const NeedId first = graph.add("top.prefab", 96, false);
        const NeedId second = graph.add("top.prefab", 97, true);
        NeededFile* const top = graph.begin();
        const SmartPointer<LoadedFile> result = readFile("top.prefab", service());
        bool hasOccurred = false;
        {
            const AllocationFault fault(index, AllocationFault::Duration::ONCE);
            EXPECT_EQ(graph.finish(*top, result), nullptr);
            hasOccurred = fault.hasOccurred();
        }
        if (hasOccurred) {
            ++failures;
            ASSERT_EQ(top->loaded->failures.size(), 1u);
            EXPECT_EQ(top->loaded->failures.front().code, FailureCode::OUT_OF_MEMORY);
            EXPECT_EQ(graph.queuedCount(), 0u);
            EXPECT_TRUE(graph.findNeed(first)->isComplete);
        } else {
            EXPECT_EQ(graph.queuedCount(), 2u);
        }
        FileGraph::Files dropped;
        graph.remove(first, dropped);
        graph.remove(second, dropped);
        graph.releaseUnused(dropped);
        graph.clear(dropped);
        EXPECT_EQ(graph.counts().heldDocuments, 0u);
        Tessel::Loading::fullyClearCache();
        if (!hasOccurred) {
            break;
        }
    }
    EXPECT_GT(failures, 5);
}

} // namespace
} // namespace Kiln::TestSupport
