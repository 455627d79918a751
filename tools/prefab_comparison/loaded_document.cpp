#include <prefab_comparison/loaded_document.h>

#include <resource/resource_text.h>

#include <utility>

namespace Kiln::PrefabComparison {

LoadedDocument::LoadedDocument(std::string name, FileContent content)
    : m_name(std::move(name)), m_content(std::move(content)) {
    XmlProblem problem;
    SmartPointer<DataSection> section = parseXml(FileContent::copyOf(m_content.text()), m_name, problem);
    if (!section) {
        m_problem = m_name + ":" + std::to_string(problem.position.line) +
                    ": the file is not well formed: " + problem.description;
        return;
    }
    m_document.emplace(std::move(section));
    m_index.emplace(*m_document);
}

LoadedDocument::~LoadedDocument() = default;

} // namespace Kiln::PrefabComparison
