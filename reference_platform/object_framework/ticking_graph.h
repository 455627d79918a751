#pragma once

#include <core/non_copyable.h>
#include <object_framework/export.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Kiln::Tessel {

/// The kind of a reaction is stored in the top two bits of its id.
enum class ReactionKind { TICK = 0, TRIGGER = 1 };

/// The parts of the id of a reaction.
namespace ReactionId {
inline constexpr int KIND_SHIFT = 30; ///< Position of the kind in the id, in bits.
/// The kind that an id contains.
[[nodiscard]] constexpr ReactionKind kind(int id) {
    return static_cast<ReactionKind>(static_cast<unsigned>(id) >> KIND_SHIFT);
}
} // namespace ReactionId

/// Names of the groups that reactions run in.
namespace ReactionGroup {
/// Initialisation of new objects; runs before all other groups.
inline constexpr const char* SYNC_INIT = "SyncInit";
} // namespace ReactionGroup

/// Order in which the reactions of a world run in a frame.
class KILN_OBJECT_FRAMEWORK_EXPORT TickingGraphBase : NonCopyable {
public:
    virtual ~TickingGraphBase();

    /// Replaces the contents of `order` with the ids of all reactions, in the order in which they run.
    virtual void fillTickingOrder(std::vector<int>& order) const = 0;
};

/// Runs the initialisation group first, then the others in the order in which their first reaction was added; within a
/// group, reactions run in the order in which they were added.
class KILN_OBJECT_FRAMEWORK_EXPORT TickingGraph final : public TickingGraphBase {
public:
    /// A registered reaction.
    struct Reaction {
        int id;                                           ///< Contains the kind, see ReactionId.
        std::string group;                                ///< Group in which it runs.
        std::string name;                                 ///< Name for diagnostics.
        std::shared_ptr<const std::function<void()>> run; ///< Shared: a reaction may remove itself.
    };

    /// Returns the new reaction's id; `run` is called once per frame.
    int add(ReactionKind kind, std::string group, std::string name, std::function<void()> run);

    /// Returns false when no reaction has that id.
    bool remove(int id);

    /// Null when no reaction has that id.
    [[nodiscard]] const Reaction* find(int id) const;

    void fillTickingOrder(std::vector<int>& order) const override;

    /// Runs every reaction once. Reactions may add and remove reactions: a new one first runs in the next frame.
    void run() const;

private:
    std::vector<Reaction> m_reactions;
    int m_lastNumber = 0;
};

} // namespace Kiln::Tessel
