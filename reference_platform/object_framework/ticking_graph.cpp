#include <object_framework/ticking_graph.h>

#include <algorithm>
#include <utility>

namespace Kiln::Tessel {

TickingGraphBase::~TickingGraphBase() = default;

int TickingGraph::add(ReactionKind kind, std::string group, std::string name, std::function<void()> run) {
    const int id = ++m_lastNumber | static_cast<int>(kind) << ReactionId::KIND_SHIFT;
    m_reactions.push_back(
        {id, std::move(group), std::move(name), std::make_shared<const std::function<void()>>(std::move(run))});
    return id;
}

bool TickingGraph::remove(int id) {
    return std::erase_if(m_reactions, [id](const Reaction& reaction) { return reaction.id == id; }) != 0;
}

const TickingGraph::Reaction* TickingGraph::find(int id) const {
    const auto found = std::find_if(m_reactions.begin(), m_reactions.end(),
                                    [id](const Reaction& reaction) { return reaction.id == id; });
    return found == m_reactions.end() ? nullptr : &*found;
}

void TickingGraph::fillTickingOrder(std::vector<int>& order) const {
    std::vector<std::string> groups{ReactionGroup::SYNC_INIT};
    for (const Reaction& reaction : m_reactions) {
        if (std::find(groups.begin(), groups.end(), reaction.group) == groups.end()) {
            groups.push_back(reaction.group);
        }
    }
    order.clear();
    for (const std::string& group : groups) {
        for (const Reaction& reaction : m_reactions) {
            if (reaction.group == group) {
                order.push_back(reaction.id);
            }
        }
    }
}

void TickingGraph::run() const {
    std::vector<int> order;
    fillTickingOrder(order);
    for (const int id : order) {
        if (const Reaction* const reaction = find(id)) {
            const std::shared_ptr<const std::function<void()>> run = reaction->run;
            (*run)();
        }
    }
}

} // namespace Kiln::Tessel
