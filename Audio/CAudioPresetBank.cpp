#include "Audio/CAudioPresetBank.h"

#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/COutputStream.h"

namespace orl {

CError* CAudioPresetBank::read(CInputStream& in) {
    CString name;
    if (CError* err = in.readString(name)) return ORL_PASS(err, CString::empty());
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return ORL_PASS(err, name);
    // Grown preset by preset: a damaged count must not reserve memory the stream doesn't hold.
    CArray<CAudioPreset> presets;
    for (uint32_t i = 0; i < count; ++i) {
        CAudioPreset preset;
        if (CError* err = preset.read(in)) return ORL_PASS(err, name);
        presets.add(static_cast<CAudioPreset&&>(preset));
    }
    m_name = name;
    m_presets = static_cast<CArray<CAudioPreset>&&>(presets);
    return nullptr;
}

CError* CAudioPresetBank::write(COutputStream& out) const {
    if (CError* err = out.writeString(m_name)) return ORL_PASS(err, m_name);
    if (CError* err = out.writeUInt32(static_cast<uint32_t>(m_presets.count()))) return ORL_PASS(err, m_name);
    for (const CAudioPreset& preset : m_presets) {
        if (CError* err = preset.write(out)) return ORL_PASS(err, m_name);
    }
    return nullptr;
}

CError* CAudioPresetBank::readCompressed(CInputStream& in) {
    CByteBuffer record;
    if (CError* err = in.readCompressedData(record, kBlockId)) return ORL_PASS(err, CString::empty());
    CMemoryReader reader(record.data(), record.size());
    if (CError* err = read(reader)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CAudioPresetBank::writeCompressed(COutputStream& out) const {
    CByteBuffer record;
    {
        CByteBufferWriter writer(record);
        if (CError* err = write(writer)) return ORL_PASS(err, m_name);
    }
    if (CError* err = out.writeCompressedData(kBlockId, record)) return ORL_PASS(err, m_name);
    return nullptr;
}

CError* CAudioPresetBank::readList(CInputStream& in) {
    uint32_t version = 0;
    if (CError* err = in.readUInt32(version)) return ORL_PASS(err, CString::empty());
    if (version != kListVersion) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioPresetBank_readList_VersionError Unsupported preset list version %1.",
                         CString::fromInt(version));
    }
    CAudioPresetBank bank;
    if (CError* err = bank.read(in)) return ORL_PASS(err, CString::empty());
    m_name = CString();
    m_presets = static_cast<CArray<CAudioPreset>&&>(bank.m_presets);
    return nullptr;
}

CError* CAudioPresetBank::writeList(COutputStream& out) const {
    if (CError* err = out.writeUInt32(kListVersion)) return ORL_PASS(err, m_name);
    if (CError* err = out.writeString(CString())) return ORL_PASS(err, m_name);
    if (CError* err = out.writeUInt32(static_cast<uint32_t>(m_presets.count()))) return ORL_PASS(err, m_name);
    for (const CAudioPreset& preset : m_presets) {
        if (CError* err = preset.write(out)) return ORL_PASS(err, m_name);
    }
    return nullptr;
}

}  // namespace orl
