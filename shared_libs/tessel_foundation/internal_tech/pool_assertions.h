#pragma once

#include <tessel_foundation/export.h>

/// Reports of the pools' failed development assertions. Each returns when the installed handler does.
namespace Kiln::Tessel::PoolAssertions {

/// A block is destroyed with objects in it.
KILN_TESSEL_FOUNDATION_EXPORT void reportBlockNotEmpty();

/// A component storage is destroyed with active components in it.
KILN_TESSEL_FOUNDATION_EXPORT void reportActiveComponents();

/// A block is looked up for an object that lies in none.
KILN_TESSEL_FOUNDATION_EXPORT void reportNoAllocator();

/// An object is not an element of the block that is to work on it.
KILN_TESSEL_FOUNDATION_EXPORT void reportNotInBuffer();

/// A block is looked up for an element that is not in use.
KILN_TESSEL_FOUNDATION_EXPORT void reportNotActive();

/// An element is asked of a full block.
KILN_TESSEL_FOUNDATION_EXPORT void reportNoFreeElement();

/// The free chain leads to an element that is not free.
KILN_TESSEL_FOUNDATION_EXPORT void reportFreeChainBroken();

/// An element is freed that is free already.
KILN_TESSEL_FOUNDATION_EXPORT void reportFreedTwice();

} // namespace Kiln::Tessel::PoolAssertions
