#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;

// Where a parameter's changes go on their way to the audio-side storage: the list that the
// audio thread takes at its next block, or, with applyNow, the audio-side storage at once.
// Called with the parameter locked; the record is only valid during the call.
class CAudioParamChangeSink {
public:
    virtual ~CAudioParamChangeSink() = default;
    virtual void postChange(CAudioParam& param, const CAudioParamChange& record, bool applyNow) = 0;
};

}  // namespace orl
