#include "Audio/CAudioProcessDefBase.h"

#include "Core/CError.h"

namespace orl {

namespace {
constexpr double kDefaultXfadeLength = 0.015;
}

bool CAudioProcessDefBase::hasValue(const char* name) const {
    const CAttrValue* v = findAttr(CString(name));
    return v && v->type() != CAttrValue::kEmpty;
}

CError* CAudioProcessDefBase::init() {
    if (CError* err = CAudioProcessDefBaseInit::init()) return ORL_PASS(err, fullName());

    m_smoothUpdate = getAttrBool(CString("is-smooth-update"));
    m_stacked = getAttrBool(CString("is-stacked"));
    m_channelStack = getAttrBool(CString("is-channel-stack"));
    m_stackParam = getAttrString(CString("stack-param"));

    const CString& shiftText = getAttrString(CString("stack-index-shift"));
    int32_t shift = 0;
    if (!shiftText.isEmpty() && (!shiftText.toInt(shift) || shift < 0)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessDefBase_init_InvalidStackIndexShift Invalid stack index shift value "
                         "'%1' specified.",
                         shiftText);
    }
    m_stackIndexShift = shift;

    m_multiband = getAttrBool(CString("is-multiband"));
    m_mbFreqParam = getAttrString(CString("multiband-freq-param"));
    m_mbCountParam = getAttrString(CString("multiband-count-param"));
    m_mbPre = getAttrString(CString("multiband-pre"));
    m_mbLp = getAttrString(CString("multiband-lp"));
    m_mbHp = getAttrString(CString("multiband-hp"));
    m_mbPtPorts = getAttrString(CString("multiband-pt-ports"));
    // The band-splitting frame cannot run without its two parameters, so a definition that asks
    // for it is refused here rather than when the first instance is made.
    if (m_multiband) {
        if (m_mbFreqParam.isEmpty()) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioProcessMB_init_NoMBFreqParamDefined No 'multiband-freq-param' attribute "
                             "defined.");
        }
        if (m_mbCountParam.isEmpty()) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioProcessMB_init_NoMBCountParamDefined No 'multiband-count-param' attribute "
                             "defined.");
        }
    }

    m_terminalWhole = getAttrBool(CString("is-terminal-whole"));
    m_prototype = getAttrBool(CString("is-prototype"));
    m_outOfOrder = getAttrBool(CString("is-outoforder"));

    // A missing value, or one that is no integer, means no bypass state; 0 is a real state id.
    m_bypassStateId = -1;
    if (hasValue("bypass-state-id")) {
        int32_t id = -1;
        if (getAttrString(CString("bypass-state-id")).toInt(id)) m_bypassStateId = id;
    }

    m_compInput = getAttrBool(CString("is-comp-input"));
    const CString& combo = getAttrString(CString("input-combo-mode"));
    m_inputComboMode = combo == "avg" ? EInputComboMode::kAvg
                       : combo == "max" ? EInputComboMode::kMax
                                        : EInputComboMode::kSum;

    m_xfadeLength = hasValue("xfade-length") ? getAttrDouble(CString("xfade-length")) : kDefaultXfadeLength;
    return nullptr;
}

CAudioProcessBase* CAudioProcessDefBase::createProcess() const { return nullptr; }

}  // namespace orl
