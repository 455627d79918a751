#pragma once

#include "random_choice.h"

#include <map>
#include <string>
#include <vector>

#include <pugixml.hpp>

namespace Kiln::AgreementTests {

/// What a mistake in a document can refer to.
struct DocumentContext {
    RandomChoice& random;
    const std::vector<std::string>& paths; ///< Of the files that can be nested.
    const std::vector<std::string>& uuids; ///< Of objects of all files.
    const std::map<std::string, std::vector<std::string>>& uuidsByPath;
};

/// Makes one mistake in a prefab document, or in override data, as a tree of elements. Returns a description; an empty
/// one if the kind of mistake that was chosen is impossible in the document, which then is unchanged.
[[nodiscard]] std::string mutateDocument(pugi::xml_document& document, const DocumentContext& context);

/// The document as a text, with its white space.
[[nodiscard]] std::string documentText(const pugi::xml_document& document);

/// Parses a text so that documentText() returns it unchanged, apart from the way in which characters are escaped.
/// Whether it is well formed.
[[nodiscard]] bool parseDocument(pugi::xml_document& document, const std::string& text);

/// The texts of all elements `uuid`.
void collectUuids(const pugi::xml_document& document, std::vector<std::string>& uuids);

} // namespace Kiln::AgreementTests
