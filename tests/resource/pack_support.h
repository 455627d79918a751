#pragma once

#include <resource/file_system_utils.h>
#include <resource/pack_layout.h>
#include <resource/pack_writer.h>
#include <resource/resource_pack.h>
#include <resource/resource_text.h>
#include <support/log_capture.h>
#include <support/temporary_directory.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace Kiln::TestSupport {

/// The document that a text is, encoded.
[[nodiscard]] inline PackDocument packedDocument(const std::string& path, std::string_view text,
                                                 bool keepsPositions = false) {
    const SmartPointer<DataSection> section = DataSection::fromText(text, path);
    if (!section) {
        throw std::invalid_argument("not a document");
    }
    PackDocument document = PackDocument::fromSection(*section, keepsPositions).value();
    document.path = path;
    document.sourceChecksum = sourceChecksum(text);
    return document;
}

/// A directory for packs, and a log that must be empty at the end.
class PackFixture : public testing::Test {
protected:
    ~PackFixture() override {
        FS::Utils::clearResourcePacks();
        FS::Utils::clearResourceRoots();
        EXPECT_EQ(m_log.texts(), std::vector<std::string>());
    }

    /// Writes a pack, and returns its name.
    std::string write(const std::string& name, std::vector<PackDocument> documents,
                      const PackOptions& options = {}) const {
        std::string problem;
        EXPECT_TRUE(writePack(m_directory.path(name), std::move(documents), options, problem)) << problem;
        return m_directory.path(name);
    }

    std::string write(const std::string& name, PackDocument document, const PackOptions& options = {}) const {
        std::vector<PackDocument> documents;
        documents.push_back(std::move(document));
        return write(name, std::move(documents), options);
    }

    /// The only document of a pack that is made of a text.
    [[nodiscard]] SmartPointer<DataSection> readBack(std::string_view text, bool isCompressed = false,
                                                     bool keepsPositions = false) const {
        PackOptions options;
        options.isCompressed = isCompressed;
        FS::Utils::addResourcePack(
            write("read_back.kilnpack", packedDocument("a.prefab", text, keepsPositions), options));
        return FS::Utils::openXmlSection("a.prefab", true);
    }

    [[nodiscard]] static std::string bytesOf(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TemporaryDirectory m_directory;
    LogCapture m_log;
};

/// The bytes of a pack, for damaging it in ways that its checksums do not reveal.
class PackBytes {
public:
    explicit PackBytes(std::string bytes) : m_bytes(std::move(bytes)) {}

    template <class Object>
    [[nodiscard]] Object get(std::size_t offset) const {
        Object object;
        std::memcpy(&object, m_bytes.data() + offset, sizeof object);
        return object;
    }

    template <class Object>
    void set(std::size_t offset, const Object& object) {
        std::memcpy(m_bytes.data() + offset, &object, sizeof object);
    }

    template <class Change>
    void changeHeader(Change change) {
        auto header = get<PackLayout::Header>(0);
        change(header);
        set(0, header);
    }

    template <class Change>
    void changeEntry(Change change) {
        auto entry = get<PackLayout::Entry>(sizeof(PackLayout::Header));
        change(entry);
        set(sizeof(PackLayout::Header), entry);
    }

    /// Where the first document begins.
    [[nodiscard]] std::size_t documentOffset() const {
        return static_cast<std::size_t>(get<PackLayout::Header>(0).indexSize);
    }

    /// Where its nodes begin.
    [[nodiscard]] std::size_t nodesOffset() const {
        const auto header = get<PackLayout::DocumentHeader>(documentOffset());
        return documentOffset() + sizeof header + header.uuidsCount * PackLayout::UUID_SIZE;
    }

    void changeNode(std::size_t index, std::uint32_t head, std::uint32_t payload) {
        set(nodesOffset() + index * sizeof(PackedNode), PackedNode{head, payload});
    }

    [[nodiscard]] PackedNode node(std::size_t index) const {
        return get<PackedNode>(nodesOffset() + index * sizeof(PackedNode));
    }

    /// The bytes with the checksums that they must have; the first document is the only one.
    [[nodiscard]] std::string withChecksums() {
        const std::string_view bytes = m_bytes;
        changeEntry([&](PackLayout::Entry& entry) { entry.checksum = sourceChecksum(bytes.substr(documentOffset())); });
        changeHeader([&](PackLayout::Header& header) {
            const std::string_view index =
                bytes.substr(PackLayout::CHECKED_BEGIN, documentOffset() - PackLayout::CHECKED_BEGIN);
            header.indexChecksum = sourceChecksum(index);
        });
        return m_bytes;
    }

    [[nodiscard]] const std::string& bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

} // namespace Kiln::TestSupport
