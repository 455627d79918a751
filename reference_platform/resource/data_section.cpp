#include <resource/data_section.h>

#include <common/bool_text.h>
#include <common/number_text.h>
#include <common/white_space.h>
#include <core/log.h>
#include <resource/data_document.h>
#include <resource/document_file.h>
#include <resource/file_replacement.h>

#include <optional>
#include <utility>

namespace Kiln {

namespace {

constexpr const char* SOURCE = "resource/data_section";

SmartPointer<DataSection> makeRootSection(SmartPointer<DataDocument> document) {
    if (!document) {
        return nullptr;
    }
    const DataNode root = document->root();
    return makeSmart<DataSection>(std::move(document), root);
}

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number{};
    return readNumber(text, number) ? std::optional(number) : std::nullopt;
}

std::optional<bool> parseBool(std::string_view text) {
    bool value = false;
    return readBool(text, value) ? std::optional(value) : std::nullopt;
}

/// Parses a child's trimmed text with `parse`; the default value if the child is absent or its text does not parse.
template <class Value, class Parse>
Value readValue(DataNode parent, std::string_view name, const Value& defaultValue, Parse parse) {
    const DataNode child = parent.child(name);
    if (!child) {
        return defaultValue;
    }
    std::string scratch;
    return parse(trimWhiteSpace(child.text(scratch))).value_or(defaultValue);
}

void writeText(DataNode parent, std::string_view name, std::string_view text) {
    DataNode child = parent.child(name);
    if (!child) {
        child = parent.append(name);
    }
    child.setText(text);
}

template <class Number>
void writeNumber(DataNode parent, std::string_view name, Number value) {
    std::string text;
    appendNumber(value, text);
    writeText(parent, name, text);
}

} // namespace

SmartPointer<DataSection> DataSection::create(std::string_view rootName) {
    return makeRootSection(makeSmart<DataDocument>(rootName));
}

SmartPointer<DataSection> DataSection::fromText(std::string_view text, std::string sourceName, std::string* problem) {
    if (!problem) {
        return makeRootSection(DataDocument::parse(FileContent::copyOf(text), std::move(sourceName)));
    }
    XmlProblem found;
    SmartPointer<DataSection> section = parseXml(FileContent::copyOf(text), sourceName, found);
    if (!section) {
        *problem = found.message(sourceName);
    }
    return section;
}

SmartPointer<DataSection> DataSection::fromFile(const std::string& fileName, std::string sourceName,
                                                bool reportMissing) {
    return readDocument(openFile(fileName), std::move(sourceName), reportMissing);
}

DataSection::DataSection(SmartPointer<DataDocument> document, DataNode node)
    : m_document(std::move(document)), m_node(node) {}

DataSection::DataSection(const DataSection& section, DataNode node) : m_document(section.m_document), m_node(node) {}

DataSection::~DataSection() = default;

SmartPointer<DataSection> DataSection::openSection(std::string_view name, bool create) const {
    const DataNode child = m_node.child(name);
    if (!child) {
        return create ? newSection(name) : nullptr;
    }
    return makeSmart<DataSection>(m_document, child);
}

SmartPointer<DataSection> DataSection::newSection(std::string_view name) const {
    return makeSmart<DataSection>(m_document, m_node.append(name));
}

SmartPointer<DataSection> DataSection::Iterator::operator*() const {
    return makeSmart<DataSection>(m_parent->m_document, m_node);
}

std::string DataSection::readString(std::string_view name, std::string_view defaultValue) const {
    const DataNode child = m_node.child(name);
    return child ? child.text() : std::string(defaultValue);
}

bool DataSection::readBool(std::string_view name, bool defaultValue) const {
    return readValue(m_node, name, defaultValue, parseBool);
}

std::int64_t DataSection::readInt64(std::string_view name, std::int64_t defaultValue) const {
    return readValue(m_node, name, defaultValue, parseNumber<std::int64_t>);
}

std::uint64_t DataSection::readUInt64(std::string_view name, std::uint64_t defaultValue) const {
    return readValue(m_node, name, defaultValue, parseNumber<std::uint64_t>);
}

double DataSection::readDouble(std::string_view name, double defaultValue) const {
    return readValue(m_node, name, defaultValue, parseNumber<double>);
}

Uuid DataSection::readUuid(std::string_view name, const Uuid& defaultValue) const {
    return readValue(m_node, name, defaultValue, Uuid::fromString);
}

Matrix DataSection::readMatrix(std::string_view name, const Matrix& defaultValue) const {
    return readValue(m_node, name, defaultValue, Matrix::fromString);
}

void DataSection::writeString(std::string_view name, std::string_view value) const {
    writeText(m_node, name, value);
}

void DataSection::writeBool(std::string_view name, bool value) const {
    writeText(m_node, name, boolText(value));
}

void DataSection::writeInt64(std::string_view name, std::int64_t value) const {
    writeNumber(m_node, name, value);
}

void DataSection::writeUInt64(std::string_view name, std::uint64_t value) const {
    writeNumber(m_node, name, value);
}

void DataSection::writeDouble(std::string_view name, double value) const {
    writeNumber(m_node, name, value);
}

void DataSection::writeUuid(std::string_view name, const Uuid& value) const {
    writeText(m_node, name, value.toString());
}

void DataSection::writeMatrix(std::string_view name, const Matrix& value) const {
    writeText(m_node, name, value.toString());
}

const std::string& DataSection::source() const noexcept {
    return m_document->source();
}

DataPosition DataSection::positionOf(DataNode node) const {
    return m_document->positionOf(node);
}

std::string DataSection::toText() const {
    StringSink sink;
    m_document->write(sink);
    return std::move(sink.text);
}

bool DataSection::saveFile(const std::string& fileName) const {
    std::string problem;
    if (replaceFile(
            fileName, [this](TextSink& file) { m_document->write(file); }, problem)) {
        return true;
    }
    DebugMessageHelper(0, LogSeverity::ERROR, "", SOURCE)
        .message("Cannot write '%s': %s", fileName.c_str(), problem.c_str());
    return false;
}

} // namespace Kiln
