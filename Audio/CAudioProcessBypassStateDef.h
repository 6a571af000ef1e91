#pragma once
#include <cstdint>

#include "Core/CObject.h"

namespace orl {

// A named condition on one parameter, optionally together with a second one. Processes and links
// that refer to its id are left out while it is active. Tag "audio:process-bypass-state".
class CAudioProcessBypassStateDef : public CObject {
public:
    // The test of one parameter value: near a value, or inside an interval "[a;b;step]" whose
    // ends are "[" / "]" closed or "(" / ")" open, with an empty bound leaving that side open.
    class CCondition {
    public:
        // Takes a range text; false if it is malformed.
        bool setRange(const CString& text);
        void setValue(double value);
        bool holds(double v) const;

    private:
        bool m_isRange = false;
        double m_value = 1.0;
        double m_step = 0.01;
        // Bounds in steps; an absent bound leaves that side open.
        bool m_hasLow = false;
        bool m_hasHigh = false;
        bool m_lowInclusive = true;
        bool m_highInclusive = true;
        double m_low = 0;
        double m_high = 0;
    };

    CError* init() override;

    int32_t id() const { return m_id; }
    // Full names, resolved against the definition that holds the state.
    const CString& paramName() const { return m_paramName; }
    // The names as written, for a running process to resolve against its own path.
    const CString& localParamName() const { return m_localParamName; }
    const CString& localAndParamName() const { return m_localAndParamName; }
    // Empty when the condition has one parameter only.
    const CString& andParamName() const { return m_andParamName; }
    bool isInverted() const { return m_inverted; }

    bool paramHolds(double v) const { return m_condition.holds(v); }
    bool andParamHolds(double v) const { return m_andCondition.holds(v); }
    // The state given the values read: both conditions (the second only if there is a second
    // parameter), negated if asked. True means that what refers to the state is bypassed.
    bool isActive(double paramValue, double andParamValue) const;

private:
    int32_t m_id = 0;
    CString m_paramName;
    CString m_localParamName;
    CString m_localAndParamName;
    CString m_andParamName;
    bool m_inverted = false;
    CCondition m_condition;
    CCondition m_andCondition;
};

}  // namespace orl
