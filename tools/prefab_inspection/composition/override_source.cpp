#include <prefab_inspection/composition/override_source.h>

#include <common/white_space.h>
#include <resource/resource_text.h>

#include <algorithm>
#include <optional>

namespace Kiln::PrefabInspection {

namespace {

struct ByUuid {
    bool operator()(const OverrideSource::Record& record, const Uuid& uuid) const { return record.uuid < uuid; }
    bool operator()(const Uuid& uuid, const OverrideSource::Record& record) const { return uuid < record.uuid; }
};

} // namespace

OverrideSource::OverrideSource(const std::string& filePath, std::shared_ptr<const SourceText> outer,
                               DataNode valueElement)
    : file(&filePath),
      element(valueElement),
      outerText(std::move(outer)),
      text(std::make_shared<SourceText>(outerText, valueElement)) {
    XmlProblem xmlProblem;
    section = parseXml(FileContent::copyOf(text->text()), *file, xmlProblem);
    if (!section) {
        problem = "the override data is not well formed: " + xmlProblem.description;
    } else if (section->sectionName() != ElementName::OVERRIDES) {
        problem =
            "the root of the override data is '" + std::string(section->sectionName()) + "' instead of 'overrides'";
    } else {
        readRecords();
    }
}

OverrideSource::~OverrideSource() = default;

void OverrideSource::readRecords() {
    for (DataNode object = section->node().firstChild(); object; object = object.nextSibling()) {
        const std::optional<Uuid> uuid = Uuid::fromString(trimWhiteSpace(object.child(ElementName::UUID).text()));
        if (!object.isNamed(ElementName::GAME_OBJECT) || !uuid) {
            continue;
        }
        for (DataNode child = object.firstChild(); child; child = child.nextSibling()) {
            std::string type = child.child(ElementName::TYPE).text();
            const DataNode properties = child.child(ElementName::PROPERTIES);
            if (child.isNamed(ElementName::COMPONENT) && !type.empty() && properties) {
                records.push_back({*uuid, std::move(type), properties});
            }
        }
    }
    std::stable_sort(records.begin(), records.end(), [](const Record& a, const Record& b) { return a.uuid < b.uuid; });
}

bool OverrideSource::hasRecordsOf(const Uuid& uuid) const {
    return std::binary_search(records.begin(), records.end(), uuid, ByUuid());
}

const OverrideSource* OverrideSources::get(const std::string& file, const std::shared_ptr<const SourceText>& outer,
                                           DataNode element) {
    std::string scratch;
    if (element.text(scratch).empty()) {
        return nullptr;
    }
    std::unique_ptr<OverrideSource>& source = m_sources[{outer.get(), element.offset()}];
    if (!source) {
        source = std::make_unique<OverrideSource>(file, outer, element);
    }
    return source.get();
}

void findSections(const OverrideList& overrides, const Uuid& uuid, std::string_view component,
                  std::vector<OverrideSection>& sections) {
    for (const AppliedOverrides& applied : overrides) {
        const std::vector<OverrideSource::Record>& records = applied.source->records;
        const auto [first, last] = std::equal_range(records.begin(), records.end(), uuid, ByUuid());
        for (auto record = first; record != last; ++record) {
            if (record->component == component) {
                sections.push_back({applied.source, record->properties, applied.isReplaced});
            }
        }
    }
}

bool hasRecordsOf(const OverrideList& overrides, const Uuid& uuid) {
    return std::any_of(overrides.begin(), overrides.end(), [&uuid](const AppliedOverrides& applied) {
        return !applied.isReplaced && applied.source->hasRecordsOf(uuid);
    });
}

} // namespace Kiln::PrefabInspection
