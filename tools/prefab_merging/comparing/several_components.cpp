#include "several_components.h"

#include "../markup.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>

namespace Kiln::PrefabMerging {

namespace {

constexpr std::size_t NONE = static_cast<std::size_t>(-1);

[[nodiscard]] std::vector<std::string> formsOf(const std::vector<std::string>& fragments) {
    std::vector<std::string> forms;
    forms.reserve(fragments.size());
    for (const std::string& fragment : fragments) {
        forms.push_back(formInAnyOrder(fragment));
    }
    return forms;
}

} // namespace

ContentMatch::ContentMatch(const SeveralComponents& components) : m_components(components) {
    const std::vector<std::string> base = formsOf(components.base);
    const std::vector<std::string> ours = formsOf(components.ours);
    const std::vector<std::string> theirs = formsOf(components.theirs);
    m_ours = match(base, ours);
    m_theirs = match(base, theirs);
    m_areSidesEqual = ours == theirs;
}

bool ContentMatch::Side::hasRemoved() const {
    return std::find(numbers.begin(), numbers.end(), NONE) != numbers.end();
}

ContentMatch::Side ContentMatch::match(const std::vector<std::string>& base, const std::vector<std::string>& side) {
    std::map<std::string_view, std::deque<std::size_t>> available;
    for (std::size_t number = 0; number < side.size(); ++number) {
        available[side[number]].push_back(number);
    }
    Side result;
    result.isUnchanged = base == side;
    result.numbers.reserve(base.size());
    for (const std::string& form : base) {
        const auto found = available.find(form);
        const bool isThere = found != available.end() && !found->second.empty();
        result.numbers.push_back(isThere ? found->second.front() : NONE);
        if (isThere) {
            found->second.pop_front();
        }
    }
    for (const auto& [form, numbers] : available) {
        result.added.insert(result.added.end(), numbers.begin(), numbers.end());
    }
    std::sort(result.added.begin(), result.added.end());
    return result;
}

bool ContentMatch::isOneSided() const {
    return m_ours.isUnchanged || m_theirs.isUnchanged || m_areSidesEqual;
}

bool ContentMatch::isUnique() const {
    return m_ours.isClean() && m_theirs.isClean() && (m_ours.added.empty() || m_theirs.added.empty());
}

std::vector<Difference> ContentMatch::differences(const Place& component) const {
    std::vector<Difference> result;
    const auto add = [&result, &component](Difference::Kind kind, std::size_t number) -> Difference& {
        Difference& difference = result.emplace_back();
        difference.kind = kind;
        difference.place = component;
        difference.place.kind = Place::Kind::COMPONENT;
        difference.place.componentNumber = static_cast<std::uint32_t>(number);
        return difference;
    };
    for (std::size_t number = 0; number < m_components.base.size(); ++number) {
        const std::size_t ours = m_ours.numbers[number];
        const std::size_t theirs = m_theirs.numbers[number];
        if ((ours == NONE) == (theirs == NONE)) {
            continue;
        }
        const bool isGoneFromOurs = ours == NONE;
        Difference& difference =
            add(isGoneFromOurs ? Difference::Kind::OURS : Difference::Kind::THEIRS, isGoneFromOurs ? number : ours);
        difference.base = m_components.base[number];
        (isGoneFromOurs ? difference.theirs : difference.ours) =
            isGoneFromOurs ? m_components.theirs[theirs] : m_components.ours[ours];
    }
    for (const std::size_t number : m_ours.added) {
        add(Difference::Kind::OURS, number).ours = m_components.ours[number];
    }
    for (std::size_t index = 0; index < m_theirs.added.size(); ++index) {
        add(Difference::Kind::THEIRS, m_components.ours.size() + index).theirs =
            m_components.theirs[m_theirs.added[index]];
    }
    return result;
}

} // namespace Kiln::PrefabMerging
