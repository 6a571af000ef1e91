#include "Core/CPosStream.h"

namespace orl {

static constexpr uint64_t kMaxIntValue = 0x7FFFFFFFu;

CError* CPosStream::getPositionInt(int32_t& out) {
    uint64_t pos = 0;
    if (CError* err = getPosition(pos)) return ORL_PASS(err, CString::empty());
    if (pos > kMaxIntValue)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CPosStream_getPositionInt_Greater2GB The size of the stream is above allowed 2 GB.");
    out = static_cast<int32_t>(pos);
    return nullptr;
}

CError* CPosStream::getSizeInt(int32_t& out) {
    uint64_t size = 0;
    if (CError* err = getSize(size)) return ORL_PASS(err, CString::empty());
    if (size > kMaxIntValue)
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CPosStream_getSizeInt_Greater2GB The size of the stream is above allowed 2 GB.");
    out = static_cast<int32_t>(size);
    return nullptr;
}

}  // namespace orl
