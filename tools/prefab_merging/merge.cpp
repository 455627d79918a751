#include "merge.h"

#include "applying/application.h"
#include "comparing/difference.h"
#include "keyed_document.h"
#include "rules.h"

#include <common/white_space.h>
#include <prefab_inspection/checking/conflict_comment.h>

#include <algorithm>
#include <cstddef>
#include <future>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

namespace Kiln::PrefabMerging {

namespace {

using Kind = Difference::Kind;

constexpr std::size_t MIN_SIZE_FOR_THREADS = 256UL * 1024;

/// A document, or why it has no keys.
struct ReadDocument {
    std::optional<KeyedDocument> document;
    std::string problem;
};

[[nodiscard]] ReadDocument readDocument(std::string_view text, bool mayBeBlank) {
    ReadDocument result;
    if (!mayBeBlank && trimWhiteSpace(text).empty()) {
        result.problem = "is empty";
        return result;
    }
    try {
        result.document.emplace(text);
    } catch (const IrregularText& irregular) {
        result.problem = irregular.what();
    }
    return result;
}

[[nodiscard]] Conflict conflictOf(const Difference& difference) {
    return {difference.place, difference.reason, difference.base, difference.ours, difference.theirs};
}

/// A conflict of the whole texts.
[[nodiscard]] MergeResult wholeConflict(std::string_view base, std::string_view ours, std::string_view theirs,
                                        const std::string& reason, Preference preference) {
    MergeResult result;
    result.text = preference == Preference::THEIRS ? theirs : ours;
    if (preference != Preference::NONE) {
        result.decidedCount = 1;
        return result;
    }
    Conflict conflict;
    conflict.reason = reason;
    conflict.base = std::string(base);
    conflict.ours = std::string(ours);
    conflict.theirs = std::string(theirs);
    Conflict marked = conflict;
    marked.ours.reset(); // It is the file itself.
    result.text.append("\n").append(markerText(marked)).append("\n");
    result.conflicts.push_back(std::move(conflict));
    return result;
}

class Merge {
public:
    Merge(const KeyedDocument& base, const KeyedDocument& ours, const KeyedDocument& theirs,
          const MergeOptions& options)
        : m_base(base), m_ours(ours), m_theirs(theirs), m_options(options) {}

    [[nodiscard]] MergeResult run() {
        m_differences = compare(m_base, m_ours, m_theirs);
        makeConflictsOfBase();
        findJointConflicts(m_base, m_ours, m_theirs, m_differences);
        std::string text = applied();
        if (m_options.findProblems) {
            avoidProblems(text);
        }
        return result(std::move(text));
    }

private:
    /// Where the base has an undecided conflict, its value is that of one side by chance, so that a side which equals
    /// it may well have decided. Comments that a side has kept are not decided there.
    void makeConflictsOfBase() {
        const std::vector<std::string> comments = conflictCommentsIn(m_base.text());
        if (comments.empty()) {
            return;
        }
        std::vector<std::string> kept = conflictCommentsIn(m_ours.text());
        for (std::string& comment : conflictCommentsIn(m_theirs.text())) {
            kept.push_back(std::move(comment));
        }
        std::vector<Place> places;
        for (const std::string& comment : comments) {
            if (std::find(kept.begin(), kept.end(), comment) == kept.end()) {
                const std::vector<ConflictMarker> read = findMarkers(comment);
                places.push_back(read.empty() ? Place() : read.front().conflict.place);
            }
        }
        forceConflicts("the common ancestor holds a conflict about it", [&places](const Difference& difference) {
            return std::any_of(places.begin(), places.end(),
                               [&difference](const Place& place) { return isRelated(place, difference.place); });
        });
    }

    [[nodiscard]] static std::vector<std::string> conflictCommentsIn(std::string_view text) {
        std::vector<std::string> comments;
        for (const auto& [begin, end] : PrefabInspection::conflictComments(text)) {
            comments.emplace_back(text.substr(begin, end - begin));
        }
        return comments;
    }

    /// Whether the text with a decision of the conflicts has changes of both sides, and not only those of one.
    [[nodiscard]] bool hasChangesOfBoth(Preference preference) const {
        const auto hasAny = [this](Kind kind) {
            return std::any_of(m_differences.begin(), m_differences.end(),
                               [kind](const Difference& difference) { return difference.kind == kind; });
        };
        const bool hasConflict = hasAny(Kind::CONFLICT);
        return preference == Preference::THEIRS ? hasAny(Kind::OURS) && (hasConflict || hasAny(Kind::THEIRS))
                                                : hasAny(Kind::THEIRS) && (hasConflict || hasAny(Kind::OURS));
    }

    /// Ours with the changes of theirs that are no conflicts.
    [[nodiscard]] std::string applied(Preference preference = Preference::NONE) {
        for (;;) {
            std::vector<Assignment> assignments;
            for (const Difference& difference : m_differences) {
                const bool isPreferred = difference.kind == Kind::CONFLICT && preference == Preference::THEIRS;
                if (difference.kind == Kind::THEIRS || isPreferred) {
                    assignments.push_back({&difference.place, difference.theirs ? &*difference.theirs : nullptr});
                }
            }
            Application application = apply(m_ours, assignments, comments(preference));
            if (!makeConflicts(application.failed) || preference == Preference::THEIRS) {
                return std::move(application.text);
            }
        }
    }

    [[nodiscard]] std::vector<PlacedComment> comments(Preference preference) const {
        std::vector<PlacedComment> comments;
        for (const Difference& difference : m_differences) {
            if (difference.kind == Kind::CONFLICT && preference == Preference::NONE) {
                comments.push_back({&difference.place, markerText(conflictOf(difference))});
            }
        }
        return comments;
    }

    /// Makes conflicts of changes that ours has no place for. Returns whether there are any.
    bool makeConflicts(const std::vector<const Place*>& places) {
        bool isAny = false;
        for (Difference& difference : m_differences) {
            const bool isFailed = std::find(places.begin(), places.end(), &difference.place) != places.end();
            if (isFailed && difference.kind == Kind::THEIRS) {
                difference.kind = Kind::CONFLICT;
                difference.reason = "there is no place for it any more";
                isAny = true;
            }
        }
        return isAny;
    }

    /// Turns changes into conflicts until the text has no problem that neither side has, however the conflicts are
    /// decided together. `text` is the merged text before and after.
    void avoidProblems(std::string& text) {
        std::vector<Problem> problems = problemsOfDecisions(text);
        if (problems.empty()) {
            return;
        }
        std::set<Uuid> objects;
        for (const Problem& problem : problems) {
            if (problem.object) {
                objects.insert(*problem.object);
            }
        }
        const std::string reason = "together with a change of the other side it brings the problem " + problems[0].text;
        forceConflicts(reason, [&objects](const Difference& difference) {
            return difference.place.object && objects.contains(*difference.place.object);
        });
        findJointConflicts(m_base, m_ours, m_theirs, m_differences);
        text = applied();
        if (!problemsOfDecisions(text).empty()) {
            forceConflicts(reason, [](const Difference& /*difference*/) { return true; });
            text = applied();
        }
    }

    [[nodiscard]] bool hasConflict() const {
        return std::any_of(m_differences.begin(), m_differences.end(),
                           [](const Difference& difference) { return difference.kind == Kind::CONFLICT; });
    }

    /// The new problems of the texts in which all conflicts are decided for ours, and of those for theirs.
    [[nodiscard]] std::vector<Problem> problemsOfDecisions(const std::string& mergedText) {
        if (!hasConflict()) {
            return hasChangesOfBoth(Preference::NONE) ? newProblems(mergedText) : std::vector<Problem>();
        }
        std::vector<Problem> result;
        for (const Preference preference : {Preference::OURS, Preference::THEIRS}) {
            if (hasChangesOfBoth(preference)) {
                for (Problem& problem : newProblems(applied(preference))) {
                    result.push_back(std::move(problem));
                }
            }
        }
        return sorted(std::move(result));
    }

    template <class IsConcerned>
    void forceConflicts(const std::string& reason, const IsConcerned& isConcerned) {
        for (Difference& difference : m_differences) {
            if (difference.kind != Kind::CONFLICT && isConcerned(difference)) {
                difference.kind = Kind::CONFLICT;
                difference.reason = reason;
            }
        }
    }

    [[nodiscard]] std::vector<Problem> newProblems(const std::string& text) {
        std::vector<Problem> problems = sorted(m_options.findProblems(text));
        if (problems.empty()) {
            return problems;
        }
        if (!m_knownProblems) {
            std::vector<Problem> known = m_options.findProblems(m_ours.text());
            for (Problem& problem : m_options.findProblems(m_theirs.text())) {
                known.push_back(std::move(problem));
            }
            m_knownProblems = sorted(std::move(known));
        }
        std::vector<Problem> result;
        std::set_difference(problems.begin(), problems.end(), m_knownProblems->begin(), m_knownProblems->end(),
                            std::back_inserter(result));
        return result;
    }

    [[nodiscard]] static std::vector<Problem> sorted(std::vector<Problem> problems) {
        std::sort(problems.begin(), problems.end());
        problems.erase(std::unique(problems.begin(), problems.end()), problems.end());
        return problems;
    }

    [[nodiscard]] MergeResult result(std::string text) {
        MergeResult result;
        for (const Difference& difference : m_differences) {
            if (difference.kind == Kind::CONFLICT) {
                result.conflicts.push_back(conflictOf(difference));
            }
            result.takenCount += difference.kind == Kind::THEIRS ? 1 : 0;
        }
        std::stable_sort(result.conflicts.begin(), result.conflicts.end(),
                         [](const Conflict& first, const Conflict& second) { return first.place < second.place; });
        if (m_options.preference != Preference::NONE && !result.conflicts.empty()) {
            result.decidedCount = result.conflicts.size();
            result.conflicts.clear();
            text = applied(m_options.preference);
        }
        result.text = std::move(text);
        return result;
    }

    const KeyedDocument& m_base;
    const KeyedDocument& m_ours;
    const KeyedDocument& m_theirs;
    const MergeOptions& m_options;
    std::vector<Difference> m_differences;
    std::optional<std::vector<Problem>> m_knownProblems;
};

} // namespace

MergeResult mergePrefabs(std::string_view base, std::string_view ours, std::string_view theirs,
                         const MergeOptions& options) {
    if (ours == theirs || base == theirs || base == ours) {
        return {std::string(base == ours ? theirs : ours), {}, 0, base == ours && ours != theirs ? std::size_t(1) : 0};
    }
    // A thread costs more than reading a small text.
    const std::launch policy = ours.size() < MIN_SIZE_FOR_THREADS ? std::launch::deferred : std::launch::async;
    auto pendingBase = std::async(policy, readDocument, base, true);
    auto pendingTheirs = std::async(policy, readDocument, theirs, false);
    const ReadDocument readOurs = readDocument(ours, false);
    const ReadDocument readBase = pendingBase.get();
    const ReadDocument readTheirs = pendingTheirs.get();
    for (const auto& [name, read] :
         {std::pair("base", &readBase), std::pair("ours", &readOurs), std::pair("theirs", &readTheirs)}) {
        if (!read->document) {
            // The names of the sides would change places if the sides did.
            const std::string side = name == std::string("base") ? "the common ancestor " : "one side ";
            return wholeConflict(base, ours, theirs, side + read->problem, options.preference);
        }
    }
    try {
        return Merge(*readBase.document, *readOurs.document, *readTheirs.document, options).run();
    } catch (const IrregularText& irregular) {
        return wholeConflict(base, ours, theirs, std::string("one of the files ") + irregular.what(),
                             options.preference);
    }
}

} // namespace Kiln::PrefabMerging
