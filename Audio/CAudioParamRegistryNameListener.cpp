#include "Audio/CAudioParamRegistryNameListener.h"

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamUndoContext.h"

namespace orl {

void CAudioParamRegistryNameListener::onParamChanged(const void* source, CAudioParam& param,
                                                     const CAudioParamChange& record, CAudioParamLockContext& lock,
                                                     const CAudioParamUndoContext& undo) {
    // Its own writes, preset loads (batched) and the parameter's allocation or the audio
    // thread's writes (applied at once) aren't renames by anybody.
    if (source == &m_registry || undo.batch || undo.applyNow) return;
    if (record.group == CAudioParamChange::kWholeParam) return;
    (void)lock;
    CString text;
    param.getString(text, 0, 0);
    m_registry.onPresetNameChanged(text, source);
}

}  // namespace orl
