#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of a channel router, tag "audio:modRouter". Attributes: `is-output` (the
// routing parameter's elements belong to the output side) and `channel-counts-param` (the full
// name of the parameter that receives the channel count of each group; empty for none).
// Allocations: 0 `routing`, 1 `grouping`, both read element by element.
class CModRouterDef : public CAudioProcessDefBase {
public:
    CModRouterDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    bool isOutput() const { return m_output; }
    const CString& channelCountsParam() const { return m_channelCountsParam; }

private:
    bool m_output = false;
    CString m_channelCountsParam;
};

}  // namespace orl
