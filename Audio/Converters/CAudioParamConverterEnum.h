#pragma once
#include "Audio/Converters/CAudioParamConverter.h"

namespace orl {

// A choice among named states (`audio:cvt-enum`). The plain value is round(minimum) plus the
// state's index. The names come from the converter's own `state-names` when it has any (an
// `is-boolean` converter without them says "Off" and "On"), else from the parameter's state
// names; with neither the number itself is the text. A value outside the states prints
// "Reserve" ("Rsv" compact).
class CAudioParamConverterEnum : public CAudioParamConverter {
public:
    CError* init() override;

    double parseValue(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const override;
    void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                const CAudioParamData* dataTable, int32_t mode) const override;
    double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const override;
    double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const override;

    // Virtual operations added by this class, in slot order.
    // Replaces the own states with those of a `state-names` attribute; its handler.
    virtual CError* setOwnStates(const CAttrValue& attribute);
    // Reads the attribute's text ("full|short;..." or "@list") into the own states.
    virtual CError* parseOwnStates(const CAttrValue& attribute);

    static void fillDescriptors(CClassDescriptors& descriptors);

    bool isBoolean() const { return m_isBoolean; }
    int32_t ownStateCount() const { return m_fullStates.count(); }

private:
    // The names in use for a parameter: own, the parameter's, or none (both null).
    void pickStates(const CAudioParamInfo& info, const CArray<CString>*& full, const CArray<CString>*& shortNames) const;
    // Integer text, or a full or short state name; false when it is neither.
    bool parseState(const CAudioParamInfo& info, int32_t element, const CString& text, double& value) const;

    bool m_isBoolean = false;
    CArray<CString> m_fullStates;
    CArray<CString> m_shortStates;
};

}  // namespace orl
