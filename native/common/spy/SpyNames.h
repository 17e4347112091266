/// The registry of names that all processes of an X display share.
#pragma once

#include "common/spy/SpyMemRef.h"

class CSpyVariant;
class ITalString;

/// A spy map from names to variants, found through a global slot of the base heap. Hold the heap mutex around
/// a look-up that a change depends on.
class CSpyNames {
public:
    static constexpr unsigned int GlobalSlot = 1;

    /// Finds the map or makes it, under the heap mutex.
    CSpyNames();

    /// Whether this is the registry that the base heap names.
    bool isCurrent() const;
    /// Takes `key` and `value` over. @return whether the map took them
    bool registerName(CSpyVariant& key, const CSpyVariant& value);
    /// Empty for an unknown or empty name.
    CSpyVariant get(const ITalString& name);
    CSpyVariant remove(const ITalString& name);

private:
    CSpyMemRef m_refNames;
    CSpyHeap* m_pHeap;
};
