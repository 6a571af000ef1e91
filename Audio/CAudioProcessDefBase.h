#pragma once
#include <cstdint>

#include "Audio/CAudioProcessDefBaseInit.h"

namespace orl {

class CAudioProcessBase;

// How several sources that reach one channel are combined.
enum class EInputComboMode { kSum, kAvg, kMax };

// What every process definition says about how its process runs: stacking, the multiband frame,
// bypass, input combination and crossfades. Module definitions and subgraphs derive from it.
class CAudioProcessDefBase : public CAudioProcessDefBaseInit {
public:
    CError* init() override;

    // Any parameter change goes through a module crossfade.
    bool isSmoothUpdate() const { return m_smoothUpdate; }
    // One inner instance per channel group in use, or per channel with isChannelStack().
    bool isStacked() const { return m_stacked; }
    bool isChannelStack() const { return m_channelStack; }
    // Parameter that restricts the stack; empty if none.
    const CString& stackParam() const { return m_stackParam; }
    // Added to the stack index handed to the instances; never negative.
    int32_t stackIndexShift() const { return m_stackIndexShift; }

    bool isMultiband() const { return m_multiband; }
    const CString& multibandFreqParam() const { return m_mbFreqParam; }
    const CString& multibandCountParam() const { return m_mbCountParam; }
    const CString& multibandPre() const { return m_mbPre; }
    const CString& multibandLp() const { return m_mbLp; }
    const CString& multibandHp() const { return m_mbHp; }
    const CString& multibandPtPorts() const { return m_mbPtPorts; }

    // A leaf makes one module for all its channels instead of one per channel.
    bool isTerminalWhole() const { return m_terminalWhole; }
    // A template for other definitions: no process is made where it stands.
    bool isPrototype() const { return m_prototype; }
    // Outside the automatic chain; fed by explicit links only.
    bool isOutOfOrder() const { return m_outOfOrder; }
    // The bypass state that leaves this process out of the graph while active; -1 for none.
    int32_t bypassStateId() const { return m_bypassStateId; }
    // Latency-compensating delays at the inputs start from the first input sample.
    bool isCompInput() const { return m_compInput; }
    EInputComboMode inputComboMode() const { return m_inputComboMode; }
    // Length of a module crossfade, in seconds.
    double xfadeLength() const { return m_xfadeLength; }

    // Makes the run-time node of this definition; a definition that makes none returns null.
    virtual CAudioProcessBase* createProcess() const;
    // A junction that the link resolver looks through instead of making a node of it.
    virtual bool isPassThrough() const { return false; }

protected:
    // True when the attribute is there with a non-empty value: an empty value counts as absent,
    // so that defaults other than 0 apply to it as well.
    bool hasValue(const char* name) const;

private:
    bool m_smoothUpdate = false;
    bool m_stacked = false;
    bool m_channelStack = false;
    CString m_stackParam;
    int32_t m_stackIndexShift = 0;
    bool m_multiband = false;
    CString m_mbFreqParam;
    CString m_mbCountParam;
    CString m_mbPre;
    CString m_mbLp;
    CString m_mbHp;
    CString m_mbPtPorts;
    bool m_terminalWhole = false;
    bool m_prototype = false;
    bool m_outOfOrder = false;
    int32_t m_bypassStateId = -1;
    bool m_compInput = false;
    EInputComboMode m_inputComboMode = EInputComboMode::kSum;
    double m_xfadeLength = 0.015;
};

}  // namespace orl
