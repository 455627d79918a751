#include <object_serialization/component_texts.h>

#include <map>
#include <mutex>
#include <utility>

namespace Kiln {

const ComponentTexts& ComponentTexts::of(const std::string& name, const std::string& category) {
    struct Register {
        std::mutex mutex; ///< Guards `texts`; no other lock is taken while it is held.
        std::map<std::pair<std::string, std::string>, const ComponentTexts> texts;
    };
    // Never destroyed: descriptors may outlive every static object.
    static Register* const texts = new Register;

    const std::scoped_lock lock(texts->mutex);
    return texts->texts.try_emplace(std::pair(name, category), ComponentTexts{name, "components/" + name, category})
        .first->second;
}

} // namespace Kiln
