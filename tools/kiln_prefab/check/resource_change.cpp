#include "resource_change.h"

#include <prefab_editing/text_file.h>
#include <resource/resource_text.h>

namespace Kiln::PrefabTool {

std::string replaceResource(const ResourceRoots& roots, const std::string& path, std::string_view original,
                            std::string_view text) {
    const FS::Utils::ResourceText now = FS::Utils::readResource(path);
    if (now.status != FS::Utils::ResourceText::Status::READ || now.content.text() != original) {
        return "Cannot write '" + path + "': another program has changed it meanwhile";
    }
    return PrefabEditing::replaceTextFile(roots.fileName(path), text);
}

} // namespace Kiln::PrefabTool
