#include "explore_command.h"

#include "explore_server.h"
#include "explored_prefabs.h"
#include "file_follower.h"
#include "live_view.h"
#include "stop_signals.h"

#include <kiln_prefab/check/command_error.h>
#include <kiln_prefab/check/target_paths.h>
#include <kiln_prefab/diagnostics.h>
#include <kiln_prefab/option_checks.h>
#include <kiln_prefab/report/report_data.h>
#include <kiln_prefab/report/report_page.h>
#include <kiln_prefab/terminal.h>
#include <kiln_prefab/view/prefab_argument.h>
#include <tessel_foundation/version.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <utility>

#include <CLI/CLI.hpp>

namespace Kiln::PrefabTool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds LOOK_INTERVAL{100};
constexpr std::chrono::milliseconds SETTLE_TIME{200};

/// The pause between two looks at the files is at least as many times as long as a look takes.
constexpr int PAUSE_FACTOR = 4;

constexpr double MAX_IDLE_MINUTES = 1e6;

/// What the page calls the prefabs: the names that the user has given.
[[nodiscard]] std::string titleOf(const std::vector<std::string>& paths) {
    std::string title;
    for (const std::string& path : paths) {
        title.append(title.empty() ? "" : ", ").append(path);
    }
    return title.empty() ? "all prefabs" : title;
}

[[nodiscard]] std::vector<std::string> resourcePaths(const ResourceRoots& roots,
                                                     const std::vector<std::string>& names) {
    const TargetFinder finder(roots);
    std::vector<std::string> paths;
    paths.reserve(names.size());
    for (const std::string& name : names) {
        paths.push_back(finder.resourcePath(name));
    }
    return paths;
}

/// One run of the command.
class Explorer {
public:
    Explorer(Terminal& terminal, LogCollector& log, std::string title, ExploredPrefabs& prefabs, LiveView& live)
        : m_terminal(terminal),
          m_log(log),
          m_title(std::move(title)),
          m_prefabs(prefabs),
          m_live(live),
          m_follower([this] { return m_prefabs.files(); }, SETTLE_TIME) {}

    [[nodiscard]] int run(Clock::duration idleLimit) {
        update();
        m_server.setPage(servedPage());
        if (const std::string problem = m_server.start(); !problem.empty()) {
            throw CommandError(problem);
        }
        m_terminal.output() << m_server.address() << '\n' << std::flush;
        m_terminal.note("open this address in a browser; Ctrl-C ends the program");
        while (!StopSignals::waitFor(m_pause)) {
            const Clock::time_point start = Clock::now();
            if (m_follower.hasSettledChange()) {
                tryUpdate();
            }
            m_pause = std::max(LOOK_INTERVAL,
                               std::chrono::ceil<std::chrono::milliseconds>(PAUSE_FACTOR * (Clock::now() - start)));
            if (idleLimit > Clock::duration::zero() && m_server.idleTime() >= idleLimit) {
                m_terminal.note("no page has been open for the time of --idle");
                break;
            }
        }
        m_server.stop();
        return ExitStatus::SUCCESS;
    }

private:
    void update() {
        auto files = std::make_unique<PrefabInspection::PrefabFiles>();
        const PrefabInspection::CheckResult result = m_prefabs.check(files.get());
        m_follower.addNewFiles();
        m_server.setData(reportData(result, {m_title, KILN_VERSION_STRING, 0}, std::move(files)));
        if (!m_live.isEmpty()) {
            m_server.setLive(m_live.load(m_log));
        }
        static_cast<void>(m_log.take()); // The page shows findings instead.
    }

    /// A folder that is missing for a moment does not end the program.
    void tryUpdate() {
        try {
            update();
        } catch (const CommandError& error) {
            m_terminal.reportFailure(error.what());
        }
    }

    Terminal& m_terminal;
    LogCollector& m_log;
    std::string m_title;
    ExploredPrefabs& m_prefabs;
    LiveView& m_live;
    FileFollower m_follower;
    ExploreServer m_server;
    std::chrono::milliseconds m_pause = LOOK_INTERVAL;
};

} // namespace

const Command::Description& ExploreCommand::description() const {
    static const Description DESCRIPTION{"explore",
                                         "Serve a page that shows prefabs and follows their changes.",
                                         {"kiln-prefab explore --root content content",
                                          "kiln-prefab explore --load ./libgame_components.so --spawn harbour.prefab "
                                          "--idle 30 harbour.prefab"}};
    return DESCRIPTION;
}

void ExploreCommand::addOptions(CLI::App& app) {
    app.add_option("PATH", m_paths,
                   "Prefabs, or folders with prefabs: resource paths, or paths beneath a root (default: all roots)")
        ->check(notEmpty())
        ->type_name("");
    app.add_option("--spawn", m_spawned,
                   "Also load PREFAB into a world, and show its live objects and the pools of their components; may be "
                   "repeated")
        ->allow_extra_args(false)
        ->check(notEmpty())
        ->type_name("PREFAB");
    app.add_option("--idle", m_idleMinutes, "End when no page has been open for MINUTES (default: 0, never)")
        ->check(CLI::Range(0.0, MAX_IDLE_MINUTES))
        ->type_name("MINUTES");
    m_common.addTo(app);
    m_settings.addTo(app);
}

int ExploreCommand::run(Terminal& terminal) {
    const StopSignals signals;
    m_common.setUp(terminal);
    LogCollector log;
    Diagnostics diagnostics(terminal, false);
    if (!m_common.loadLibraries(diagnostics, log)) {
        return ExitStatus::USAGE;
    }
    m_common.addRoots();
    return runReporting(terminal, [this, &terminal, &log]() {
        if (!hasReportPage()) {
            throw CommandError(NO_REPORT_PAGE);
        }
        const ResourceRoots roots(m_common.roots);
        ExploredPrefabs prefabs(roots, m_paths, [this, &roots] { return m_settings.settingsFiles(roots); });
        LiveView live(resourcePaths(roots, m_spawned));
        const std::chrono::duration<double, std::ratio<60>> idle(m_idleMinutes);
        const int exitStatus = Explorer(terminal, log, titleOf(m_paths), prefabs, live)
                                   .run(std::chrono::duration_cast<Clock::duration>(idle));
        m_isStuck = live.isStuck();
        return exitStatus;
    });
}

} // namespace Kiln::PrefabTool
