/// A walk over the entries of a container in spy memory.
#pragma once

#include "common/spy/SpyVariant.h"

/// Starts before the first entry. What it answers stays its own and changes with each step; what the values
/// refer to belongs to the container.
class IVariantIterator {
public:
    /// Steps to the next entry. Call it after hasMoreElements answered true.
    virtual CSpyVariant& nextElement() = 0;
    virtual bool hasMoreElements() = 0;
    /// The entry that the last step found; empty before the first.
    virtual CSpyVariant& element() = 0;

    virtual ~IVariantIterator() = default;
};
