#include "Audio/Filters/CAudioFilterGen.h"

#include <limits>

namespace orl {

namespace {
bool isBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }
}  // namespace

bool CAudioFilterGen::parseNumbers(const CString& text, CArray<double>& out) {
    out.clear();
    if (text.isEmpty()) return true;
    CArray<CString> pieces;
    text.split(u',', false, true, pieces);
    for (const CString& piece : pieces) {
        int32_t start = 0;
        int32_t end = piece.length();
        while (start < end && isBlank(piece.at(start))) ++start;
        while (end > start && isBlank(piece.at(end - 1))) --end;
        if (end == start) {
            out.add(std::numeric_limits<double>::quiet_NaN());
            continue;
        }
        double v = 0.0;
        if (!piece.substring(start, end - start).toDouble(v)) return false;
        out.add(v);
    }
    return true;
}

}  // namespace orl
