#include <prefab_comparison/override_comparison.h>

#include <object_serialization/component_library.h>
#include <prefab_comparison/override_records.h>
#include <prefab_comparison/value_text.h>
#include <prefab_inspection/composition/prefab_file.h>
#include <tessel_asset_loading/prefab_component.h>

#include <map>
#include <tuple>
#include <utility>

namespace Kiln::PrefabComparison {

namespace {

/// Texts inside of texts are escaped once more at each level, so that deep ones are long.
constexpr std::size_t MAX_DEPTH = 32;

using Record = OverrideText::Record;

class OverrideComparison {
public:
    OverrideComparison(ValueComparison& values, std::vector<Change>& changes) : m_values(values), m_changes(changes) {}

    void compare(const std::string& a, const std::string& b, const Change& base) {
        if (a == b) {
            return;
        }
        const OverrideText textA(a);
        const OverrideText textB(b);
        if (!textA.isReadable() || !textB.isReadable() || base.overrides.size() >= MAX_DEPTH) {
            add(base, base.overrides.empty() ? ChangeKind::VALUE_CHANGED : ChangeKind::OVERRIDE_CHANGED, a, b);
            return;
        }
        for (const Record& record : textA.records()) {
            compareRecords(&record, textB.find(record.key), base);
        }
        for (const Record& record : textB.records()) {
            if (!textA.find(record.key)) {
                compareRecords(nullptr, &record, base);
            }
        }
        compareOthers(textA, textB, base);
    }

private:
    using OtherKey = std::tuple<std::string, std::string, std::size_t>;

    void compareRecords(const Record* a, const Record* b, const Change& base) {
        const Record& present = a ? *a : *b;
        Change change = base;
        change.overrides.push_back(present.key);
        change.property = present.key.property;
        if (!a || !b) {
            add(change, b ? ChangeKind::OVERRIDE_ADDED : ChangeKind::OVERRIDE_REMOVED,
                a ? std::optional(valueText(a->element)) : std::nullopt,
                b ? std::optional(valueText(b->element)) : std::nullopt);
            return;
        }
        const std::size_t typeId = ComponentLibrary::instance().findComponent(present.key.component);
        if (typeId == PrefabInspection::NestingTypes::get().prefab &&
            present.key.property == Tessel::PrefabComponent::OVERRIDES_DATA_PROPERTY) {
            compare(a->element.text(), b->element.text(), change);
            return;
        }
        for (const ValueComparison::Difference& difference :
             m_values.differences(typeId, present.key.property, a->element, b->element)) {
            change.property = difference.path;
            add(change, ChangeKind::OVERRIDE_CHANGED,
                difference.a ? std::optional(valueText(difference.a)) : std::nullopt,
                difference.b ? std::optional(valueText(difference.b)) : std::nullopt);
        }
    }

    void compareOthers(const OverrideText& textA, const OverrideText& textB, const Change& base) {
        std::map<OtherKey, std::pair<DataNode, DataNode>> others;
        for (const OverrideText::OtherElement& other : textA.otherElements()) {
            others[{other.owner, std::string(other.element.name()), other.occurrence}].first = other.element;
        }
        for (const OverrideText::OtherElement& other : textB.otherElements()) {
            others[{other.owner, std::string(other.element.name()), other.occurrence}].second = other.element;
        }
        for (const auto& [key, elements] : others) {
            if (!ValueComparison::isSameContent(elements.first, elements.second)) {
                Change change = base;
                change.property = std::get<1>(key);
                add(change, ChangeKind::UNUSED_CONTENT_CHANGED,
                    elements.first ? std::optional(valueText(elements.first)) : std::nullopt,
                    elements.second ? std::optional(valueText(elements.second)) : std::nullopt);
            }
        }
    }

    void add(Change change, ChangeKind kind, std::optional<std::string> before, std::optional<std::string> after) {
        change.kind = kind;
        change.before = std::move(before);
        change.after = std::move(after);
        m_changes.push_back(std::move(change));
    }

    ValueComparison& m_values;
    std::vector<Change>& m_changes;
};

} // namespace

void compareOverrideTexts(ValueComparison& values, const std::string& a, const std::string& b, const Change& base,
                          std::vector<Change>& changes) {
    OverrideComparison(values, changes).compare(a, b, base);
}

} // namespace Kiln::PrefabComparison
