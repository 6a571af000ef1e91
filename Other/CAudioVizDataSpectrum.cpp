#include "Other/CAudioVizDataSpectrum.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {
// More bins than any display draws; a larger count is taken for damage before anything is
// allocated for it.
constexpr uint32_t kMaxBins = 1u << 20;
}  // namespace

CError* CAudioVizDataSpectrum::save(COutputStream& out) const {
    if (CError* err = CAudioVizData::save(out)) return ORL_PASS(err, CString());
    if (CError* err = out.writeUInt32(static_cast<uint32_t>(bins.count()))) return ORL_PASS(err, CString());
    for (double v : bins) {
        if (CError* err = out.writeDouble(v)) return ORL_PASS(err, CString());
    }
    if (CError* err = out.writeDouble(real1)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(int1)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(int2)) return ORL_PASS(err, CString());
    if (CError* err = out.writeDouble(real2)) return ORL_PASS(err, CString());
    if (CError* err = out.writeInt32(int3)) return ORL_PASS(err, CString());
    return nullptr;
}

CError* CAudioVizDataSpectrum::load(CInputStream& in) {
    if (CError* err = CAudioVizData::load(in)) return ORL_PASS(err, CString());
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return ORL_PASS(err, CString());
    if (count > kMaxBins) {
        return ORL_ERROR(nullptr, CString(),
                         "@orlstr_CAudioVizDataSpectrum_load_TooManyBins Too many spectrum bins (%1).",
                         CString::fromInt(static_cast<int64_t>(count)));
    }
    bins.clear();
    bins.reserve(static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i) {
        double v = 0.0;
        if (CError* err = in.readDouble(v)) return ORL_PASS(err, CString());
        bins.add(v);
    }
    if (CError* err = in.readDouble(real1)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(int1)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(int2)) return ORL_PASS(err, CString());
    if (CError* err = in.readDouble(real2)) return ORL_PASS(err, CString());
    if (CError* err = in.readInt32(int3)) return ORL_PASS(err, CString());
    return nullptr;
}

}  // namespace orl
