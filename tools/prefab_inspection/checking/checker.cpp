#include <prefab_inspection/checking/checker.h>

#include <core/formatter.h>
#include <prefab_inspection/checking/file_reading.h>
#include <prefab_inspection/checking/finding_writer.h>
#include <prefab_inspection/checking/nesting_check.h>
#include <prefab_inspection/checking/override_check.h>
#include <prefab_inspection/checking/path_case.h>
#include <prefab_inspection/checking/quoted_text.h>
#include <tessel_asset_loading/game_object_prefab.h>
#include <tessel_asset_loading/prefab_limits.h>

#include <algorithm>
#include <deque>
#include <set>
#include <tuple>
#include <utility>

namespace Kiln::PrefabInspection {

namespace {

using Tessel::GameObjectPrefab;

/// Whether a finding with this code says that nothing, or not all, is made of a file.
[[nodiscard]] bool isAboutWholeFile(FindingCode code) {
    switch (code) {
    case FindingCode::NOT_WELL_FORMED:
    case FindingCode::EMPTY_FILE:
    case FindingCode::FILE_MISSING:
    case FindingCode::PATH_OUTSIDE_ROOTS:
    case FindingCode::PATH_LETTER_CASE:
    case FindingCode::FILE_UNREADABLE:
    case FindingCode::FORMAT_VERSION:
    case FindingCode::GAME_OBJECTS_MISSING:
    case FindingCode::LIMIT_EXCEEDED:
    case FindingCode::NO_ROOT:
        return true;
    default:
        return false;
    }
}

class Checker {
public:
    Checker(const std::vector<std::string>& targets, const CheckOptions& options)
        : m_options(options), m_targets(targets.begin(), targets.end()) {}

    [[nodiscard]] CheckResult run() {
        ReadFiles read = readFiles({m_targets.begin(), m_targets.end()}, m_options);
        m_files = std::move(read.table);
        m_findings = std::move(read.findings);
        PrefabInstances instances(m_files);
        checkCompositions(instances);
        adjustRoles(instances);
        collectEdges(instances);
        removeUnreachable();
        checkReferences();
        checkCopies();
        checkUse();
        return write();
    }

private:
    PendingFinding& add(FindingCode code, Severity severity, std::string file, Anchor anchor, std::string message,
                        std::string cure) {
        PendingFinding& finding = m_findings.emplace_back();
        finding.code = code;
        finding.severity = severity;
        finding.file = std::move(file);
        finding.anchor = std::move(anchor);
        finding.message = std::move(message);
        finding.cure = std::move(cure);
        return finding;
    }

    /// Some problems make only a prefab fail that is created, and some of roots only one that is loaded by itself.
    void adjustRoles(const PrefabInstances& instances) {
        std::set<std::string> created = m_targets;
        for (const std::unique_ptr<PrefabInstance>& instance : instances.all()) {
            for (const PrefabInstance::Point& point : instance->points) {
                created.insert(point.edge.to);
            }
        }
        for (PendingFinding& finding : m_findings) {
            const bool isOfCreation = finding.code == FindingCode::NO_ROOT ||
                                      finding.code == FindingCode::SEVERAL_ROOTS ||
                                      finding.code == FindingCode::REPEATED_COMPONENT;
            const bool isOfRoot = finding.code == FindingCode::SEVERAL_ROOTS ||
                                  (finding.code == FindingCode::REPEATED_COMPONENT &&
                                   m_files.at(finding.file).objects[finding.object].isRoot());
            if ((isOfCreation && !created.contains(finding.file)) || (isOfRoot && !m_targets.contains(finding.file))) {
                finding.severity = Severity::WARNING;
            }
        }
    }

    // Composition.

    void checkCompositions(PrefabInstances& instances) {
        for (const std::string& target : m_targets) {
            const FileFacts& facts = m_files.at(target);
            if (facts.state != FileFacts::State::LOADED || facts.root == FileFacts::NONE) {
                continue;
            }
            const PrefabInstance& instance = instances.add(target);
            if (!instance.isEndless && instance.height > GameObjectPrefab::MAX_NESTING_DEPTH) {
                addTooDeep(instance);
            }
            checkInstanceLimits(instance);
        }
        addCycles(instances);
        ScratchDescriptors scratch;
        checkOverrides(instances, scratch, m_findings);
        checkNesting(instances, m_findings);
    }

    void addTooDeep(const PrefabInstance& top) {
        PendingFinding finding;
        finding.code = FindingCode::NESTING_TOO_DEEP;
        finding.severity = Severity::ERROR;
        const PrefabInstance* instance = &top;
        while (instance->height > 0) {
            const auto deepest = std::find_if(instance->points.begin(), instance->points.end(), [&](const auto& point) {
                return point.nested && point.nested->height + 1 == instance->height;
            });
            if (instance == &top) {
                finding.file = deepest->edge.from;
                finding.anchor = deepest->edge.anchor;
                finding.object = deepest->edge.from == top.path ? deepest->object : PendingFinding::NO_OBJECT;
            }
            if (finding.related.size() <= static_cast<std::size_t>(GameObjectPrefab::MAX_NESTING_DEPTH)) {
                finding.related.push_back(
                    {deepest->edge.from, deepest->edge.anchor, quoted(deepest->edge.to) + " is nested here"});
            }
            instance = deepest->nested;
        }
        finding.message =
            formatText("Prefabs are nested %d levels deep below %s, but the limit is %d, so nothing of it "
                       "is created.",
                       top.height, quoted(top.path).c_str(), GameObjectPrefab::MAX_NESTING_DEPTH);
        finding.cure = "Remove a level of nesting.";
        m_findings.push_back(std::move(finding));
    }

    void checkInstanceLimits(const PrefabInstance& instance) {
        if (instance.isEndless) {
            return;
        }
        const Tessel::PrefabLimits limits = Tessel::prefabLimits();
        std::uint64_t bytes = instance.overrideBytes;
        for (const NestingFacts& nesting : instance.facts->nestings) {
            bytes += instance.facts->objects[nesting.object].isRoot() ? nesting.overrides.size() : 0;
        }
        if (instance.objectsCount >= limits.instanceObjects) { // The root is not counted.
            add(FindingCode::LIMIT_EXCEEDED, Severity::ERROR, instance.path, {},
                formatText("Below its root, an instance has %s game objects; with the root the limit is %zu.",
                           std::to_string(instance.objectsCount).c_str(), limits.instanceObjects),
                "Nest fewer prefabs.");
        } else if (bytes > limits.instanceOverrideBytes) {
            add(FindingCode::LIMIT_EXCEEDED, Severity::ERROR, instance.path, {},
                formatText("An instance has %s bytes of override data, but the limit is %zu.",
                           std::to_string(bytes).c_str(), limits.instanceOverrideBytes),
                "Nest fewer prefabs with override data.");
        }
    }

    /// One finding for each cycle, which begins at its first file in alphabetical order.
    void addCycles(const PrefabInstances& instances) {
        std::set<std::vector<std::string>> known;
        for (std::vector<CycleStep> cycle : instances.cycles()) {
            const auto first = std::min_element(cycle.begin(), cycle.end(), [](const auto& a, const auto& b) {
                return std::tie(a.prefab, a.edge.anchor.offset) < std::tie(b.prefab, b.edge.anchor.offset);
            });
            std::rotate(cycle.begin(), first, cycle.end());
            std::vector<std::string> files;
            files.reserve(cycle.size());
            for (const CycleStep& step : cycle) {
                files.push_back(step.prefab);
            }
            if (known.insert(files).second) {
                addCycle(cycle);
            }
        }
    }

    void addCycle(const std::vector<CycleStep>& cycle) {
        const NestingEdge& first = cycle.front().edge;
        std::string chain = quoted(cycle.front().prefab);
        for (std::size_t i = 0; i < cycle.size(); ++i) {
            chain += (i == 0 ? " nests " : ", which nests ") + quoted(cycle[i].edge.to);
        }
        PendingFinding& finding = add(FindingCode::NESTING_CYCLE, Severity::ERROR, first.from, first.anchor,
                                      chain + ", so it would never end.", "Remove one of these nested prefabs.");
        finding.subject = first.to;
        finding.object = first.object;
        for (std::size_t i = 1; i < cycle.size(); ++i) {
            const NestingEdge& edge = cycle[i].edge;
            finding.related.push_back({edge.from, edge.anchor, quoted(edge.to) + " is nested here"});
        }
    }

    // References between files.

    /// Background loading follows every component that names a prefab, also those of second roots and those that
    /// overrides replace; the creation of an instance follows what remains.
    void collectEdges(const PrefabInstances& instances) {
        std::deque<std::string> queue(m_targets.begin(), m_targets.end());
        m_reachable = m_targets;
        while (!queue.empty()) {
            const std::string path = std::move(queue.front());
            queue.pop_front();
            const FileFacts& facts = m_files.at(path);
            for (const NestingFacts& nesting : facts.nestings) {
                if (nesting.object == facts.root) {
                    continue;
                }
                m_edges.push_back({path, Anchor::valueAt(nesting.resourceOffset), nesting.resource, nesting.object});
                if (m_reachable.insert(nesting.resource).second) {
                    queue.push_back(nesting.resource);
                }
            }
        }
        for (const std::unique_ptr<PrefabInstance>& instance : instances.all()) {
            for (const PrefabInstance::Point& point : instance->points) {
                m_edges.push_back(point.edge);
                m_reachable.insert(point.edge.to);
            }
        }
        const auto key = [](const NestingEdge& edge) {
            return std::tie(edge.to, edge.from, edge.anchor.embedding, edge.anchor.offset);
        };
        std::sort(m_edges.begin(), m_edges.end(),
                  [&key](const NestingEdge& a, const NestingEdge& b) { return key(a) < key(b); });
        m_edges.erase(std::unique(m_edges.begin(), m_edges.end(),
                                  [&key](const NestingEdge& a, const NestingEdge& b) { return key(a) == key(b); }),
                      m_edges.end());
    }

    /// Files that overrides name without effect are not loaded, so that their problems do not matter.
    void removeUnreachable() {
        m_findings.erase(
            std::remove_if(m_findings.begin(), m_findings.end(),
                           [this](const PendingFinding& finding) { return !m_reachable.contains(finding.file); }),
            m_findings.end());
    }

    /// The edges to a file, as a range of m_edges.
    [[nodiscard]] auto edgesTo(const std::string& path) const {
        struct ByTarget {
            bool operator()(const NestingEdge& edge, const std::string& to) const { return edge.to < to; }
            bool operator()(const std::string& to, const NestingEdge& edge) const { return to < edge.to; }
        };
        return std::equal_range(m_edges.begin(), m_edges.end(), path, ByTarget());
    }

    void checkReferences() {
        for (const auto& [path, facts] : m_files) {
            if (m_reachable.contains(path) && facts.state != FileFacts::State::LOADED &&
                facts.state != FileFacts::State::BROKEN) {
                addUnopened(path, facts);
            }
        }
    }

    /// One finding for a file that can't be opened, at the first place that names it.
    void addUnopened(const std::string& path, const FileFacts& facts) {
        const auto [first, last] = edgesTo(path);
        const bool isAsked = first != last;
        PendingFinding& finding = add(FindingCode::FILE_MISSING, Severity::ERROR, isAsked ? first->from : path,
                                      isAsked ? first->anchor : Anchor(), "", "");
        finding.subject = path;
        finding.object = isAsked ? first->object : PendingFinding::NO_OBJECT;
        describeUnopened(path, facts, finding);
        for (auto edge = first; edge != last; ++edge) {
            if (edge != first) {
                finding.related.push_back({edge->from, edge->anchor, "also named here"});
            }
        }
    }

    static void describeUnopened(const std::string& path, const FileFacts& facts, PendingFinding& finding) {
        if (facts.state == FileFacts::State::OUTSIDE) {
            finding.code = FindingCode::PATH_OUTSIDE_ROOTS;
            finding.message = "The path " + quoted(path) + " is refused: " + facts.problem + ".";
            finding.cure = "Write a path beneath a resource root, or add the folder with --root.";
        } else if (facts.state == FileFacts::State::UNREADABLE) {
            finding.code = FindingCode::FILE_UNREADABLE;
            finding.message = "The prefab " + quoted(path) + " can't be read: " + facts.problem + ".";
            finding.cure = "Make the file readable, or name another one.";
        } else if (path.empty()) {
            finding.message = "The component names no prefab.";
            finding.cure = "Write the path of a prefab, or remove the component.";
        } else if (const std::optional<std::string> actual = findPathWithOtherCase(path)) {
            finding.code = FindingCode::PATH_LETTER_CASE;
            finding.message = "There is no prefab " + quoted(path) + ", but " + quoted(*actual) + ".";
            finding.cure = "Write the path with the letter case of the file.";
            finding.replacement = *actual;
            finding.fixTitle = "Replace the path by '" + *actual + "'";
        } else {
            finding.message = "There is no prefab " + quoted(path) + ".";
            finding.cure =
                "Correct the path, add the file, or name the folder in which the path is looked up with --root.";
        }
    }

    void checkCopies() {
        std::map<Uuid, const std::string*> roots;
        for (const std::string& target : m_targets) {
            const FileFacts& facts = m_files.at(target);
            if (facts.state != FileFacts::State::LOADED || facts.root == FileFacts::NONE ||
                facts.objects[facts.root].uuid == Uuid::ZERO) {
                continue;
            }
            const ObjectFacts& root = facts.objects[facts.root];
            const auto [known, isNew] = roots.try_emplace(root.uuid, &target);
            if (isNew) {
                continue;
            }
            const FileFacts& first = m_files.at(*known->second);
            PendingFinding& finding = add(FindingCode::COPIED_FILE, Severity::WARNING, target,
                                          {Anchor::Part::NAME, root.elementOffset, 0, {}},
                                          "The root has the same UUID as that of " + quoted(*known->second) +
                                              ", as if the prefab were copied from it.",
                                          "Give the game objects of one of them new UUIDs.");
            finding.object = facts.root;
            finding.subject = *known->second;
            finding.related.push_back({*known->second,
                                       {Anchor::Part::NAME, first.objects[first.root].elementOffset, 0, {}},
                                       "the same root"});
        }
    }

    void checkUse() {
        for (const std::string& target : m_targets) {
            const auto [first, last] = edgesTo(target);
            const bool isUsed =
                std::any_of(first, last, [&target](const NestingEdge& edge) { return edge.from != target; });
            if (m_options.reportsUnused && !isUsed) {
                add(FindingCode::UNUSED_PREFAB, Severity::NOTE, target, {}, "No checked prefab nests this one.",
                    "Delete the file if no program loads it by itself.");
            }
        }
    }

    // Results.

    [[nodiscard]] CheckResult write() {
        findChains();
        FindingWriter writer(m_options.buffers);
        CheckResult result;
        std::stable_sort(m_findings.begin(), m_findings.end(),
                         [](const PendingFinding& a, const PendingFinding& b) { return a.file < b.file; });
        for (PendingFinding& pending : m_findings) {
            const std::string subjectOfMissing = pending.subject;
            Finding finding = writer.write(std::move(pending));
            finding.chain = chainTo(finding.file, writer);
            if (isAboutWholeFile(finding.code)) {
                const bool isAboutOther =
                    finding.code == FindingCode::FILE_MISSING || finding.code == FindingCode::PATH_OUTSIDE_ROOTS ||
                    finding.code == FindingCode::PATH_LETTER_CASE || finding.code == FindingCode::FILE_UNREADABLE;
                finding.dependents = dependentsOf(isAboutOther ? subjectOfMissing : finding.file);
            }
            result.findings.push_back(std::move(finding));
        }
        sortFindings(result.findings);
        addFiles(result);
        return result;
    }

    static void sortFindings(std::vector<Finding>& findings) {
        const auto key = [](const Finding& finding) {
            return std::tie(finding.file, finding.range, finding.code, finding.message, finding.subject);
        };
        std::stable_sort(findings.begin(), findings.end(),
                         [&key](const Finding& a, const Finding& b) { return key(a) < key(b); });
        findings.erase(std::unique(findings.begin(), findings.end(),
                                   [&key](const Finding& a, const Finding& b) { return key(a) == key(b); }),
                       findings.end());
    }

    /// Finds for each nested file a shortest way from a target.
    void findChains() {
        std::map<std::string, std::vector<const NestingEdge*>> edgesFrom;
        for (const NestingEdge& edge : m_edges) {
            edgesFrom[edge.from].push_back(&edge);
        }
        std::deque<std::string> queue(m_targets.begin(), m_targets.end());
        while (!queue.empty()) {
            const std::string path = std::move(queue.front());
            queue.pop_front();
            for (const NestingEdge* const edge : edgesFrom[path]) {
                if (!m_targets.contains(edge->to) && m_cameFrom.try_emplace(edge->to, edge).second) {
                    queue.push_back(edge->to);
                }
            }
        }
    }

    [[nodiscard]] std::vector<Place> chainTo(const std::string& path, FindingWriter& writer) const {
        std::vector<Place> chain;
        for (auto edge = m_cameFrom.find(path); edge != m_cameFrom.end(); edge = m_cameFrom.find(edge->second->from)) {
            chain.push_back(writer.write(
                PendingPlace{edge->second->from, edge->second->anchor, quoted(edge->second->to) + " is nested here"}));
        }
        std::reverse(chain.begin(), chain.end());
        return chain;
    }

    /// All files that nest a file, directly or through others.
    [[nodiscard]] std::vector<std::string> dependentsOf(const std::string& path) const {
        std::set<std::string> found;
        std::deque<std::string> queue{path};
        while (!queue.empty()) {
            const std::string current = std::move(queue.front());
            queue.pop_front();
            const auto [first, last] = edgesTo(current);
            for (auto edge = first; edge != last; ++edge) {
                if (edge->from != path && found.insert(edge->from).second) {
                    queue.push_back(edge->from);
                }
            }
        }
        return {found.begin(), found.end()};
    }

    void addFiles(CheckResult& result) const {
        for (const auto& [path, facts] : m_files) {
            if (!m_reachable.contains(path)) {
                continue;
            }
            CheckedFile& file = result.files.emplace_back();
            file.path = path;
            file.isTarget = m_targets.contains(path);
            file.bytes = facts.bytes;
            file.contentHash = facts.contentHash;
            std::set<std::string> nested(facts.candidates.begin(), facts.candidates.end());
            for (const NestingFacts& nesting : facts.nestings) {
                if (nesting.object != facts.root) {
                    nested.insert(nesting.resource);
                }
            }
            file.nested.assign(nested.begin(), nested.end());
        }
    }

    const CheckOptions& m_options;
    const std::set<std::string> m_targets;
    FileTable m_files;
    std::vector<PendingFinding> m_findings;
    std::set<std::string> m_reachable;                    ///< The files that the targets load.
    std::vector<NestingEdge> m_edges;                     ///< By the nested file.
    std::map<std::string, const NestingEdge*> m_cameFrom; ///< How each nested file is reached.
};

} // namespace

CheckResult checkPrefabs(const std::vector<std::string>& targets, const CheckOptions& options) {
    return Checker(targets, options).run();
}

} // namespace Kiln::PrefabInspection
