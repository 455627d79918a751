#pragma once

#include <tessel_streaming/load_result.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kiln::Tessel::Streaming {

/// What a request has cost so far.
struct RequestStatistics {
    std::uint64_t number = 0;             ///< See LoadHandle::number().
    std::string path;                     ///< The first one.
    LoadState state = LoadState::PENDING; ///< Its present state.
    int priority = 0;                     ///< Its present priority.
    LoadProgress progress;                ///< What has been read and created so far.
    std::chrono::microseconds queued{0};  ///< Until its first file was begun; the longest of its paths.
    std::chrono::microseconds read{0};    ///< Reading its files, summed over the workers.
    std::chrono::microseconds parsed{0};  ///< Turning them into documents, summed over the workers.
    std::chrono::microseconds created{0}; ///< Creating and activating, on the main thread.
    std::size_t cacheHits = 0;            ///< Files that did not have to be read for it.
};

/// A step that exceeded the budget of its frame.
struct BudgetOverrun {
    std::string path;                    ///< Of the request.
    std::string step;                    ///< Such as "activation".
    std::chrono::microseconds excess{0}; ///< Time beyond the budget.
    std::uint64_t frame = 0;             ///< Number of the frame, from 1.
};

/// The state of the library at one moment.
struct Statistics {
    std::size_t pendingRequests = 0;   ///< Requests that have not ended.
    std::size_t queuedFiles = 0;       ///< Not begun.
    std::size_t readingFiles = 0;      ///< On workers.
    std::size_t heldDocuments = 0;     ///< Also those that are kept.
    std::size_t keptDocuments = 0;     ///< Held only because of LoadOptions::keep.
    std::uint64_t keptBytes = 0;       ///< Size of the files of kept documents, in bytes.
    std::size_t instancesToRemove = 0; ///< Of requests that were cancelled.
    std::size_t followedInstances = 0; ///< Instances that follow their files, see LoadOptions::follow.

    std::uint64_t frames = 0;            ///< Number of frames so far.
    std::chrono::microseconds budget{0}; ///< NO_FRAME_BUDGET without one.
    /// Main-thread time per frame, over the last FRAME_WINDOW frames that had work.
    static constexpr std::size_t FRAME_WINDOW = 1024;
    std::chrono::microseconds usedMedian{0};         ///< Half of these frames took at most this.
    std::chrono::microseconds used99thPercentile{0}; ///< 99 % of these frames took at most this.
    std::chrono::microseconds usedMaximum{0};        ///< The longest of these frames.
    std::uint64_t overrunsCount = 0;                 ///< Number of all overruns so far.
    std::vector<BudgetOverrun> overruns;             ///< The last MAX_OVERRUNS, oldest first.
    static constexpr std::size_t MAX_OVERRUNS = 64;  ///< Most overruns that are listed.

    std::vector<RequestStatistics> requests; ///< Those that are pending or have a handle, in their order.
};

} // namespace Kiln::Tessel::Streaming
