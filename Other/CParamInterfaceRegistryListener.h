#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

class CAudioPreset;
class CAudioPresetBank;

// What a window's preset list or selector implements to hear of a registry through the
// interface client. The names are the registry's full preset names ("id:name").
class CParamInterfaceRegistryListener {
public:
    virtual ~CParamInterfaceRegistryListener() = default;
    // Kept empty so that the list handler sits in the slot after it.
    virtual void onReserved() {}
    // The factory (isFactory) or session list and its current index (-1 for the factory).
    virtual void onList(bool isFactory, const CString& registryId, const CArray<CString>& names, int32_t currentIndex) = 0;
    // The answers to requestPreset and requestBank, with the tag the request carried.
    virtual void onPreset(uint32_t tag, const CAudioPreset& preset) = 0;
    virtual void onBank(uint32_t tag, const CAudioPresetBank& bank) = 0;
};

}  // namespace orl
