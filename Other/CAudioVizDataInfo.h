#pragma once
#include "Core/CString.h"
#include "Other/CAudioVizData.h"

namespace orl {

// A text and a number from a source. No module of this product makes one; displays read it
// when another build sends it.
class CAudioVizDataInfo : public CAudioVizData {
public:
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t type() const override { return kInfo; }

    CString text;
    int32_t value = 0;
};

}  // namespace orl
