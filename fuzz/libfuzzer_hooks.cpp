// Connects libFuzzer's hooks to the mutator. Part of every program that libFuzzer drives.

#include "fuzz_target.h"
#include "xml_mutator.h"

#include <algorithm>
#include <cstring>

extern "C" {

std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);
std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize, const std::uint8_t* second,
                                      std::size_t secondSize, std::uint8_t* result, std::size_t maxSize, unsigned seed);
}

namespace {

using Kiln::Fuzz::asText;
using Kiln::Fuzz::XmlMutator;

[[nodiscard]] std::size_t store(const std::string& text, std::uint8_t* result, std::size_t maxSize) {
    const std::size_t size = std::min(text.size(), maxSize);
    std::memcpy(result, text.data(), size);
    return size;
}

[[nodiscard]] bool isBundle(std::string_view text) {
    return text.substr(0, 4) == "=== ";
}

} // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
    XmlMutator mutator(seed, LLVMFuzzerMutate);
    const std::string_view text = asText(data, size);
    if (isBundle(text)) {
        return store(mutator.mutateBundle(text, maxSize), data, maxSize);
    }
    if (text.empty() || text.front() != '<') { // The text of a value.
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    return store(mutator.mutate(text, maxSize), data, maxSize);
}

std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize, const std::uint8_t* second,
                                      std::size_t secondSize, std::uint8_t* result, std::size_t maxSize,
                                      unsigned seed) {
    XmlMutator mutator(seed, LLVMFuzzerMutate);
    const std::string_view text = asText(first, firstSize);
    const std::string_view donor = asText(second, secondSize);
    return store(isBundle(text) ? mutator.spliceBundle(text, donor, maxSize) : mutator.splice(text, donor, maxSize),
                 result, maxSize);
}
