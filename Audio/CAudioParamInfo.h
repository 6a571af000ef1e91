#pragma once
#include <cstdint>

#include "Audio/CAudioParamStorage.h"
#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

class CAudioParamConverter;
class CError;
class CInputStream;
class CObject;
class COutputStream;

// What a parameter definition says, read once from its `audio:param` node: layout, flags,
// names, one converter and one range per number of an element, state and switch names, and
// the defaults. The record is filled by the parse helpers below, each from attribute text.
class CAudioParamInfo {
public:
    enum DataType : int32_t { kNumeric = 0, kString = 1, kRaw = 2 };
    // A string or raw value is an id into the data table; this range covers every id.
    static constexpr double kNonNumericMaximum = 8388608.0;
    // Short state names are cut to this many characters.
    static constexpr int32_t kShortStateLength = 7;

    // Gives the states of a state-names value that begins with "@": the preset names of the
    // stored list `listName` ("@/name": global data, "@name": local data), registry prefixes
    // already removed. A name may carry a short form after ";". False when nothing is stored.
    using TStateListSource = bool (*)(const CString& listName, bool global, CArray<CString>& names);
    // Installed by the application data once it exists; null (the start) means nothing stored.
    static void setStateListSource(TStateListSource source);

    // Fields, in the order of the definition's content.
    int32_t elementSize = 1;
    int32_t dataType = kNumeric;
    bool singleGroup = false;
    bool singleElement = false;
    bool global = false;
    bool storable = false;
    bool persistent = false;
    CString name;
    CString visualName;
    CString registryPath;
    CArray<CString> converterNames;
    CArray<const CAudioParamConverter*> converters;
    CArray<double> minima;
    CArray<double> maxima;
    CArray<CString> stateNames;
    CArray<CString> shortStateNames;
    CArray<double> switchValues;
    CArray<CString> switchNames;
    // The default data: the layout, the default elements as its defaults, and group 0 holding
    // the same elements. A parameter's storages start from it.
    CAudioParamStorage defaultData;
    // The parsed def-values that defaultData is made from, element after element: for numeric
    // data elementSize numbers per element; for string and raw data one text per element.
    CArray<double> defaultNumbers;
    CArray<CString> defaultTexts;

    bool isNumeric() const { return dataType == kNumeric; }
    // Per number of an element; an index outside the arrays reads index 0, and an empty array
    // gives 0.0, 1.0 or null.
    double minimum(int32_t element) const;
    double maximum(int32_t element) const;
    const CAudioParamConverter* converter(int32_t element) const;
    // Number of whole elements among the defaults.
    int32_t defaultElementCount() const;
    // Makes defaultData from the layout and the parsed defaults; fillFromNode does it last.
    void buildDefaultData();

    // The stored description: version, flags, names, layout, per number of an element its
    // converter name and range, states, switches, and the default data with all its groups.
    static constexpr uint32_t kVersion = 1;
    CError* save(COutputStream& out) const;
    // Reads what save writes; on failure the record keeps what it had. Converters are looked
    // up as in parseConverterNames when lookFrom is given, else left null.
    CError* load(CInputStream& in, const CObject* lookFrom = nullptr, const CString& basePath = CString());

    // The whole record from a definition node: `element-size`, `data-type`, the flags,
    // `visual-name`, `param-registry`, `converter`, `converter2`..., `switch-values`,
    // `switch-names`, `state-names`, `min-values`, `max-values`, `def-values`. The name is
    // the node's full name. Converters are looked up from lookFrom (see parseConverterNames).
    CError* fillFromNode(const CObject& node, const CObject& lookFrom, const CString& basePath);

    // Takes one converter path per number of an element and finds each from lookFrom: as
    // written, or else below basePath when one is given ("gain" below "shared::audio.paramcvt").
    CError* parseConverterNames(const CArray<CString>& names, const CObject& lookFrom, const CString& basePath);
    // Blank-separated minima and maxima, one per number of an element, through each number's
    // converter (parseRaw). Non-numeric data takes 0 to kNonNumericMaximum without parsing.
    CError* parseMinMaxValues(const CString& minText, const CString& maxText);
    // "full|short;full|short..." or "@list" (see TStateListSource).
    CError* parseStateNames(const CString& text);
    // Comma-separated plain values and their names, pairwise.
    CError* parseSwitches(const CString& valuesText, const CString& namesText);
    // Elements separated by "," or ";", the numbers of one element by blanks, each number
    // through its converter (parseRaw). String and raw data keep one text per element.
    CError* parseDefValues(const CString& text);

    // Splits a state list into full and short names: items at ";", each "full|short" or one
    // name for both, trimmed of blanks, the short form cut to kShortStateLength. A text that
    // begins with "@" asks the state list source. The arrays are emptied first.
    static CError* parseStateList(const CString& text, CArray<CString>& fullNames, CArray<CString>& shortNames,
                                  const CString& objectName);
};

}  // namespace orl
