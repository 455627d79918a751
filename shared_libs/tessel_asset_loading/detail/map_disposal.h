#pragma once

#include <core/non_copyable.h>
#include <object_framework/game_object.h>

#include <common/uuid.h>

#include <unordered_map>

namespace Kiln::Tessel {

/// At the end of its scope, has a large map taken apart by a worker: its nodes are scattered over memory, and giving
/// them back takes longer than entering them. A small map is left to its owner, and so is a large one when no worker is
/// to be had.
class MapDisposal : NonCopyable {
public:
    explicit MapDisposal(std::unordered_map<Uuid, GameObject>& map) noexcept : m_map(map) {}
    ~MapDisposal();

private:
    std::unordered_map<Uuid, GameObject>& m_map;
};

} // namespace Kiln::Tessel
