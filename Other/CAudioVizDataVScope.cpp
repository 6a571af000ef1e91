#include "Other/CAudioVizDataVScope.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {

constexpr uint32_t kMaxPoints = 1u << 20;

CError* savePoints(COutputStream& out, const CArray<uint32_t>& points) {
    if (CError* err = out.writeUInt32(static_cast<uint32_t>(points.count()))) return err;
    for (uint32_t v : points) {
        if (CError* err = out.writeUInt32(v)) return err;
    }
    return nullptr;
}

CError* loadPoints(CInputStream& in, CArray<uint32_t>& points) {
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return err;
    if (count > kMaxPoints) {
        return ORL_ERROR(nullptr, CString(),
                         "@orlstr_CAudioVizDataVScope_load_TooManyPoints Too many scope points (%1).",
                         CString::fromInt(static_cast<int64_t>(count)));
    }
    points.clear();
    points.reserve(static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t v = 0;
        if (CError* err = in.readUInt32(v)) return err;
        points.add(v);
    }
    return nullptr;
}

}  // namespace

CError* CAudioVizDataVScope::save(COutputStream& out) const {
    if (CError* err = CAudioVizData::save(out)) return ORL_PASS(err, CString());
    if (CError* err = savePoints(out, points1)) return ORL_PASS(err, CString());
    if (CError* err = savePoints(out, points2)) return ORL_PASS(err, CString());
    return nullptr;
}

CError* CAudioVizDataVScope::load(CInputStream& in) {
    if (CError* err = CAudioVizData::load(in)) return ORL_PASS(err, CString());
    if (CError* err = loadPoints(in, points1)) return ORL_PASS(err, CString());
    if (CError* err = loadPoints(in, points2)) return ORL_PASS(err, CString());
    return nullptr;
}

}  // namespace orl
