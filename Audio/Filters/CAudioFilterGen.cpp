#include "Audio/Filters/CAudioFilterGen.h"

#include <limits>

namespace orl {

bool CAudioFilterGen::parseNumbers(const CString& text, CArray<double>& out) {
    out.clear();
    if (text.isEmpty()) return true;
    CArray<CString> pieces;
    text.split(u',', false, true, pieces);
    for (const CString& piece : pieces) {
        const CString number = piece.trimmed();
        if (number.isEmpty()) {
            out.add(std::numeric_limits<double>::quiet_NaN());
            continue;
        }
        double v = 0.0;
        if (!number.toDouble(v)) return false;
        out.add(v);
    }
    return true;
}

}  // namespace orl
