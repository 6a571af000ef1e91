#pragma once

namespace orl {

class CAudioParamBatchList;
class CAudioParamUndoSink;

// How a change takes part in undo and how it reaches the audio side. With an undo record, a
// storable or persistent parameter records the changed group before and after. With a batch
// list, a copy of the change is collected there instead of going out on its own, so that a
// step of many parameters reaches the audio thread as one. applyNow asks for the audio side to
// take the change at once, for callers that are on the audio thread themselves.
struct CAudioParamUndoContext {
    CAudioParamUndoSink* undoRecord = nullptr;
    CAudioParamBatchList* batch = nullptr;
    bool applyNow = false;
};

}  // namespace orl
