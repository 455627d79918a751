#pragma once

#include "tree_mutations.h"

#include <string>
#include <string_view>

namespace Kiln::AgreementTests {

/// Texts that an author might write into an element of that name; many of them are mistakes.
[[nodiscard]] std::string wrongText(const std::string& element, const std::string& present,
                                    const DocumentContext& context);

/// A name with a letter too many or too few, exchanged or in the other case.
[[nodiscard]] std::string misspelt(std::string name, RandomChoice& random);

/// A UUID: of an object, of an object in a nested prefab, random, zero, or no UUID at all.
[[nodiscard]] std::string wrongUuid(const std::string& present, const DocumentContext& context);

/// A component type: a known, an unknown or a misspelt one.
[[nodiscard]] std::string wrongType(const std::string& present, RandomChoice& random);

/// A text of any property.
[[nodiscard]] std::string wrongValue(const DocumentContext& context);

/// The name of a property of some component.
[[nodiscard]] std::string anyProperty(RandomChoice& random);

} // namespace Kiln::AgreementTests
