#pragma once

#include <prefab_inspection/composition/composed_value.h>

namespace Kiln::PrefabTool {

/// The name of a layer's kind in JSON.
[[nodiscard]] inline const char* layerKindName(PrefabInspection::ValueLayer::Kind kind) {
    switch (kind) {
    case PrefabInspection::ValueLayer::Kind::DEFAULT:
        return "default";
    case PrefabInspection::ValueLayer::Kind::FILE:
        return "file";
    case PrefabInspection::ValueLayer::Kind::LOADING:
        return "loading";
    case PrefabInspection::ValueLayer::Kind::OVERRIDE:
        break;
    }
    return "override";
}

/// The name of a layer's effect in JSON.
[[nodiscard]] inline const char* layerEffectName(PrefabInspection::ValueLayer::Effect effect) {
    switch (effect) {
    case PrefabInspection::ValueLayer::Effect::WINS:
        return "wins";
    case PrefabInspection::ValueLayer::Effect::OVERRIDDEN:
        return "overridden";
    case PrefabInspection::ValueLayer::Effect::UNREADABLE:
        return "unreadable";
    case PrefabInspection::ValueLayer::Effect::REPLACED:
        break;
    }
    return "replaced";
}

} // namespace Kiln::PrefabTool
