#include "Other/CAudioVizDataInfo.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

CError* CAudioVizDataInfo::save(COutputStream& out) const {
    if (CError* err = CAudioVizData::save(out)) return ORL_PASS(err, CString());
    if (CError* err = out.writeString(text)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(value)) return ORL_PASS(err, CString());
    return nullptr;
}

CError* CAudioVizDataInfo::load(CInputStream& in) {
    if (CError* err = CAudioVizData::load(in)) return ORL_PASS(err, CString());
    if (CError* err = in.readString(text)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(value)) return ORL_PASS(err, CString());
    return nullptr;
}

}  // namespace orl
