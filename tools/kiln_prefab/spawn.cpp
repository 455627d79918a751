#include "spawn.h"

#include "component_libraries.h"
#include "diagnostics.h"
#include "json_output.h"
#include "log_collector.h"
#include "session.h"
#include "text_output.h"

#include <prefab_inspection/prefab_closure.h>
#include <resource/file_system_utils.h>

#include <ostream>

namespace Kiln::PrefabTool {

namespace {

using PrefabInspection::PrefabClosure;

/// One run of the command.
class Spawner {
public:
    Spawner(const SpawnOptions& options, std::ostream& output, std::ostream& errors)
        : m_options(options), m_output(output), m_errors(errors), m_diagnostics(errors, options.isVerbose) {}

    [[nodiscard]] SpawnResult run() {
        if (!loadLibraries()) {
            return {ExitStatus::USAGE};
        }
        for (const std::string& root : m_options.roots) {
            FS::Utils::addResourceRoot(root);
        }
        for (const std::string& prefab : m_options.prefabs) {
            m_isStuck ? skip(prefab, m_options.instances) : spawnPrefab(prefab);
        }
        if (!m_options.isJson && m_totals.instances > 1) {
            writeTotals(m_output, m_totals);
        }
        return {m_diagnostics.hasFailures() ? ExitStatus::FINDINGS : ExitStatus::SUCCESS, m_isStuck};
    }

private:
    [[nodiscard]] bool loadLibraries() {
        for (const std::string& library : m_options.libraries) {
            const std::string problem = loadComponentLibrary(library);
            m_diagnostics.reportLog("--load " + library, m_log.take());
            if (!problem.empty()) {
                m_diagnostics.reportFailure("--load " + library, problem);
                return false;
            }
        }
        return true;
    }

    void spawnPrefab(const std::string& prefab) {
        {
            Session session({prefab, m_options.timeout, m_options.isUnderInactiveParent}, m_log);
            PrefabClosure closure;
            std::size_t tried = 0;
            while (tried < m_options.instances && !session.isStuck()) {
                const InstanceRecord record = session.load(nextInstanceUuid());
                if (tried++ == 0 && !session.isStuck()) {
                    closure = inspect(prefab);
                }
                write(record, closure);
            }
            skip(prefab, m_options.instances - tried);
            m_diagnostics.reportSkippedComponents(closure.unknownComponents);
            if (m_options.dumpsPools) {
                session.dumpPools(m_options.isJson ? m_errors : m_output);
            }
            m_isStuck = session.isStuck();
        }
        m_diagnostics.reportLog(prefab + ": errors while its world was destroyed", m_log.take());
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
            writeJson(m_output, record);
        } else if (record.isCreated()) {
            writeText(m_output, record, closure.files.size());
        }
        // Both streams may go to one terminal; flushing keeps messages below the instance that they are about.
        m_output.flush();
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
    std::ostream& m_output;
    std::ostream& m_errors;
    LogCollector m_log;
    Diagnostics m_diagnostics;
    Totals m_totals;
    bool m_isStuck = false;
};

} // namespace

SpawnResult spawn(const SpawnOptions& options, std::ostream& output, std::ostream& errors) {
    return Spawner(options, output, errors).run();
}

} // namespace Kiln::PrefabTool
