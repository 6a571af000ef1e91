#include "Audio/Converters/CAudioParamConverterEnum.h"

#include <initializer_list>

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"

namespace orl {

namespace {

CError* onStateNames(CObject* object, CAttrValue& value) {
    return static_cast<CAudioParamConverterEnum*>(object)->setOwnStates(value);
}

// The states of a switch that was given no names of its own.
const CArray<CString>& booleanStates() {
    static const CArray<CString> states = [] {
        CArray<CString> s;
        s.add(CString("Off"));
        s.add(CString("On"));
        return s;
    }();
    return states;
}

}  // namespace

void CAudioParamConverterEnum::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    descriptors.attrHandlers[CString("state-names")] = &onStateNames;
}

CError* CAudioParamConverterEnum::init() {
    if (CError* err = CAudioParamConverter::init()) return ORL_PASS(err, fullName());
    m_isBoolean = getAttrBool(CString("is-boolean"));
    return nullptr;
}

CError* CAudioParamConverterEnum::setOwnStates(const CAttrValue& attribute) {
    m_fullStates.clear();
    m_shortStates.clear();
    if (CError* err = parseOwnStates(attribute)) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CAudioParamConverterEnum::parseOwnStates(const CAttrValue& attribute) {
    CError* err = CAudioParamInfo::parseStateList(attribute.getString(), m_fullStates, m_shortStates, fullName());
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

void CAudioParamConverterEnum::pickStates(const CAudioParamInfo& info, const CArray<CString>*& full,
                                          const CArray<CString>*& shortNames) const {
    if (!m_fullStates.isEmpty()) {
        full = &m_fullStates;
        shortNames = &m_shortStates;
    } else if (m_isBoolean) {
        full = &booleanStates();
        shortNames = &booleanStates();
    } else if (!info.stateNames.isEmpty()) {
        full = &info.stateNames;
        shortNames = &info.shortStateNames;
    } else {
        full = nullptr;
        shortNames = nullptr;
    }
}

bool CAudioParamConverterEnum::parseState(const CAudioParamInfo& info, int32_t element, const CString& text,
                                          double& value) const {
    int32_t i = 0;
    if (text.toInt(i)) {
        value = i;
        return true;
    }
    const CArray<CString>* full = nullptr;
    const CArray<CString>* shortNames = nullptr;
    pickStates(info, full, shortNames);
    if (!full) return false;
    const double first = roundHalfAway(info.minimum(element));
    for (const CArray<CString>* names : {full, shortNames}) {
        const int32_t at = names->indexOf(text);
        if (at >= 0) {
            value = first + at;
            return true;
        }
    }
    return false;
}

double CAudioParamConverterEnum::parseValue(const CAudioParamInfo& info, int32_t element, const CString& text,
                                            bool& ok) const {
    double v = 0.0;
    ok = parseState(info, element, text, v);
    return ok ? clampToRange(info, element, v) : info.minimum(element);
}

double CAudioParamConverterEnum::parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    ok = parseState(info, element, text, v);
    return ok ? v : 0.0;
}

void CAudioParamConverterEnum::format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                                      const CAudioParamData* /*dataTable*/, int32_t mode) const {
    out.clear();
    const CArray<CString>* full = nullptr;
    const CArray<CString>* shortNames = nullptr;
    pickStates(info, full, shortNames);
    if (!full) {
        appendFixed(out, roundHalfAway(value), 0);
        return;
    }
    const double i = roundHalfAway(value) - roundHalfAway(info.minimum(element));
    if (!(i >= 0.0 && i < full->count())) {
        out.append(mode == kFormatCompact ? "Rsv" : "Reserve");
        return;
    }
    const auto index = static_cast<int32_t>(i);
    // A list filled by hand may lack short forms; the full name stands in.
    const CString& shortName = index < shortNames->count() ? (*shortNames)[index] : (*full)[index];
    if (mode == kFormatCompact) {
        out.assign(shortName.substring(0, 3));
    } else if (mode == kFormatShort) {
        out.assign(shortName);
    } else {
        out.assign((*full)[index]);
    }
}

double CAudioParamConverterEnum::normToValue(const CAudioParamInfo& info, int32_t element, double norm) const {
    return roundHalfAway(linearNormToValue(info, element, norm));
}

double CAudioParamConverterEnum::valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const {
    return linearValueToNorm(info, element, value);
}

}  // namespace orl
