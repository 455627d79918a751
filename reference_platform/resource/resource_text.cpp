#include <resource/resource_text.h>

#include <core/formatter.h>
#include <resource/data_document.h>

#include <utility>

namespace Kiln {

std::string XmlProblem::message(const std::string& sourceName) const {
    return formatText("XML error in '%s' at line %zu, column %zu: %s", sourceName.c_str(), position.line,
                      position.column, description.c_str());
}

SmartPointer<DataSection> parseXml(FileContent content, std::string sourceName, XmlProblem& problem) {
    SmartPointer<DataDocument> document = DataDocument::parse(std::move(content), std::move(sourceName), &problem);
    if (!document) {
        return nullptr;
    }
    const DataNode root = document->root();
    return makeSmart<DataSection>(std::move(document), root);
}

} // namespace Kiln
