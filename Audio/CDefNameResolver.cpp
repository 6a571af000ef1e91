#include "Audio/CDefNameResolver.h"

namespace orl {

CString CDefNameResolver::resolve(const CString& base, const CString& name) {
    if (name.isEmpty()) return CString();
    if (name.at(0) == u'/') return name.substring(1);

    int32_t baseLen = base.length();
    int32_t pos = 0;
    while (pos < name.length() && name.at(pos) == u'^') {
        // Climbing above the first component leaves nothing of the base.
        int32_t dot = baseLen > 0 ? base.findLast(u'.', baseLen - 1) : -1;
        baseLen = dot < 0 ? 0 : dot;
        ++pos;
    }

    CString out = base.substring(0, baseLen);
    if (pos < name.length()) {
        if (!out.isEmpty()) out.append(u'.');
        out.append(name.substring(pos));
    }
    return out;
}

}  // namespace orl
