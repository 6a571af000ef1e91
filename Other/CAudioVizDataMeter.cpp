#include "Other/CAudioVizDataMeter.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

CError* CAudioVizDataMeter::save(COutputStream& out) const {
    if (CError* err = CAudioVizData::save(out)) return ORL_PASS(err, CString());
    if (CError* err = out.writeDouble(value1)) return ORL_PASS(err, CString());
    if (CError* err = out.writeDouble(value2)) return ORL_PASS(err, CString());
    return nullptr;
}

CError* CAudioVizDataMeter::load(CInputStream& in) {
    if (CError* err = CAudioVizData::load(in)) return ORL_PASS(err, CString());
    if (CError* err = in.readDouble(value1)) return ORL_PASS(err, CString());
    if (CError* err = in.readDouble(value2)) return ORL_PASS(err, CString());
    return nullptr;
}

}  // namespace orl
