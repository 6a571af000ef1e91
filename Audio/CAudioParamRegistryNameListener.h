#pragma once
#include "Audio/CAudioParamChangeListener.h"

namespace orl {

class CAudioParamRegistry;

// Listens to a registry's preset name parameter: a change made elsewhere (not by the registry
// itself, not as part of a batch such as a preset load, and not the allocation of the parameter)
// renames the current session entry.
class CAudioParamRegistryNameListener : public CAudioParamChangeListener {
public:
    explicit CAudioParamRegistryNameListener(CAudioParamRegistry& registry) : m_registry(registry) {}

    void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                        CAudioParamLockContext& lock, const CAudioParamUndoContext& undo) override;

private:
    CAudioParamRegistry& m_registry;
};

}  // namespace orl
