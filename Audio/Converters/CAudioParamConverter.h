#pragma once
#include <cstdint>

#include "Core/CObject.h"

namespace orl {

class CAudioParamData;
class CAudioParamInfo;

// Gives one number of a parameter element its meaning: how the plain value (the stored double)
// maps to the normalised 0..1 of knobs and the host, to the number a user reads, and to and
// from text. Converters are shared and hold only their settings, read at init; the range comes
// with each call from the parameter's info, so one object serves every parameter of its kind
// from any thread.
class CAudioParamConverter : public CObject {
public:
    // The forms of `format`.
    enum FormatMode : int32_t {
        kFormatNormal = 0,
        kFormatCompact = 1,  // narrow host and knob readouts
        kFormatShort = 2,
        kFormatPrecise = 3,  // two decimals wherever the converter has decimals
    };

    CAudioParamConverter();

    // Reads `label` and `is-discrete`; derived classes read and check their own settings.
    CError* init() override;

    // Virtual operations, in slot order.
    // The plain value of text, clamped to the element's range; on failure the minimum, ok false.
    virtual double parseValue(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const;
    // The plain value of text as written, for ranges and defaults; on failure a neutral value.
    virtual double parseRaw(const CAudioParamInfo& info, int32_t element, const CString& text, bool& ok) const = 0;
    // Text of a plain value, without the label, replacing out.
    virtual void format(CString& out, const CAudioParamInfo& info, int32_t element, double value,
                        const CAudioParamData* dataTable, int32_t mode) const = 0;
    virtual double normToValue(const CAudioParamInfo& info, int32_t element, double norm) const;
    virtual double valueToNorm(const CAudioParamInfo& info, int32_t element, double value) const;
    // The number in the units a user reads; by default the plain value itself.
    virtual double normToDisplay(const CAudioParamInfo& info, int32_t element, double norm) const;
    virtual double displayToNorm(const CAudioParamInfo& info, int32_t element, double display) const;

    const CString& label() const { return m_label; }
    bool isDiscrete() const { return m_isDiscrete; }

    // Number syntax of parameter text: optional sign, digits with "." or "," as the decimal
    // point, optional exponent; true only when the whole text is a number.
    static bool parseNumber(const CString& text, double& out);
    // Half away from zero: floor(x + 0.5), and -floor(0.5 - x) below zero.
    static double roundHalfAway(double x);
    // Appends x as fixed-point text with the given decimals: round(x * 10^d) with the point
    // d places from its end.
    static void appendFixed(CString& out, double x, int32_t decimals);
    // Keeps v between the two ends of the element's range, whichever end is larger.
    static double clampToRange(const CAudioParamInfo& info, int32_t element, double v);

protected:
    // Text that names the parameter's first switch gives that switch's plain value.
    static bool matchSwitchName(const CAudioParamInfo& info, const CString& text, double& value);
    // The first switch's name when value is that switch's value (within 0.5 % or 0.005).
    static const CString* switchNameOf(const CAudioParamInfo& info, double value);
    // A plain number or the first switch's name.
    static bool parsePlainNumber(const CAudioParamInfo& info, const CString& text, double& out);
    // Reads an optional numeric setting: false (with the text in bad) when it is present,
    // not empty and not a number.
    bool readNumberSetting(const char* name, double fallback, double& out, CString& bad) const;
    bool readIntSetting(const char* name, int32_t fallback, int32_t& out, CString& bad) const;

    // The linear map that most converters use.
    static double linearNormToValue(const CAudioParamInfo& info, int32_t element, double norm);
    static double linearValueToNorm(const CAudioParamInfo& info, int32_t element, double value);
    // Normalised values stay in 0..1; NaN counts as 0.
    static double clampNorm(double norm);

private:
    CString m_label;
    bool m_isDiscrete = false;
};

}  // namespace orl
