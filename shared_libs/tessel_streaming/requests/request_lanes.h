#pragma once

#include <core/non_copyable.h>
#include <tessel_streaming/requests/load_request.h>

#include <cstdint>
#include <map>

namespace Kiln::Tessel::Streaming::detail {

/// Puts the reports of requests in order: a request reports when those of the same priority that were made before it
/// have reported, so that the order is the same whether files were cached or not. Requests of different priority do not
/// wait for one another, and neither do those with LoadOptions::reportsInOrder unset.
///
/// Owner: the service. Main thread. Ownership: shares the requests.
class RequestLanes : NonCopyable {
public:
    void add(const SmartPointer<LoadRequest>& request);
    void remove(const LoadRequest& request);

    /// Moves a request to the lane of another priority.
    void setPriority(const SmartPointer<LoadRequest>& request, int priority);

    /// Notes that a request that does not wait for others has finished.
    void noteFinished(const SmartPointer<LoadRequest>& request);

    /// Of the requests that may report now, the one that was made first; null if there is none. Takes time linear in
    /// the number of different priorities.
    [[nodiscard]] SmartPointer<LoadRequest> nextToReport() const;

private:
    using Lane = std::map<std::uint64_t, SmartPointer<LoadRequest>>; ///< By number.

    std::map<int, Lane> m_lanes; ///< By priority; none is empty.
    Lane m_unordered;            ///< Those that have finished.
};

} // namespace Kiln::Tessel::Streaming::detail
