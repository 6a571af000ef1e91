#include "Audio/CAudioParamReader.h"

#include <cmath>

namespace orl {

double roundParam(double x) { return x >= 0.0 ? std::floor(x + 0.5) : -std::floor(0.5 - x); }

double CAudioParamReader::pick(int32_t group, int32_t element) const {
    const int32_t g = isSingleGroup() ? 0 : group;
    const int32_t e = isSingleElement() ? 0 : element;
    if (g >= 0 && g < groupCount() && e >= 0 && e < elementCount(g)) return value(g, e);
    const int32_t defaults = defaultCount();
    if (e >= 0 && e < defaults) return defaultValue(e);
    return defaults > 0 ? defaultValue(0) : 0.0;
}

}  // namespace orl
