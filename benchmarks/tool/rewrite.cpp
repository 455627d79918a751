#include "rows.h"

#include "workload_files.h"

#include <prefab_editing/canonical_form.h>
#include <prefab_editing/text_file.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace Kiln::Benchmarks {

namespace {

/// What `rewrite` does with a file, except that the result is not flushed to the device.
void rewrite(const std::string& name, const std::string& resultName) {
    const PrefabEditing::TextFile file = PrefabEditing::readTextFile(name, std::numeric_limits<std::size_t>::max());
    XmlProblem problem;
    const std::optional<std::string> form = PrefabEditing::canonicalForm(file.text, problem);
    if (!form) {
        throw std::runtime_error(problem.message(name));
    }
    std::ofstream stream(resultName, std::ios::binary);
    stream.write(form->data(), static_cast<std::streamsize>(form->size()));
    if (!stream.flush()) {
        throw std::runtime_error("cannot write the result");
    }
}

/// Writes a file with a layout that changes at every element.
void writeIndentedBySpaces(const std::string& name, const std::string& resultName) {
    std::string text = PrefabEditing::readTextFile(name, std::numeric_limits<std::size_t>::max()).text;
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::ofstream(resultName, std::ios::binary) << text;
}

} // namespace

void measureRewrite() {
    const std::string result = filePath("rewritten.prefab");
    compareWithPugixml("rewrite of 100000 objects in canonical form", 3.0, [&result] { rewrite(largeFile(), result); });
    const std::string spaces = filePath("spaces.prefab");
    writeIndentedBySpaces(largeFile(), spaces);
    compareWithPugixml("rewrite of 100000 objects indented by spaces", 3.0,
                       [&spaces, &result] { rewrite(spaces, result); });
}

} // namespace Kiln::Benchmarks
