#include "Audio/Converters/CAudioParamConverterText.h"

#include <atomic>

#include "Audio/CAudioParamInfo.h"

namespace orl {

namespace {

std::atomic<CAudioParamConverterText::TDataTextReader> g_dataTextReader{nullptr};

}  // namespace

void CAudioParamConverterText::setDataTextReader(TDataTextReader reader) {
    g_dataTextReader.store(reader, std::memory_order_release);
}

double CAudioParamConverterText::parseValue(const CAudioParamInfo& info, int32_t element, const CString& text,
                                            bool& ok) const {
    double v = 0.0;
    ok = true;
    return parseNumber(text, v) ? v : info.minimum(element);
}

double CAudioParamConverterText::parseRaw(const CAudioParamInfo& /*info*/, int32_t /*element*/, const CString& text,
                                          bool& ok) const {
    double v = 0.0;
    ok = true;
    return parseNumber(text, v) ? v : 0.0;
}

void CAudioParamConverterText::format(CString& out, const CAudioParamInfo& /*info*/, int32_t /*element*/,
                                      double value, const CAudioParamData* dataTable, int32_t /*mode*/) const {
    out.clear();
    const TDataTextReader reader = g_dataTextReader.load(std::memory_order_acquire);
    if (!reader || !dataTable) return;
    const double id = roundHalfAway(value);
    if (!(id >= -2147483648.0 && id <= 2147483647.0)) return;
    CString text;
    if (reader(dataTable, static_cast<int32_t>(id), text)) out.assign(text);
}

}  // namespace orl
