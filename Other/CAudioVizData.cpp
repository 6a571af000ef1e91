#include "Other/CAudioVizData.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"
#include "Core/CPoolAllocator.h"
#include "Other/CAudioVizDataInfo.h"
#include "Other/CAudioVizDataMeter.h"
#include "Other/CAudioVizDataSpectrum.h"
#include "Other/CAudioVizDataVScope.h"

namespace orl {

CAudioVizData::~CAudioVizData() = default;

void* CAudioVizData::operator new(size_t size) { return CPoolAllocator::allocate(size); }
void CAudioVizData::operator delete(void* p) { CPoolAllocator::release(p); }

CError* CAudioVizData::save(COutputStream& out) const {
    if (CError* err = out.writeInt32(channel)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(group)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(element)) return ORL_PASS(err, CString());
    if (CError* err = out.writeDouble(time)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(slot)) return ORL_PASS(err, CString());
    return nullptr;
}

CError* CAudioVizData::load(CInputStream& in) {
    if (CError* err = in.readInt32(channel)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(group)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(element)) return ORL_PASS(err, CString());
    if (CError* err = in.readDouble(time)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(slot)) return ORL_PASS(err, CString());
    return nullptr;
}

CAudioVizData* CAudioVizData::create(int32_t type) {
    switch (type) {
        case kMeter: return new CAudioVizDataMeter();
        case kInfo: return new CAudioVizDataInfo();
        case kSpectrum: return new CAudioVizDataSpectrum();
        case kVScope: return new CAudioVizDataVScope();
        default: return nullptr;
    }
}

}  // namespace orl
