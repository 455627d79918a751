#include <prefab_comparison/override_records.h>

#include <common/white_space.h>
#include <prefab_inspection/documents/prefab_document.h>
#include <resource/resource_text.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace Kiln::PrefabComparison {

namespace ElementName = PrefabInspection::ElementName;

OverrideText::OverrideText(std::string_view text) {
    if (text.empty()) {
        return;
    }
    XmlProblem problem;
    m_section = parseXml(FileContent::copyOf(text), "override data", problem);
    m_isReadable = m_section && m_section->sectionName() == ElementName::OVERRIDES;
    if (!m_isReadable) {
        return;
    }
    for (DataNode child = m_section->node().firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(ElementName::GAME_OBJECT)) {
            readObject(child);
        } else {
            addOther({}, child);
        }
    }
    number();
}

OverrideText::~OverrideText() = default;

void OverrideText::readObject(DataNode object) {
    const DataNode uuidElement = object.child(ElementName::UUID);
    const std::string uuidText = uuidElement.text();
    Record record;
    record.object = object;
    record.uuid = Uuid::fromString(trimWhiteSpace(uuidText));
    record.key.object = record.uuid ? record.uuid->toString() : std::string(trimWhiteSpace(uuidText));
    bool hasComponents = false;
    for (DataNode child = object.firstChild(); child; child = child.nextSibling()) {
        if (child.isNamed(ElementName::COMPONENT)) {
            hasComponents = true;
            record.component = child;
            readComponent(record);
        } else if (child != uuidElement) {
            addOther(record.key.object, child);
        }
    }
    if (!hasComponents) {
        m_records.push_back(std::move(record));
    }
}

void OverrideText::readComponent(Record record) {
    const DataNode typeElement = record.component.child(ElementName::TYPE);
    const DataNode properties = record.component.child(ElementName::PROPERTIES);
    record.key.component = typeElement.text();
    for (DataNode child = record.component.firstChild(); child; child = child.nextSibling()) {
        if (child != typeElement && child != properties) {
            addOther(record.key.object + ' ' + record.key.component, child);
        }
    }
    if (!properties.firstChild()) {
        m_records.push_back(std::move(record));
        return;
    }
    for (DataNode child = properties.firstChild(); child; child = child.nextSibling()) {
        record.key.property = child.name();
        record.element = child;
        m_records.push_back(record);
    }
}

void OverrideText::addOther(std::string owner, DataNode element) {
    m_otherElements.push_back({std::move(owner), element});
}

void OverrideText::number() {
    std::map<OverrideKey, std::size_t> counts;
    for (Record& record : m_records) {
        record.key.occurrence = counts[record.key]++;
    }
    std::map<std::pair<std::string, std::string>, std::size_t> otherCounts;
    for (OtherElement& other : m_otherElements) {
        other.occurrence = otherCounts[{other.owner, std::string(other.element.name())}]++;
    }
    m_byKey.resize(m_records.size());
    std::iota(m_byKey.begin(), m_byKey.end(), std::size_t{0});
    std::sort(m_byKey.begin(), m_byKey.end(),
              [this](std::size_t a, std::size_t b) { return m_records[a].key < m_records[b].key; });
}

const OverrideText::Record* OverrideText::find(const OverrideKey& key) const {
    const auto found = std::lower_bound(m_byKey.begin(), m_byKey.end(), key,
                                        [this](std::size_t index, const auto& k) { return m_records[index].key < k; });
    return found != m_byKey.end() && m_records[*found].key == key ? &m_records[*found] : nullptr;
}

} // namespace Kiln::PrefabComparison
