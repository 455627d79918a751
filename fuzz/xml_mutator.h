#pragma once

#include "bundle.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace pugi {
class xml_document;
class xml_node;
} // namespace pugi

namespace Kiln::Fuzz {

/// Changes the bytes of a buffer of `capacity` bytes, of which `size` are used; returns the new size.
using ByteMutator = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t capacity);

/// Changes documents in the layout of prefabs, override data and properties as a tree of elements, so that most results
/// are well formed and many are sound: elements are inserted, removed, duplicated, swapped, moved and renamed; UUIDs,
/// numbers, resource paths, component types and other texts are replaced by ones that fit. A text that is not well
/// formed is repaired as far as the parser got.
///
/// The same seed, input and byte mutator yield the same result.
class XmlMutator {
public:
    XmlMutator(unsigned seed, ByteMutator mutateBytes) : m_random(seed), m_mutateBytes(mutateBytes) {}

    /// A changed document of at most `maxSize` bytes. `resources` are the paths that the document may name.
    [[nodiscard]] std::string mutate(std::string_view text, std::size_t maxSize,
                                     const std::vector<std::string>& resources = {});

    /// The document with an element of another one in it.
    [[nodiscard]] std::string splice(std::string_view text, std::string_view donor, std::size_t maxSize);

    /// A changed bundle of at most `maxSize` bytes: one of its files is changed, or files are added, removed, copied or
    /// renamed.
    [[nodiscard]] std::string mutateBundle(std::string_view text, std::size_t maxSize);

    /// A bundle with an element or a file of another one in it.
    [[nodiscard]] std::string spliceBundle(std::string_view text, std::string_view donor, std::size_t maxSize);

private:
    using Elements = std::vector<pugi::xml_node>;

    [[nodiscard]] std::size_t below(std::size_t limit) { return m_random() % limit; }
    [[nodiscard]] bool isOneIn(std::size_t number) { return below(number) == 0; }
    template <class Container>
    [[nodiscard]] const auto& pick(const Container& container) {
        return container[below(std::size(container))];
    }

    [[nodiscard]] std::string mutateRaw(std::string_view text, std::size_t maxSize);
    void mutateTree(pugi::xml_document& document, const std::vector<std::string>& resources, int depth);
    void mutateStructure(pugi::xml_document& document, Elements& elements);
    void mutateText(pugi::xml_node element, const Elements& elements, const std::vector<std::string>& resources,
                    int depth);
    void insertElement(pugi::xml_node parent, const Elements& elements);
    void addObject(pugi::xml_document& document, const std::vector<std::string>& resources);
    void addItem(pugi::xml_document& document, std::string_view type, std::size_t object, std::string_view properties);
    void changeFiles(std::vector<BundleFile>& files);

    [[nodiscard]] std::string uuidText(const std::string& text, const Elements& elements);
    [[nodiscard]] std::string numberText(const std::string& text);
    [[nodiscard]] std::string anyText(const std::string& text);
    [[nodiscard]] std::string nestedText(const std::string& text, const std::vector<std::string>& resources, int depth);

    std::minstd_rand m_random;
    ByteMutator m_mutateBytes;
};

} // namespace Kiln::Fuzz
