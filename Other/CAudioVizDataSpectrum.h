#pragma once
#include "Core/CArray.h"
#include "Other/CAudioVizData.h"

namespace orl {

// A spectrum: the bin values and five numbers that describe them. No module of this product
// makes one; the record is carried as it is read, field by field.
class CAudioVizDataSpectrum : public CAudioVizData {
public:
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t type() const override { return kSpectrum; }

    CArray<double> bins;
    double real1 = 0.0;
    int32_t int1 = 0;
    int32_t int2 = 0;
    double real2 = 0.0;
    int32_t int3 = 0;
};

}  // namespace orl
