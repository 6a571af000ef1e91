#pragma once
#include <cstdint>

#include "Audio/CAudioParamDataItem.h"
#include "Core/CByteBuffer.h"

namespace orl {

// A run of bytes. Stored as a u32 size and the bytes.
class CAudioParamDataItemRaw : public CAudioParamDataItem {
public:
    // Largest run that load accepts; a larger size is taken for damage.
    static constexpr uint32_t kMaxBytes = 64u << 20;

    CAudioParamDataItemRaw() = default;
    CAudioParamDataItemRaw(const void* bytes, uint32_t size) { m_bytes.assign(bytes, size); }

    CAudioParamDataItem* clone() const override;
    CError* save(COutputStream& out) const override;
    CError* load(CInputStream& in) override;
    int32_t getType() const override { return kRaw; }

    const CByteBuffer& bytes() const { return m_bytes; }
    void setBytes(const void* bytes, uint32_t size) { m_bytes.assign(bytes, size); }

private:
    CByteBuffer m_bytes;
};

}  // namespace orl
