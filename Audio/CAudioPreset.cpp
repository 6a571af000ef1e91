#include "Audio/CAudioPreset.h"

#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/COutputStream.h"

namespace orl {

namespace {

// Bytes taken from the stream at a time while an item is read.
constexpr uint32_t kReadPiece = 65536;

}  // namespace

const CByteBuffer* CAudioPreset::findItem(const CString& key) const {
    auto it = m_items.find(key);
    return it == m_items.end() ? nullptr : &it->second;
}

void CAudioPreset::splitName(const CString& fullName, CString& outId, CString& outText) {
    const int32_t colon = fullName.find(u':');
    if (colon < 0) {
        outId = CString();
        outText = fullName;
        return;
    }
    outId = fullName.substring(0, colon);
    outText = fullName.substring(colon + 1);
}

CString CAudioPreset::visibleName() const {
    CString id, text;
    splitName(m_name, id, text);
    return text;
}

CError* CAudioPreset::readBytes(CInputStream& in, CByteBuffer& out) {
    uint32_t size = 0;
    if (CError* err = in.readUInt32(size)) return ORL_PASS(err, CString::empty());
    if (size > CInputStream::kMaxBlockBytes) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioPreset_readBytes_TooLarge Preset item size %1 too large.",
                         CString::fromInt(size));
    }
    CByteBuffer bytes;
    uint32_t done = 0;
    while (done < size) {
        const uint32_t piece = size - done < kReadPiece ? size - done : kReadPiece;
        bytes.resize(done + piece);
        if (CError* err = in.read(bytes.data() + done, piece)) return ORL_PASS(err, CString::empty());
        done += piece;
    }
    out = static_cast<CByteBuffer&&>(bytes);
    return nullptr;
}

CError* CAudioPreset::read(CInputStream& in) {
    CString name;
    if (CError* err = in.readString(name)) return ORL_PASS(err, CString::empty());
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return ORL_PASS(err, name);
    TItems items;
    for (uint32_t i = 0; i < count; ++i) {
        CString key;
        if (CError* err = in.readString(key)) return ORL_PASS(err, name);
        CByteBuffer bytes;
        if (CError* err = readBytes(in, bytes)) return ORL_PASS(err, name);
        items[key] = static_cast<CByteBuffer&&>(bytes);
    }
    m_name = name;
    m_items = static_cast<TItems&&>(items);
    return nullptr;
}

CError* CAudioPreset::write(COutputStream& out) const {
    if (CError* err = out.writeString(m_name)) return ORL_PASS(err, m_name);
    if (CError* err = out.writeUInt32(static_cast<uint32_t>(m_items.size()))) return ORL_PASS(err, m_name);
    for (const auto& [key, bytes] : m_items) {
        if (CError* err = out.writeString(key)) return ORL_PASS(err, m_name);
        if (CError* err = out.writeUInt32(bytes.size())) return ORL_PASS(err, m_name);
        if (bytes.size() > 0) {
            if (CError* err = out.write(bytes.data(), bytes.size())) return ORL_PASS(err, m_name);
        }
    }
    return nullptr;
}

CError* CAudioPreset::readCompressed(CInputStream& in) {
    CByteBuffer record;
    if (CError* err = in.readCompressedData(record, kBlockId)) return ORL_PASS(err, CString::empty());
    CMemoryReader reader(record.data(), record.size());
    if (CError* err = read(reader)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CAudioPreset::writeCompressed(COutputStream& out) const {
    CByteBuffer record;
    {
        CByteBufferWriter writer(record);
        if (CError* err = write(writer)) return ORL_PASS(err, m_name);
    }
    if (CError* err = out.writeCompressedData(kBlockId, record)) return ORL_PASS(err, m_name);
    return nullptr;
}

}  // namespace orl
