#pragma once
#include "Audio/CAudioParamChangeListener.h"

namespace orl {

class CAudioWrapper;

// Tells the shell that `main-window-size` changed, so that it sizes its window anew.
class CAudioWrapperWinSizeListener : public CAudioParamChangeListener {
public:
    explicit CAudioWrapperWinSizeListener(CAudioWrapper& owner) : m_owner(owner) {}
    void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                        CAudioParamLockContext& lock, const CAudioParamUndoContext& undo) override;

private:
    CAudioWrapper& m_owner;
};

}  // namespace orl
