#pragma once

#include "test_components.h"

#include <object_serialization/property_io.h>
#include <support/log_capture.h>

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln::SerializationTests {

/// Captures the log and parses documents.
class DocumentFixture : public testing::Test {
protected:
    using Message = TestSupport::LogCapture::Message;

    /// Parses a text; messages call it "test.prefab".
    [[nodiscard]] static SmartPointer<DataSection> parse(const std::string& text) {
        return DataSection::fromText(text, "test.prefab");
    }

    [[nodiscard]] static Message formatError(std::string text) {
        return {LogSeverity::ERROR, "", std::move(text), "object_serialization/prefab_format"};
    }
    [[nodiscard]] static Message propertyError(std::string text) {
        return {LogSeverity::ERROR, "", std::move(text), "object_serialization/property_io"};
    }
    [[nodiscard]] static Message propertyWarning(std::string text) {
        return {LogSeverity::WARNING, "", std::move(text), "object_serialization/property_io"};
    }

    TestSupport::LogCapture log;
};

/// Reading and writing the configuration of one component type.
template <class Component>
class PropertiesFixture : public DocumentFixture {
protected:
    using Config = typename Component::Config;

    [[nodiscard]] static const mirra::BaseStaticMetaObject& meta() {
        return *mirra::MetaObjectManager::instance().findType(typeid(Config));
    }

    [[nodiscard]] static mirra::ReflectedObject view(Config& config) {
        mirra::ReflectedObject object;
        object.init(meta(), &config);
        return object;
    }

    /// Reads the text of a `properties` section into `config`.
    void read(const std::string& properties) {
        const SmartPointer<DataSection> document = parse("<properties>" + properties + "</properties>");
        readProperties(*document, document->node(), view(config), "Name", handler);
    }

    /// The text of the document that `config` is written to, without the XML declaration.
    [[nodiscard]] std::string write() {
        const SmartPointer<DataSection> document = DataSection::create("properties");
        writeProperties(document->node(), view(config));
        const std::string text = document->toText();
        return text.substr(text.find('\n') + 1);
    }

    Config config;
    const Tessel::DeseriralizeErrorHandler* handler = nullptr;
};

} // namespace Kiln::SerializationTests
