#pragma once
#include "Core/CArray.h"
#include "Other/CAudioVizData.h"

namespace orl {

// A scope picture: two lists of 4-byte items, kept as raw words. No module of this product
// makes one.
class CAudioVizDataVScope : public CAudioVizData {
public:
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t type() const override { return kVScope; }

    CArray<uint32_t> points1;
    CArray<uint32_t> points2;
};

}  // namespace orl
