#pragma once

namespace orl {

class CAudioParam;
class CAudioParamChange;

// An undo step as a change sees it: it is told of the group that a change touches just before
// and just after the change reaches the parameter's UI-side storage, and keeps what it needs.
// Only storable and persistent parameters are reported. Called with the parameter locked.
class CAudioParamUndoSink {
public:
    virtual ~CAudioParamUndoSink() = default;
    virtual void snapshotBefore(const CAudioParam& param, const CAudioParamChange& record) = 0;
    virtual void snapshotAfter(const CAudioParam& param, const CAudioParamChange& record) = 0;
};

}  // namespace orl
