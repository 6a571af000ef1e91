#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;

// Changes collected for one hand-over to the audio side, in the order they were made.
class CAudioParamBatchList {
public:
    virtual ~CAudioParamBatchList() = default;
    // Takes over the record, a clone that owns its numbers and items.
    virtual void append(CAudioParam& param, CAudioParamChange* record) = 0;
};

}  // namespace orl
