#include "Audio/CAudioParamInfo.h"

#include <atomic>
#include <cstring>

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamDataItemString.h"
#include "Audio/Converters/CAudioParamConverter.h"
#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/CObject.h"
#include "Core/COutputStream.h"
#include "Core/CUtf8.h"

namespace orl {

namespace {

std::atomic<CAudioParamInfo::TStateListSource> g_stateListSource{nullptr};

inline bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }

CString trimmed(const CString& text) {
    int32_t start = 0;
    int32_t end = text.length();
    while (start < end && isBlank(text.at(start))) ++start;
    while (end > start && isBlank(text.at(end - 1))) --end;
    return text.substring(start, end - start);
}

// Short names have to fit narrow readouts; a cut may leave a blank at the end.
CString shortForm(const CString& text) { return trimmed(text.substring(0, CAudioParamInfo::kShortStateLength)); }

// Pieces between blanks, none empty.
void splitAtBlanks(const CString& text, CArray<CString>& out) {
    out.clear();
    const int32_t n = text.length();
    int32_t i = 0;
    while (i < n) {
        while (i < n && isBlank(text.at(i))) ++i;
        const int32_t start = i;
        while (i < n && !isBlank(text.at(i))) ++i;
        if (i > start) out.add(text.substring(start, i - start));
    }
}

// Pieces between separators, kept even when empty; empty text gives no piece.
void splitTrimmed(const CString& text, char16_t separator, CArray<CString>& out) {
    out.clear();
    if (trimmed(text).isEmpty()) return;
    CArray<CString> pieces;
    text.split(separator, false, true, pieces);
    for (const CString& piece : pieces) out.add(trimmed(piece));
}

CString numberText(int32_t n) { return CString::fromInt(n); }

const CString& attr(const CObject& node, const char* name) { return node.getAttrString(CString(name)); }

// Collects what a stream writes, to get at the UTF-8 form of a text.
class CByteCollector : public COutputStream {
public:
    CError* write(const void* buffer, uint32_t count) override {
        const uint32_t at = bytes.size();
        bytes.resize(at + count);
        std::memcpy(bytes.data() + at, buffer, count);
        return nullptr;
    }
    CByteBuffer bytes;
};

// A raw default is written as text in the definitions; its bytes are that text in UTF-8.
CAudioParamDataItemRaw rawOfText(const CString& text) {
    CByteCollector collector;
    CError* err = collector.writeString(text);
    deleteError(err);
    const uint32_t skip = 4;  // the length before the characters
    if (collector.bytes.size() <= skip) return CAudioParamDataItemRaw();
    return CAudioParamDataItemRaw(collector.bytes.data() + skip, collector.bytes.size() - skip);
}

CString textOfRaw(const CByteBuffer& bytes) {
    CArray<char16_t, 32> units;
    for (uint32_t i = 0; i < bytes.size(); ++i) units.add(0);
    char16_t highest = 0;
    const uint32_t n = CUtf8::decode(bytes.data(), bytes.size(), units.data(), highest);
    return CString(units.data(), static_cast<int32_t>(n));
}

CError* readFlag(CInputStream& in, bool& out) {
    uint32_t v = 0;
    CError* err = in.readUInt32(v);
    out = v != 0;
    return err;
}

}  // namespace

void CAudioParamInfo::setStateListSource(TStateListSource source) {
    g_stateListSource.store(source, std::memory_order_release);
}

double CAudioParamInfo::minimum(int32_t element) const {
    if (element >= 0 && element < minima.count()) return minima[element];
    return minima.isEmpty() ? 0.0 : minima[0];
}

double CAudioParamInfo::maximum(int32_t element) const {
    if (element >= 0 && element < maxima.count()) return maxima[element];
    return maxima.isEmpty() ? 1.0 : maxima[0];
}

const CAudioParamConverter* CAudioParamInfo::converter(int32_t element) const {
    if (element >= 0 && element < converters.count()) return converters[element];
    return converters.isEmpty() ? nullptr : converters[0];
}

int32_t CAudioParamInfo::defaultElementCount() const {
    if (!isNumeric()) return defaultTexts.count();
    return elementSize > 0 ? defaultNumbers.count() / elementSize : 0;
}

// ---- the whole record ----

CError* CAudioParamInfo::fillFromNode(const CObject& node, const CObject& lookFrom, const CString& basePath) {
    name = node.fullName();

    const CString& sizeText = attr(node, "element-size");
    elementSize = 1;
    if (!sizeText.isEmpty() && (!sizeText.toInt(elementSize) || elementSize <= 0)) {
        elementSize = 1;
        return ORL_ERROR(nullptr, name, "@orlstr_CAudioParamDef_init_InvalidElementSize Invalid element size %1 specified.",
                         sizeText);
    }
    const CString& typeText = attr(node, "data-type");
    if (typeText.isEmpty()) {
        dataType = kNumeric;
    } else if (typeText == "string") {
        dataType = kString;
    } else if (typeText == "raw") {
        dataType = kRaw;
    } else {
        return ORL_ERROR(nullptr, name, "@orlstr_CAudioParamInfo_fillFromNode_InvalidDataType Unknown data type '%1' specified.",
                         typeText);
    }
    if (dataType != kNumeric && elementSize != 1) {
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamDef_init_ElementSizeStr Invalid element size %1 for non-float data specified.",
                         numberText(elementSize));
    }

    singleGroup = node.getAttrBool(CString("is-single-group"));
    singleElement = node.getAttrBool(CString("is-single-element"));
    persistent = node.getAttrBool(CString("is-persistent"));
    // A persistent value lives outside the presets' default step, so it is never storable too.
    storable = !persistent && node.getAttrBool(CString("is-storable"));
    global = node.getAttrBool(CString("is-global")) || storable || persistent;
    visualName = attr(node, "visual-name");
    registryPath = attr(node, "param-registry");

    CArray<CString> names;
    for (int32_t k = 1; k <= elementSize; ++k) {
        CString key("converter");
        if (k > 1) key.append(numberText(k));
        const CString& path = node.getAttrString(key);
        if (path.isEmpty()) break;
        names.add(path);
    }
    CError* err = parseConverterNames(names, lookFrom, basePath);
    // Switch and state names come before the values, which may use them.
    if (!err) err = parseSwitches(attr(node, "switch-values"), attr(node, "switch-names"));
    if (!err) err = parseStateNames(attr(node, "state-names"));
    if (!err) err = parseMinMaxValues(attr(node, "min-values"), attr(node, "max-values"));
    if (!err) err = parseDefValues(attr(node, "def-values"));
    if (err) return ORL_PASS(err, name);
    buildDefaultData();
    return nullptr;
}

void CAudioParamInfo::buildDefaultData() {
    defaultData.invalidate();
    if (!defaultData.setLayout(elementSize, dataType, singleGroup, singleElement)) return;
    if (isNumeric()) {
        defaultData.setDefaults(defaultNumbers.data(), defaultNumbers.count(), nullptr);
    } else {
        for (const CString& text : defaultTexts) {
            if (dataType == kString) {
                defaultData.addDefaultItem(CAudioParamDataItemString(text));
            } else {
                defaultData.addDefaultItem(rawOfText(text));
            }
        }
    }
    CAudioParamChange group0;
    group0.setLayoutOf(defaultData);
    group0.group = 0;
    group0.tail = true;
    group0.count = defaultData.defaultCount();
    group0.numbers = defaultData.defaultNumbers().data();
    group0.data = &defaultData.defaultData();
    defaultData.apply(group0);
}

// ---- the stored description ----

CError* CAudioParamInfo::save(COutputStream& out) const {
    CError* err = out.writeUInt32(kVersion);
    if (!err) err = out.writeUInt32(global ? 1 : 0);
    if (!err) err = out.writeUInt32(storable ? 1 : 0);
    if (!err) err = out.writeUInt32(persistent ? 1 : 0);
    if (!err) err = out.writeString(name);
    if (!err) err = out.writeString(visualName);
    if (!err) err = out.writeString(registryPath);
    if (!err) err = out.writeUInt32(static_cast<uint32_t>(elementSize));
    if (!err) err = out.writeUInt32(static_cast<uint32_t>(dataType));
    if (!err) err = out.writeUInt32(singleGroup ? 1 : 0);
    if (!err) err = out.writeUInt32(singleElement ? 1 : 0);
    for (int32_t i = 0; !err && i < elementSize; ++i) {
        err = out.writeString(i < converterNames.count() ? converterNames[i] : CString::empty());
        if (!err) err = out.writeDouble(minimum(i));
        if (!err) err = out.writeDouble(maximum(i));
    }
    if (!err) err = out.writeUInt32(static_cast<uint32_t>(stateNames.count()));
    for (int32_t i = 0; !err && i < stateNames.count(); ++i) {
        err = out.writeString(stateNames[i]);
        if (!err) err = out.writeString(i < shortStateNames.count() ? shortStateNames[i] : stateNames[i]);
    }
    if (!err) err = out.writeUInt32(static_cast<uint32_t>(switchValues.count()));
    for (int32_t i = 0; !err && i < switchValues.count(); ++i) {
        err = out.writeDouble(switchValues[i]);
        if (!err) err = out.writeString(i < switchNames.count() ? switchNames[i] : CString::empty());
    }
    if (!err) err = defaultData.save(out, -1);
    return err ? ORL_PASS(err, name) : nullptr;
}

CError* CAudioParamInfo::load(CInputStream& in, const CObject* lookFrom, const CString& basePath) {
    CAudioParamInfo read;
    uint32_t version = 0;
    if (CError* err = in.readUInt32(version)) return ORL_PASS(err, name);
    if (version != kVersion) {
        return ORL_ERROR(nullptr, name, "@orlstr_CAudioParamInfo_load_VersionError Unsupported data set version %1.",
                         CString::fromInt(version));
    }
    uint32_t size = 0;
    uint32_t type = 0;
    CError* err = readFlag(in, read.global);
    if (!err) err = readFlag(in, read.storable);
    if (!err) err = readFlag(in, read.persistent);
    if (!err) err = in.readString(read.name);
    if (!err) err = in.readString(read.visualName);
    if (!err) err = in.readString(read.registryPath);
    if (!err) err = in.readUInt32(size);
    if (!err) err = in.readUInt32(type);
    if (!err) err = readFlag(in, read.singleGroup);
    if (!err) err = readFlag(in, read.singleElement);
    if (err) return ORL_PASS(err, name);
    if (size > static_cast<uint32_t>(CAudioParamStorage::kMaxElementSize) ||
        !CAudioParamStorage::isGoodLayout(static_cast<int32_t>(size), static_cast<int32_t>(type))) {
        return ORL_ERROR(nullptr, name, "@orlstr_CAudioParamInfo_load_LayoutError Invalid layout (esize=%1, dtype=%2).",
                         CString::fromInt(size), CString::fromInt(type));
    }
    read.elementSize = static_cast<int32_t>(size);
    read.dataType = static_cast<int32_t>(type);

    CArray<CString> names;
    for (int32_t i = 0; !err && i < read.elementSize; ++i) {
        double lo = 0.0;
        double hi = 0.0;
        err = in.readString(names.emplace());
        if (!err) err = in.readDouble(lo);
        if (!err) err = in.readDouble(hi);
        read.minima.add(lo);
        read.maxima.add(hi);
    }
    if (err) return ORL_PASS(err, name);
    if (lookFrom) {
        if ((err = read.parseConverterNames(names, *lookFrom, basePath))) return ORL_PASS(err, name);
    } else {
        read.converterNames = names;
        for (int32_t i = 0; i < read.elementSize; ++i) read.converters.add(nullptr);
    }

    // Counts aren't trusted: entries are read one by one until the stream runs out.
    uint32_t count = 0;
    if ((err = in.readUInt32(count))) return ORL_PASS(err, name);
    for (uint32_t i = 0; !err && i < count; ++i) {
        err = in.readString(read.stateNames.emplace());
        if (!err) err = in.readString(read.shortStateNames.emplace());
    }
    if (!err) err = in.readUInt32(count);
    for (uint32_t i = 0; !err && i < count; ++i) {
        double v = 0.0;
        err = in.readDouble(v);
        read.switchValues.add(v);
        if (!err) err = in.readString(read.switchNames.emplace());
    }
    if (err) return ORL_PASS(err, name);

    // The default elements are those of group 0 of the stored default data.
    CAudioParamStorage& defaults = read.defaultData;
    defaults.setLayout(read.elementSize, read.dataType, read.singleGroup, read.singleElement);
    if ((err = defaults.load(in, -1))) return ORL_PASS(err, name);
    defaults.setDefaults(defaults.groupNumbers(0), defaults.elementCount(0) * read.elementSize, &defaults.data());
    for (int32_t e = 0; e < defaults.defaultCount(); ++e) {
        if (read.isNumeric()) {
            for (int32_t i = 0; i < read.elementSize; ++i) read.defaultNumbers.add(defaults.defaultNumbers()[e * read.elementSize + i]);
            continue;
        }
        int32_t id = 0;
        CAudioParamData::idOf(defaults.defaultNumbers()[e], id);
        const CAudioParamDataItem* item = defaults.defaultData().findItem(id);
        if (const auto* text = dynamic_cast<const CAudioParamDataItemString*>(item)) {
            read.defaultTexts.add(text->text());
        } else if (const auto* raw = dynamic_cast<const CAudioParamDataItemRaw*>(item)) {
            read.defaultTexts.add(textOfRaw(raw->bytes()));
        } else {
            read.defaultTexts.add(CString());
        }
    }
    *this = static_cast<CAudioParamInfo&&>(read);
    return nullptr;
}

// ---- the parts ----

CError* CAudioParamInfo::parseConverterNames(const CArray<CString>& names, const CObject& lookFrom,
                                             const CString& basePath) {
    converterNames.clear();
    converters.clear();
    if (names.count() < elementSize) {
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamInfo_parseConverterNames_NotEnoughConverters Not enough converters defined "
                         "%1 (should be %2).",
                         numberText(names.count()), numberText(elementSize));
    }
    for (int32_t i = 0; i < elementSize; ++i) {
        const CString& path = names[i];
        CObject* found = lookFrom.findObject(path);
        if (!found && !basePath.isEmpty() && !path.isEmpty()) {
            CString below = basePath;
            below.append(u'.');
            below.append(path);
            found = lookFrom.findObject(below);
        }
        const auto* cvt = dynamic_cast<const CAudioParamConverter*>(found);
        if (!cvt) {
            converterNames.clear();
            converters.clear();
            return ORL_ERROR(nullptr, name,
                             "@orlstr_CAudioParamInfo_parseConverterNames_ConverterNotFound Audio parameter converter "
                             "'%1' not found.",
                             path);
        }
        converterNames.add(path);
        converters.add(cvt);
    }
    return nullptr;
}

CError* CAudioParamInfo::parseMinMaxValues(const CString& minText, const CString& maxText) {
    minima.clear();
    maxima.clear();
    if (!isNumeric()) {
        for (int32_t i = 0; i < elementSize; ++i) {
            minima.add(0.0);
            maxima.add(kNonNumericMaximum);
        }
        return nullptr;
    }
    CArray<CString> minItems;
    CArray<CString> maxItems;
    splitAtBlanks(minText, minItems);
    splitAtBlanks(maxText, maxItems);
    if (minItems.count() < elementSize) {
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamInfo_parseMinMaxValues_NotEnoughMin Not enough minimum values defined %1 "
                         "(should be %2).",
                         numberText(minItems.count()), numberText(elementSize));
    }
    if (maxItems.count() < elementSize) {
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamInfo_parseMinMaxValues_NotEnoughMax Not enough maximum values defined %1 "
                         "(should be %2).",
                         numberText(maxItems.count()), numberText(elementSize));
    }
    CArray<double> lo;
    CArray<double> hi;
    for (int32_t i = 0; i < elementSize; ++i) {
        const CAudioParamConverter* cvt = converter(i);
        for (int32_t side = 0; side < 2; ++side) {
            const CString& item = side == 0 ? minItems[i] : maxItems[i];
            bool ok = false;
            double v = 0.0;
            if (cvt) {
                v = cvt->parseRaw(*this, i, item, ok);
            } else {
                ok = CAudioParamConverter::parseNumber(item, v);
            }
            if (!ok) {
                return ORL_ERROR(nullptr, name,
                                 "@orlstr_CAudioParamInfo_parseMinMaxValues_Invalid Invalid range value '%1' in element "
                                 "%2.",
                                 item, numberText(i));
            }
            (side == 0 ? lo : hi).add(v);
        }
        if (lo[i] == hi[i]) {
            return ORL_ERROR(nullptr, name,
                             "@orlstr_CAudioParamInfo_parseMinMaxValues_Zero Zero default min-max values difference "
                             "detected in element %1.",
                             numberText(i));
        }
    }
    minima = static_cast<CArray<double>&&>(lo);
    maxima = static_cast<CArray<double>&&>(hi);
    return nullptr;
}

CError* CAudioParamInfo::parseStateNames(const CString& text) {
    CError* err = parseStateList(text, stateNames, shortStateNames, name);
    return err ? ORL_PASS(err, name) : nullptr;
}

CError* CAudioParamInfo::parseStateList(const CString& text, CArray<CString>& fullNames, CArray<CString>& shortNames,
                                        const CString& objectName) {
    fullNames.clear();
    shortNames.clear();
    if (!text.isEmpty() && text.at(0) == u'@') {
        const bool isGlobal = text.length() > 1 && text.at(1) == u'/';
        const CString listName = text.substring(isGlobal ? 2 : 1);
        const TStateListSource source = g_stateListSource.load(std::memory_order_acquire);
        CArray<CString> presetNames;
        if (!source || !source(listName, isGlobal, presetNames)) {
            return ORL_ERROR(nullptr, objectName,
                             "@orlstr_CAudioParamInfo_parseStateNames_NoData No state names data available in '%1'.",
                             text);
        }
        // A stored name is "full;short" or one name for both.
        for (const CString& presetName : presetNames) {
            const int32_t semicolon = presetName.find(u';');
            const CString full = trimmed(semicolon < 0 ? presetName : presetName.substring(0, semicolon));
            fullNames.add(full);
            shortNames.add(semicolon < 0 ? shortForm(full) : shortForm(trimmed(presetName.substring(semicolon + 1))));
        }
        return nullptr;
    }
    CArray<CString> items;
    splitTrimmed(text, u';', items);
    for (const CString& item : items) {
        const int32_t bar = item.find(u'|');
        const CString full = bar < 0 ? item : trimmed(item.substring(0, bar));
        fullNames.add(full);
        shortNames.add(bar < 0 ? shortForm(full) : shortForm(trimmed(item.substring(bar + 1))));
    }
    return nullptr;
}

CError* CAudioParamInfo::parseSwitches(const CString& valuesText, const CString& namesText) {
    switchValues.clear();
    switchNames.clear();
    CArray<CString> values;
    CArray<CString> names;
    splitTrimmed(valuesText, u',', values);
    splitTrimmed(namesText, u',', names);
    if (values.count() != names.count()) {
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamInfo_parseSwitches_CountMismatch Switch values and names differ in number "
                         "(%1 values, %2 names).",
                         numberText(values.count()), numberText(names.count()));
    }
    for (int32_t i = 0; i < values.count(); ++i) {
        double v = 0.0;
        if (!CAudioParamConverter::parseNumber(values[i], v)) {
            switchValues.clear();
            switchNames.clear();
            return ORL_ERROR(nullptr, name,
                             "@orlstr_CAudioParamInfo_parseSwitches_InvalidValue Invalid switch value '%1' specified.",
                             values[i]);
        }
        switchValues.add(v);
        switchNames.add(names[i]);
    }
    return nullptr;
}

CError* CAudioParamInfo::parseDefValues(const CString& text) {
    defaultNumbers.clear();
    defaultTexts.clear();
    if (!isNumeric()) {
        // A string default is taken as written; an empty text is one empty string.
        CArray<CString> pieces;
        text.split(u',', false, true, pieces);
        for (const CString& piece : pieces) {
            CArray<CString> parts;
            piece.split(u';', false, true, parts);
            for (const CString& part : parts) defaultTexts.add(part);
        }
        if (defaultTexts.isEmpty()) defaultTexts.add(CString());
        return nullptr;
    }
    const int32_t n = text.length();
    int32_t inElement = 0;
    int32_t i = 0;
    while (i < n) {
        const char16_t c = text.at(i);
        if (isBlank(c)) {
            ++i;
            continue;
        }
        if (c == u',' || c == u';') {
            if (inElement != elementSize) {
                defaultNumbers.clear();
                return ORL_ERROR(nullptr, name,
                                 "@orlstr_CAudioParamStorage_parseDefValues_NoElements Not enough default elements at "
                                 "pos %1.",
                                 numberText(i));
            }
            inElement = 0;
            ++i;
            continue;
        }
        const int32_t start = i;
        while (i < n && !isBlank(text.at(i)) && text.at(i) != u',' && text.at(i) != u';') ++i;
        const CString item = text.substring(start, i - start);
        // A complete element may be followed by the next without a separator.
        if (inElement == elementSize) inElement = 0;
        const CAudioParamConverter* cvt = converter(inElement);
        bool ok = false;
        double v = 0.0;
        if (cvt) {
            v = cvt->parseRaw(*this, inElement, item, ok);
        } else {
            ok = CAudioParamConverter::parseNumber(item, v);
        }
        if (!ok) {
            defaultNumbers.clear();
            return ORL_ERROR(nullptr, name,
                             "@orlstr_CAudioParamStorage_parseDefValues_Error Default values parsing error.");
        }
        defaultNumbers.add(v);
        ++inElement;
    }
    if (inElement != 0 && inElement != elementSize) {
        defaultNumbers.clear();
        return ORL_ERROR(nullptr, name,
                         "@orlstr_CAudioParamStorage_parseDefValues_NoElements Not enough default elements at pos %1.",
                         numberText(n));
    }
    if (defaultNumbers.isEmpty()) {
        return ORL_ERROR(nullptr, name, "@orlstr_CAudioParamDef_init_NoDefValues No default values specified.");
    }
    return nullptr;
}

}  // namespace orl
