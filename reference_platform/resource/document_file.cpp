#include <resource/document_file.h>

#include <core/log.h>
#include <core/printable_text.h>
#include <resource/data_document.h>

#include <utility>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "resource/document_file";

void reportProblem(const std::string& sourceName, const std::string& problem) {
    DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
        .message("Cannot read '%s': %s", printableText(sourceName).c_str(), problem.c_str());
}

[[nodiscard]] SmartPointer<DataSection> makeSection(FileContent content, std::string sourceName) {
    SmartPointer<DataDocument> document = DataDocument::parse(std::move(content), std::move(sourceName));
    if (!document) {
        return nullptr;
    }
    const DataNode root = document->root();
    return makeSmart<DataSection>(std::move(document), root);
}

} // namespace

SmartPointer<DataSection> readDocument(const InputFile& file, std::string sourceName, bool reportMissing) {
    if (file.status == InputFile::Status::MISSING) {
        if (reportMissing) {
            DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE).message("File not found: '%s'", sourceName.c_str());
        }
        return nullptr;
    }
    if (!file.isOpen()) {
        reportProblem(sourceName, file.problem);
        return nullptr;
    }
    FileContent content;
    std::string problem;
    if (!readFile(file, content, problem)) {
        reportProblem(sourceName, problem);
        return nullptr;
    }
    return makeSection(std::move(content), std::move(sourceName));
}

SmartPointer<DataSection> readPackedDocument(const ResourcePack& pack, std::size_t index, std::string sourceName) {
    FileContent content;
    std::string problem;
    if (!pack.read(index, content, problem)) {
        reportProblem(sourceName, problem);
        return nullptr;
    }
    return makeSection(std::move(content), std::move(sourceName));
}

} // namespace Kiln
