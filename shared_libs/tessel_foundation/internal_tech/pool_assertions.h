#pragma once

#include <tessel_foundation/export.h>

/// Reports of the pools' failed development assertions. Each returns when the installed handler does.
namespace Kiln::Tessel::PoolAssertions {

/// A block is destroyed while it contains objects.
KILN_TESSEL_FOUNDATION_EXPORT void reportBlockNotEmpty();

/// A component storage is destroyed while it contains active components.
KILN_TESSEL_FOUNDATION_EXPORT void reportActiveComponents();

/// A block is looked up for an object that is in no block.
KILN_TESSEL_FOUNDATION_EXPORT void reportNoAllocator();

/// An operation of a block is called for an object that is not one of its elements.
KILN_TESSEL_FOUNDATION_EXPORT void reportNotInBuffer();

/// A block is looked up for an element that is not ACTIVE.
KILN_TESSEL_FOUNDATION_EXPORT void reportNotActive();

/// An element is requested from a full block.
KILN_TESSEL_FOUNDATION_EXPORT void reportNoFreeElement();

/// The free chain leads to an element that is not free.
KILN_TESSEL_FOUNDATION_EXPORT void reportFreeChainBroken();

/// An element that is already free is freed.
KILN_TESSEL_FOUNDATION_EXPORT void reportFreedTwice();

} // namespace Kiln::Tessel::PoolAssertions
