#include "Audio/Filters/CAudioFilterHBFGen.h"

#include <cmath>

#include "Audio/Filters/CAudioFilterList.h"
#include "Core/CError.h"

namespace orl {

namespace {
// Every piece a number: an empty piece counts as a missing coefficient.
bool allNumbers(const CArray<double>& list) {
    for (const double v : list) {
        if (std::isnan(v)) return false;
    }
    return true;
}
}  // namespace

CError* CAudioFilterHBFGen::init() {
    if (CError* err = CAudioFilterGen::init()) return ORL_PASS(err, fullName());
    CArray<double> a;
    CArray<double> b;
    const bool aRead = parseNumbers(getAttrString(CString("a")), a) && allNumbers(a);
    const bool bRead = parseNumbers(getAttrString(CString("b")), b) && allNumbers(b);
    m_sections = 0;
    if (!aRead || a.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterHBFGen_init_NoCoeffsA Not enough 'a' coefficients defined.");
    }
    if (!bRead || b.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterHBFGen_init_NoCoeffsB Not enough 'b' coefficients defined.");
    }
    if (a.count() != b.count()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterHBFGen_init_CoeffsCountError Coefficient count should match in 'a' "
                         "and 'b' coefficient lists.");
    }
    if (a.count() > CAudioFilterDesc::kMaxBranchCoeffs) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioFilterHBFGen_init_TooManyCoeffs At most %1 coefficients are supported in "
                         "each list.",
                         CString::fromInt(CAudioFilterDesc::kMaxBranchCoeffs));
    }
    m_sections = a.count();
    for (int32_t i = 0; i < m_sections; ++i) {
        m_a[i] = a[i];
        m_b[i] = b[i];
    }
    return nullptr;
}

bool CAudioFilterHBFGen::make(const CAudioFilterValues& /*values*/, double /*sampleRate*/,
                              CAudioFilterList& list) const {
    if (m_sections == 0) return true;
    CAudioFilterDesc* d = list.add();
    if (!d) return false;
    d->kind = CAudioFilterDesc::kHalfBand;
    d->sections = m_sections;
    for (int32_t i = 0; i < m_sections; ++i) {
        d->a[i] = m_a[i];
        d->b[i] = m_b[i];
    }
    return true;
}

}  // namespace orl
