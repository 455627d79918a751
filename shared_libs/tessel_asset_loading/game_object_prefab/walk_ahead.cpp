#include <tessel_asset_loading/game_object_prefab/walk_ahead.h>

#include <core/task_manager.h>
#include <tessel_asset_loading/game_object_prefab/document_name.h>
#include <tessel_asset_loading/prefab_limits.h>
#include <tessel_asset_loading/reporting/messages.h>

#include <cstddef>
#include <functional>
#include <set>
#include <tuple>

namespace Kiln::Tessel::detail {

struct WalkAhead::State {
    /// The walk of the current thread; null if there is none.
    static constinit thread_local State* current;

    const std::size_t limit = prefabLimits().walkVisits;
    const BackgroundTaskThread* const worker = BackgroundTaskThread::current();
    std::size_t visits = 0;
    std::size_t skipped = 0;

    /// The visits. An ordered set, because a file could choose paths whose hashes collide.
    std::set<std::tuple<Purpose, int, std::string>, std::less<>> visited;
};

constinit thread_local WalkAhead::State* WalkAhead::State::current = nullptr;

WalkAhead::WalkAhead(const std::string* path, const GameObjectPrefab* prefab)
    : m_path(path),
      m_prefab(prefab),
      m_own(State::current ? nullptr : std::make_unique<State>()),
      m_state(m_own ? m_own.get() : State::current) {
    State::current = m_state;
}

WalkAhead::~WalkAhead() {
    if (!m_own) {
        return;
    }
    State::current = nullptr;
    try {
        reportSkipped();
    } catch (...) { // NOLINT(bugprone-empty-catch): without memory for it there is no warning.
    }
}

bool WalkAhead::enter(Purpose purpose, const std::string& path, int depth, bool isOfFirstRoot) {
    const bool isNew = m_state->visited.find(std::tie(purpose, depth, path)) == m_state->visited.end();
    if (isNew) {
        m_state->visited.emplace(purpose, depth, path);
    } else if (m_state->visits >= m_state->limit) {
        ++m_state->skipped;
        return false;
    }
    m_state->visits += isOfFirstRoot ? 0 : 1;
    return true;
}

bool WalkAhead::isStopping() const noexcept {
    return m_state->worker && m_state->worker->isStopping();
}

void WalkAhead::reportSkipped() const {
    if (m_own->skipped != 0) {
        Report::warning("Loading ahead from '%s': after %zu visits, the limit, %zu repeated visits of nested prefabs "
                        "were skipped.",
                        (m_path ? *m_path : documentName(*m_prefab)).c_str(), m_own->limit, m_own->skipped);
    }
}

} // namespace Kiln::Tessel::detail
