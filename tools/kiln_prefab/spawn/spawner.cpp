#include "spawner.h"

#include "instance_diagnostics.h"
#include "json_output.h"
#include "loading_session.h"
#include "progress_output.h"
#include "streaming_session.h"
#include "text_output.h"
#include "trace_file.h"

#include <kiln_prefab/line_text.h>
#include <kiln_prefab/log_collector.h>
#include <kiln_prefab/terminal.h>
#include <prefab_inspection/prefab_closure.h>
#include <tessel_streaming/streaming.h>

#include <algorithm>
#include <memory>
#include <new>
#include <ostream>
#include <utility>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::PrefabClosure;
namespace Streaming = Tessel::Streaming;

/// The main-thread time that frames took, and how many of their steps exceeded the budget.
[[nodiscard]] std::string describeFrames(const Streaming::Statistics& statistics) {
    return "frames took " + std::to_string(statistics.usedMedian.count()) + " us (median), " +
           std::to_string(statistics.used99thPercentile.count()) + " us (99th percentile), " +
           std::to_string(statistics.usedMaximum.count()) + " us (maximum); " +
           counted(statistics.overrunsCount, "overrun") + " of the budget of " +
           std::to_string(statistics.budget.count()) + " us";
}

/// One run of the command.
class Spawner {
public:
    Spawner(const SpawnOptions& options, Terminal& terminal)
        : m_options(options),
          m_terminal(terminal),
          m_diagnostics(terminal, options.isVerbose),
          m_progress(terminal, options.showsProgress) {}

    [[nodiscard]] SpawnResult run() {
        m_options.common.setUp(m_terminal);
        if (!m_options.common.loadLibraries(m_diagnostics, m_log)) {
            return {ExitStatus::USAGE};
        }
        m_options.common.addRoots();
        if (!prepareStreaming()) {
            return {ExitStatus::USAGE};
        }
        for (const std::string& prefab : m_options.prefabs) {
            m_isStuck ? skip(prefab, m_options.instances) : trySpawnPrefab(prefab);
        }
        if (!m_options.isJson && m_totals.instances > 1) {
            writeTotals(m_terminal.output(), m_totals);
        }
        finishStreaming();
        return {m_diagnostics.hasFailures() ? ExitStatus::FINDINGS : ExitStatus::SUCCESS, m_isStuck};
    }

private:
    /// Reports a trace that cannot be written, and returns false.
    [[nodiscard]] bool prepareStreaming() {
        if (m_options.budget) {
            Streaming::setFrameBudget(*m_options.budget);
        }
        const std::string problem = m_options.traceFile.empty() ? "" : m_trace.open(m_options.traceFile);
        if (!problem.empty()) {
            m_terminal.reportFailure(problem);
        }
        return problem.empty();
    }

    void finishStreaming() {
        if (const std::string problem = m_trace.close(); !problem.empty()) {
            m_diagnostics.reportFailure("--trace", problem);
        }
        if (m_options.isStreamed() && m_options.isVerbose) {
            m_terminal.note(describeFrames(Streaming::statistics()));
        }
    }

    [[nodiscard]] std::unique_ptr<Session> makeSession(const std::string& prefab) {
        Session::Settings settings{prefab, m_options.timeout, m_options.isUnderInactiveParent};
        if (m_options.isStreamed()) {
            return std::make_unique<StreamingSession>(std::move(settings), m_log, m_progress);
        }
        return std::make_unique<LoadingSession>(std::move(settings), m_log);
    }

    /// A prefab for which there is not enough memory does not stop the others.
    void trySpawnPrefab(const std::string& prefab) {
        try {
            spawnPrefab(prefab);
        } catch (const std::bad_alloc&) {
            m_diagnostics.reportFailure(prefab, "not enough memory");
        }
    }

    void spawnPrefab(const std::string& prefab) {
        {
            const std::unique_ptr<Session> owner = makeSession(prefab);
            Session& session = *owner;
            PrefabClosure closure;
            std::size_t tried = 0;
            while (tried < m_options.instances && !session.isStuck()) {
                const InstanceRecord record = session.load(nextInstanceUuid());
                if (tried++ == 0 && !session.isStuck()) {
                    closure = inspect(prefab);
                }
                write(record, closure);
                if (tried == 1) {
                    suggestRoot(record);
                }
            }
            skip(prefab, m_options.instances - tried);
            m_diagnostics.reportSkippedComponents(closure.unknownComponents);
            if (m_options.dumpsPools) {
                session.dumpPools(m_options.isJson ? m_terminal.errors() : m_terminal.output());
            }
            m_isStuck = session.isStuck();
        }
        m_diagnostics.reportLog(prefab + ": errors while its world was destroyed", m_log.take());
    }

    /// If a file was refused because of its path, says how to make it accessible.
    void suggestRoot(const InstanceRecord& record) {
        const std::vector<LogRecord::Message>& messages = record.log.messages;
        const auto isMessageAboutPath = [](const LogRecord::Message& message) {
            return message.text.ends_with(": is outside of the resource roots");
        };
        const auto isFailureOfPath = [](const Streaming::LoadFailure& failure) {
            return failure.code == Streaming::FailureCode::OUTSIDE_OF_ROOTS;
        };
        if (std::any_of(messages.begin(), messages.end(), isMessageAboutPath) ||
            (record.hasFailures() && std::any_of(record.failures->begin(), record.failures->end(), isFailureOfPath))) {
            m_terminal.note("only files beneath a resource root are read; --root DIR adds DIR, in which relative paths "
                            "are then looked up");
        }
    }

    /// Records instances that are not attempted because a background task is stuck.
    void skip(const std::string& prefab, std::size_t instances) {
        for (std::size_t i = 0; i < instances; ++i) {
            InstanceRecord record;
            record.prefab = prefab;
            record.instanceUuid = nextInstanceUuid();
            record.problem = "an earlier background load has not ended";
            write(record, {});
        }
    }

    [[nodiscard]] Uuid nextInstanceUuid() const {
        return m_options.instanceUuid ? *m_options.instanceUuid : Uuid::generate();
    }

    /// Drops the messages of the inspection, because loading the files has already logged them.
    [[nodiscard]] PrefabClosure inspect(const std::string& prefab) {
        PrefabClosure closure = PrefabInspection::inspectClosure(prefab);
        static_cast<void>(m_log.take());
        return closure;
    }

    void write(const InstanceRecord& record, const PrefabClosure& closure) {
        if (m_options.isJson) {
            writeJson(m_terminal.output(), record, closure.unknownComponents);
        } else if (record.isCreated()) {
            writeText(m_terminal.output(), record, closure.files.size());
        }
        // Both streams may go to one terminal; flushing keeps messages below the instance that they are about.
        m_terminal.output().flush();
        m_diagnostics.reportInstance(record);
        ++m_totals.instances;
        m_totals.frames += record.frames;
        m_totals.duration += record.duration;
        if (record.isCreated()) {
            ++m_totals.created;
            m_totals.objects += record.objects.size();
            m_totals.files.insert(closure.files.begin(), closure.files.end());
        }
    }

    const SpawnOptions& m_options;
    Terminal& m_terminal;
    LogCollector m_log;
    InstanceDiagnostics m_diagnostics;
    ProgressOutput m_progress;
    TraceFile m_trace;
    Totals m_totals;
    bool m_isStuck = false;
};

} // namespace

SpawnResult spawn(const SpawnOptions& options, Terminal& terminal) {
    return Spawner(options, terminal).run();
}

} // namespace Kiln::PrefabTool
