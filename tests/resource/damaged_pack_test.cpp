#include "pack_support.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kiln {

namespace {

using PackLayout::DocumentHeader;
using PackLayout::Entry;
using PackLayout::Header;
using PackLayout::NodeKind;
using testing::ElementsAre;
using TestSupport::PackBytes;

/// A document with every kind of value.
const std::string DOCUMENT =
    "<a>mixed<i>35</i><f>-2.5</f><u>5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001</u><e/><t>some text</t><p><t>more</t></p>"
    "<m>1 0 0 0 0 1 0 0 0 0 1 0 2.5 -3 4 1</m></a>";

class DamagedPack : public TestSupport::PackFixture {
protected:
    [[nodiscard]] PackBytes packBytes(bool isCompressed = false, bool keepsPositions = true) const {
        PackOptions options;
        options.isCompressed = isCompressed;
        PackDocument document = TestSupport::packedDocument("a.prefab", DOCUMENT, keepsPositions);
        document.annex = "annex";
        return PackBytes(bytesOf(write("sound.kilnpack", std::move(document), options)));
    }

    /// What is logged when the pack is added and its document opened; the document must be null.
    [[nodiscard]] std::vector<std::string> messagesOf(const std::string& bytes) {
        expectUnreadable(bytes);
        FS::Utils::clearResourcePacks();
        m_directory.writeFile("new", bytes);
        std::filesystem::rename(m_directory.path("new"), m_directory.path("x.kilnpack"));
        if (FS::Utils::addResourcePack(m_directory.path("x.kilnpack"))) {
            EXPECT_FALSE(FS::Utils::openXmlSection("a.prefab", true));
        }
        std::vector<std::string> texts = m_log.texts();
        m_log.clear();
        return texts;
    }

    /// The same in a block of exactly the size, so that the address sanitizer would find each byte that is read
    /// outside.
    static void expectUnreadable(const std::string& bytes) {
        std::string problem;
        if (const SmartPointer<ResourcePack> pack = ResourcePack::fromBytes(bytes, "x.kilnpack", problem)) {
            FileContent content;
            EXPECT_FALSE(pack->read(0, content, problem));
        }
        EXPECT_NE(problem, "");
    }

    [[nodiscard]] std::string cannotOpen(const std::string& reason) const {
        return "Cannot open the pack '" + m_directory.path("x.kilnpack") + "': " + reason;
    }

    [[nodiscard]] std::string cannotRead(const std::string& reason) const {
        return "Cannot read 'a.prefab': the pack '" + m_directory.path("x.kilnpack") + "' is damaged: " + reason;
    }

    /// Expects a message for a pack with a change that the checksums do not reveal.
    void expectMessage(const std::string& message, const std::function<void(PackBytes&)>& change,
                       bool isCompressed = false) {
        PackBytes bytes = packBytes(isCompressed);
        change(bytes);
        EXPECT_THAT(messagesOf(bytes.withChecksums()), ElementsAre(message));
    }

    /// The index of the first node of a kind.
    [[nodiscard]] static std::size_t indexOf(const PackBytes& bytes, NodeKind kind) {
        std::size_t index = 0;
        while (bytes.node(index).kind() != kind) {
            ++index;
        }
        return index;
    }

    /// Expects that a payload of the first node of a kind is refused.
    void expectUnsoundPayload(NodeKind kind, std::uint32_t payload) {
        std::size_t index = 0;
        PackBytes bytes = packBytes();
        index = indexOf(bytes, kind);
        bytes.changeNode(index, bytes.node(index).head, payload);
        EXPECT_THAT(messagesOf(bytes.withChecksums()),
                    ElementsAre(cannotRead("element " + std::to_string(index) + " is not sound")))
            << payload;
    }
};

TEST_F(DamagedPack, soundPack_isTheBase) {
    FS::Utils::addResourcePack(write("sound.kilnpack", TestSupport::packedDocument("a.prefab", DOCUMENT, true)));
    EXPECT_TRUE(FS::Utils::openXmlSection("a.prefab", true));
    PackBytes bytes = packBytes();
    EXPECT_EQ(bytes.bytes(), bytes.withChecksums());
}

TEST_F(DamagedPack, truncatedAtEveryByte_oneMessage) {
    for (const bool isCompressed : {false, true}) {
        const std::string bytes = packBytes(isCompressed).bytes();
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            const std::string reason = size < sizeof(Header) ? "it is not a pack"
                                                             : "it is damaged: it has " + std::to_string(size) +
                                                                   " bytes instead of " + std::to_string(bytes.size());
            ASSERT_THAT(messagesOf(bytes.substr(0, size)), ElementsAre(cannotOpen(reason)));
        }
    }
}

TEST_F(DamagedPack, everySingleBit_oneMessage) {
    for (const bool isCompressed : {false, true}) {
        const std::string bytes = packBytes(isCompressed).bytes();
        for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
            std::string damaged = bytes;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
            ASSERT_EQ(messagesOf(damaged).size(), 1U) << "bit " << bit;
        }
    }
}

TEST_F(DamagedPack, bytesBehindTheEnd_areNoticed) {
    const std::string bytes = packBytes().bytes();
    EXPECT_THAT(messagesOf(bytes + "x"),
                ElementsAre(cannotOpen("it is damaged: it has " + std::to_string(bytes.size() + 1) +
                                       " bytes instead of " + std::to_string(bytes.size()))));
}

TEST_F(DamagedPack, otherVersion_isNamed) {
    expectMessage(cannotOpen("it has the format version 2; only version 1 can be read"),
                  [](PackBytes& bytes) { bytes.changeHeader([](Header& header) { header.version = 2; }); });
}

TEST_F(DamagedPack, otherByteOrder_isNamed) {
    expectMessage(cannotOpen("it was made for machines of another byte order"), [](PackBytes& bytes) {
        bytes.changeHeader([](Header& header) { header.byteOrderMark = PackLayout::SWAPPED_BYTE_ORDER_MARK; });
    });
}

TEST_F(DamagedPack, damagedIndexAndDocument_haveTheirChecksums) {
    PackBytes bytes = packBytes();
    bytes.changeEntry([](Entry& entry) { entry.sourceChecksum ^= 1; });
    EXPECT_THAT(messagesOf(bytes.bytes()),
                ElementsAre(cannotOpen("it is damaged: the checksum of its index is wrong")));
    PackBytes other = packBytes();
    other.changeNode(0, other.node(0).head, 7);
    EXPECT_THAT(messagesOf(other.bytes()), ElementsAre(cannotRead("the checksum of the document is wrong")));
}

TEST_F(DamagedPack, absurdCounts_areRefused) {
    constexpr std::uint32_t MANY = std::numeric_limits<std::uint32_t>::max();
    constexpr std::uint64_t VERY_MANY = std::numeric_limits<std::uint64_t>::max();
    const std::string wrong = cannotOpen("it is damaged: the sizes in its index are wrong");
    // Without new checksums: the sizes are compared first.
    const auto expectWrongSizes = [&](const std::function<void(Header&)>& change) {
        PackBytes bytes = packBytes();
        bytes.changeHeader(change);
        EXPECT_THAT(messagesOf(bytes.bytes()), ElementsAre(wrong));
    };
    expectWrongSizes([](Header& header) { header.documentsCount = MANY; });
    expectWrongSizes([](Header& header) { header.stringsCount = MANY; });
    expectWrongSizes([](Header& header) { header.pathsSize = VERY_MANY; });
    expectWrongSizes([](Header& header) { header.textsSize = VERY_MANY - 100; });
    expectWrongSizes([](Header& header) { header.indexSize = VERY_MANY; });
    expectWrongSizes([](Header& header) { header.documentsCount = 0; });
}

TEST_F(DamagedPack, entries_mustFollowEachOther) {
    const std::string unsound = cannotOpen("it is damaged: the entry of 'a.prefab' is not sound");
    const auto expectUnsound = [&](const std::function<void(Entry&)>& change) {
        expectMessage(unsound, [&](PackBytes& bytes) { bytes.changeEntry(change); });
    };
    expectUnsound([](Entry& entry) { entry.offset += 8; });
    expectUnsound([](Entry& entry) { entry.offset = 0; });
    expectUnsound([](Entry& entry) { entry.storedSize = std::numeric_limits<std::uint64_t>::max(); });
    expectUnsound([](Entry& entry) { entry.storedSize -= 1; });
    expectUnsound([](Entry& entry) { entry.size += 1; });
    expectUnsound([](Entry& entry) { entry.form = static_cast<PackLayout::Form>(3); });
    expectMessage(cannotOpen("it is damaged: parts of it belong to no document"), [](PackBytes& bytes) {
        bytes.changeEntry([](Entry& entry) {
            entry.storedSize -= 16;
            entry.size -= 16;
        });
    });
}

TEST_F(DamagedPack, paths_mustBeAllowed) {
    const std::string notAllowed = cannotOpen("it is damaged: its paths are not sorted or not allowed");
    expectMessage(notAllowed, [](PackBytes& bytes) { bytes.changeEntry([](Entry& entry) { entry.pathEnd = 0; }); });
    expectMessage(notAllowed, [](PackBytes& bytes) { bytes.changeEntry([](Entry& entry) { entry.pathEnd = 1000; }); });
    expectMessage(notAllowed, [](PackBytes& bytes) {
        const std::size_t path = bytes.bytes().find("a.prefab");
        bytes.set(path, '/');
    });
    expectMessage(cannotOpen("it is damaged: parts of it belong to no document"),
                  [](PackBytes& bytes) { bytes.changeEntry([](Entry& entry) { entry.pathEnd -= 1; }); });
}

TEST_F(DamagedPack, strings_mustNotOverlap) {
    const std::string overlap = cannotOpen("it is damaged: its strings overlap");
    constexpr std::size_t ENDS = sizeof(Header) + sizeof(Entry);
    expectMessage(overlap, [](PackBytes& bytes) { bytes.set(ENDS, std::uint32_t{100}); });
    expectMessage(overlap, [](PackBytes& bytes) { bytes.set(ENDS + 4, std::uint32_t{0}); });
    expectMessage(overlap, [](PackBytes& bytes) {
        const auto count = bytes.get<Header>(0).stringsCount;
        bytes.set(ENDS + 4 * (count - 1), std::uint32_t{0xffffffff});
    });
}

TEST_F(DamagedPack, partsOfADocument_mustFitIntoIt) {
    constexpr std::uint32_t MANY = std::numeric_limits<std::uint32_t>::max();
    constexpr std::uint64_t VERY_MANY = std::numeric_limits<std::uint64_t>::max();
    const auto expectWrong = [&](const std::function<void(DocumentHeader&)>& change) {
        expectMessage(cannotRead("the sizes of its parts are wrong"), [&](PackBytes& bytes) {
            auto header = bytes.get<DocumentHeader>(bytes.documentOffset());
            change(header);
            bytes.set(bytes.documentOffset(), header);
        });
    };
    expectWrong([](DocumentHeader& header) { header.nodesCount = 0; });
    expectWrong([](DocumentHeader& header) { header.nodesCount = MANY; });
    expectWrong([](DocumentHeader& header) { header.uuidsCount = MANY; });
    expectWrong([](DocumentHeader& header) { header.flags = 2; });
    expectWrong([](DocumentHeader& header) { header.reserved = 1; });
    expectWrong([](DocumentHeader& header) { header.valuesSize = VERY_MANY; });
    expectWrong([](DocumentHeader& header) { header.annexSize = VERY_MANY; });
    expectWrong([](DocumentHeader& header) { header.valuesSize += 1; });
}

TEST_F(DamagedPack, documentWithoutHeader_isRefused) {
    expectMessage(cannotRead("the sizes of its parts are wrong"), [](PackBytes& bytes) {
        std::string shortened = bytes.bytes().substr(0, bytes.documentOffset() + 8);
        bytes = PackBytes(std::move(shortened));
        bytes.changeHeader([&](Header& header) { header.fileSize = bytes.bytes().size(); });
        bytes.changeEntry([](Entry& entry) { entry.storedSize = entry.size = 8; });
    });
}

TEST_F(DamagedPack, payloads_mustLeadToValues) {
    constexpr std::uint32_t MANY = std::numeric_limits<std::uint32_t>::max();
    for (const std::uint32_t payload : {std::uint32_t{1000}, MANY - 4, MANY - 3, MANY}) {
        expectUnsoundPayload(NodeKind::UUID, payload);
        expectUnsoundPayload(NodeKind::MATRIX, payload);
        expectUnsoundPayload(NodeKind::TEXT, payload);
        expectUnsoundPayload(NodeKind::MIXED, payload);
        expectUnsoundPayload(NodeKind::EMPTY, payload);
    }
    expectUnsoundPayload(NodeKind::PARENT, 0);
}

TEST_F(DamagedPack, values_mustEndInTheDocument) {
    // Every offset of the values is tried for each kind of value. What is accepted must be readable; the sanitizers
    // would notice anything else.
    const PackBytes sound = packBytes();
    const auto header = sound.get<DocumentHeader>(sound.documentOffset());
    for (const NodeKind kind : {NodeKind::TEXT, NodeKind::MATRIX, NodeKind::MIXED}) {
        const std::size_t index = indexOf(sound, kind);
        for (std::uint32_t offset = 0; offset <= header.valuesSize; ++offset) {
            PackBytes bytes = sound;
            bytes.changeNode(index, bytes.node(index).head, offset);
            FS::Utils::clearResourcePacks();
            m_directory.writeFile("new", bytes.withChecksums());
            std::filesystem::rename(m_directory.path("new"), m_directory.path("x.kilnpack"));
            ASSERT_TRUE(FS::Utils::addResourcePack(m_directory.path("x.kilnpack")));
            if (const SmartPointer<DataSection> section = FS::Utils::openXmlSection("a.prefab", true)) {
                EXPECT_FALSE(section->toText().empty());
                EXPECT_THAT(m_log.texts(), testing::IsEmpty());
            } else {
                EXPECT_EQ(m_log.texts().size(), 1U);
            }
            m_log.clear();
        }
    }
}

TEST_F(DamagedPack, namesAndKinds_mustExist) {
    const auto expectUnsound = [&](std::uint32_t head) {
        expectMessage(cannotRead("element 0 is not sound"),
                      [&](PackBytes& bytes) { bytes.changeNode(0, head, bytes.node(0).payload); });
    };
    const std::uint32_t kind = static_cast<std::uint32_t>(NodeKind::MIXED) << PackLayout::KIND_SHIFT;
    expectUnsound(kind | PackLayout::NAME_MASK);
    expectUnsound(9U << PackLayout::KIND_SHIFT);
    expectUnsound(15U << PackLayout::KIND_SHIFT);
    expectUnsound(kind | 1U << 31);
}

TEST_F(DamagedPack, elements_mustFormATree) {
    const auto expectNoTree = [&](std::size_t index, std::uint32_t changedBits, std::uint32_t payload) {
        expectMessage(
            cannotRead("the elements do not form a tree at element " + std::to_string(index)),
            [&](PackBytes& bytes) { bytes.changeNode(index, bytes.node(index).head ^ changedBits, payload); });
    };
    const PackBytes sound = packBytes();
    const std::size_t parent = indexOf(sound, NodeKind::PARENT);
    const std::size_t integer = indexOf(sound, NodeKind::INTEGER);
    expectNoTree(parent, 0, 2);                              // Overlaps its sibling, which is the last one.
    expectNoTree(parent, 0, 1000);                           // Ends behind its parent.
    expectNoTree(integer, PackLayout::HAS_NEXT_SIBLING, 35); // Denies its sibling.
    expectNoTree(parent + 1, PackLayout::HAS_NEXT_SIBLING, sound.node(parent + 1).payload); // Has a sibling too many.
    expectNoTree(0, PackLayout::HAS_NEXT_SIBLING, sound.node(0).payload);                   // A second root.
}

TEST_F(DamagedPack, compressedDocument_mustHaveItsSize) {
    expectMessage(
        cannotRead("the compressed document has another size than the index says"),
        [](PackBytes& bytes) { bytes.changeEntry([](Entry& entry) { entry.size += 1; }); }, true);
}

TEST_F(DamagedPack, compressedBytes_mustBeAFrame) {
    PackBytes bytes = packBytes(true);
    const std::size_t frame = bytes.documentOffset();
    ASSERT_EQ(bytes.get<Entry>(sizeof(Header)).form, PackLayout::Form::COMPRESSED_TREE);
    // Changes each byte of the frame. None of them may have another effect than a message or a document.
    for (std::size_t offset = frame; offset < bytes.bytes().size(); ++offset) {
        PackBytes changed = bytes;
        changed.set(offset, static_cast<char>(changed.get<char>(offset) ^ 0x55));
        m_directory.writeFile("new", changed.withChecksums());
        std::filesystem::rename(m_directory.path("new"), m_directory.path("x.kilnpack"));
        ASSERT_TRUE(FS::Utils::addResourcePack(m_directory.path("x.kilnpack")));
        const SmartPointer<DataSection> section = FS::Utils::openXmlSection("a.prefab", true);
        EXPECT_EQ(m_log.texts().size(), section ? 0U : 1U);
        m_log.clear();
    }
}

} // namespace

} // namespace Kiln
