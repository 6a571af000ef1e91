#include "Audio/CAudioProcessBypassStateDef.h"

#include <cmath>

#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"

namespace orl {

namespace {

constexpr double kDefaultValue = 1.0;
constexpr double kDefaultStep = 0.01;
// A value meets the condition value within this distance. The slack keeps the ends inclusive
// where binary fractions land a hair outside (1.1 - 1.0 is slightly above 0.1).
constexpr double kValueTolerance = 0.1 + 1e-9;

CString trimmed(const CString& s) {
    int32_t a = 0;
    int32_t b = s.length();
    while (a < b && (s.at(a) == u' ' || s.at(a) == u'\t')) ++a;
    while (b > a && (s.at(b - 1) == u' ' || s.at(b - 1) == u'\t')) --b;
    return s.substring(a, b - a);
}

// Both rounding steps of the interval test go half away from zero, which std::round does.
double stepsOf(double v, double step) { return std::round(v / step); }

}  // namespace

bool CAudioProcessBypassStateDef::CCondition::setRange(const CString& text) {
    const int32_t len = text.length();
    if (len < 5) return false;
    const char16_t open = text.at(0);
    const char16_t close = text.at(len - 1);
    if ((open != u'[' && open != u'(') || (close != u']' && close != u')')) return false;

    CArray<CString> fields;
    text.substring(1, len - 2).split(u';', false, true, fields);
    if (fields.count() < 2 || fields.count() > 3) return false;

    double step = kDefaultStep;
    if (fields.count() == 3 && (!trimmed(fields[2]).toDouble(step) || !(step > 0) || !std::isfinite(step))) {
        return false;
    }
    double bounds[2] = {0, 0};
    bool present[2] = {false, false};
    for (int i = 0; i < 2; ++i) {
        const CString field = trimmed(fields[i]);
        if (field.isEmpty()) continue;
        if (!field.toDouble(bounds[i]) || !std::isfinite(bounds[i])) return false;
        present[i] = true;
    }

    m_isRange = true;
    m_step = step;
    m_hasLow = present[0];
    m_hasHigh = present[1];
    m_low = present[0] ? stepsOf(bounds[0], step) : 0;
    m_high = present[1] ? stepsOf(bounds[1], step) : 0;
    m_lowInclusive = open == u'[';
    m_highInclusive = close == u']';
    return true;
}

void CAudioProcessBypassStateDef::CCondition::setValue(double value) {
    m_isRange = false;
    m_value = value;
}

bool CAudioProcessBypassStateDef::CCondition::holds(double v) const {
    if (!m_isRange) return std::fabs(v - m_value) <= kValueTolerance;
    // Compared in whole steps, so that values a rounding error away from a bound fall on it.
    const double n = stepsOf(v, m_step);
    if (std::isnan(n)) return false;
    if (m_hasLow && (m_lowInclusive ? n < m_low : n <= m_low)) return false;
    if (m_hasHigh && (m_highInclusive ? n > m_high : n >= m_high)) return false;
    return true;
}

bool CAudioProcessBypassStateDef::isActive(double paramValue, double andParamValue) const {
    bool active = paramHolds(paramValue) && (m_andParamName.isEmpty() || andParamHolds(andParamValue));
    return active != m_inverted;
}

CError* CAudioProcessBypassStateDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());

    // Names are relative to the definition that holds the state.
    const CString& base = parent() ? parent()->fullName() : CString::empty();

    m_id = getAttrInt(CString("id"));
    const CString& param = getAttrString(CString("param"));
    if (param.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessBypassStateDef_init_InvalidParam Invalid parameter name specified.");
    }
    m_localParamName = param;
    m_paramName = CDefNameResolver::resolve(base, param);

    const CAttrValue* value = findAttr(CString("value"));
    m_condition.setValue(value && value->type() != CAttrValue::kEmpty ? value->getDouble() : kDefaultValue);
    const CString& range = getAttrString(CString("range"));
    if (!range.isEmpty() && !m_condition.setRange(range)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessBypassStateDef_init_InvalidRange Invalid 'range' attribute value '%1' "
                         "specified.",
                         range);
    }

    // Without a second parameter its value and range play no part, so they aren't judged either.
    m_localAndParamName = getAttrString(CString("and-param"));
    m_andParamName = CDefNameResolver::resolve(base, m_localAndParamName);
    if (!m_andParamName.isEmpty()) {
        const CAttrValue* andValue = findAttr(CString("and-value"));
        m_andCondition.setValue(andValue && andValue->type() != CAttrValue::kEmpty ? andValue->getDouble()
                                                                                     : kDefaultValue);
        const CString& andRange = getAttrString(CString("and-range"));
        if (!andRange.isEmpty() && !m_andCondition.setRange(andRange)) {
            return ORL_ERROR(nullptr, fullName(),
                             "@orlstr_CAudioProcessBypassStateDef_init_InvalidAndRange Invalid 'and-range' attribute "
                             "value '%1' specified.",
                             andRange);
        }
    }

    m_inverted = getAttrBool(CString("is-inverted"));
    return nullptr;
}

}  // namespace orl
