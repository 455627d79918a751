#pragma once

#include <resource/pack_compression.h>
#include <resource/packed_tree.h>
#include <resource/resource_pack.h>

#include <core/smart_pointer.h>

namespace Kiln {

/// A tree with everything that it refers to.
struct PackedContent {
    SmartPointer<const ResourcePack> pack;
    TreeBytes bytes; ///< Of a compressed document; otherwise the tree lies in the mapping.
    PackedTree tree;
};

} // namespace Kiln
