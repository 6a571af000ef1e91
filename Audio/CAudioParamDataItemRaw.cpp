#include "Audio/CAudioParamDataItemRaw.h"

#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {

// Bytes are read in pieces of this size, so that a damaged size only costs what the stream
// really holds before it ends.
constexpr uint32_t kReadPiece = 65536;

}  // namespace

CAudioParamDataItem* CAudioParamDataItemRaw::clone() const { return new CAudioParamDataItemRaw(*this); }

CError* CAudioParamDataItemRaw::save(COutputStream& out) const {
    CError* err = out.writeUInt32(m_bytes.size());
    if (!err && m_bytes.size() > 0) err = out.write(m_bytes.data(), m_bytes.size());
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

CError* CAudioParamDataItemRaw::load(CInputStream& in) {
    uint32_t size = 0;
    if (CError* err = in.readUInt32(size)) return ORL_PASS(err, CString::empty());
    if (size > kMaxBytes) {
        return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CAudioParamDataItemRaw_load_Size Invalid data size %1.",
                         CString::fromInt(size));
    }
    // The buffer doubles as the bytes arrive and ends at exactly the size.
    CByteBuffer bytes;
    uint32_t done = 0;
    while (done < size) {
        const uint32_t piece = size - done < kReadPiece ? size - done : kReadPiece;
        if (done + piece > bytes.size()) {
            const uint32_t doubled = bytes.size() > size / 2 ? size : bytes.size() * 2;
            bytes.resize(doubled > done + piece ? doubled : done + piece);
        }
        if (CError* err = in.read(bytes.data() + done, piece)) return ORL_PASS(err, CString::empty());
        done += piece;
    }
    m_bytes = static_cast<CByteBuffer&&>(bytes);
    return nullptr;
}

}  // namespace orl
