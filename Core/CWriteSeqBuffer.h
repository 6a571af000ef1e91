#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/COutputStream.h"

namespace orl {

// Collects written bytes in memory as a list of chunks, for data whose length has to be
// written before it. The first chunk lies inside the object, so short data costs no
// allocation; further chunks come from the pools. Nothing is ever moved once written.
class CWriteSeqBuffer : public COutputStream {
public:
    static constexpr uint32_t kFirstChunkBytes = 1024;

    // chunkSize: the least size of every chunk after the first.
    explicit CWriteSeqBuffer(uint32_t chunkSize = 2048);
    ~CWriteSeqBuffer() override;
    CWriteSeqBuffer(const CWriteSeqBuffer&) = delete;
    CWriteSeqBuffer& operator=(const CWriteSeqBuffer&) = delete;

    // Fills the current chunk; what doesn't fit goes into one new chunk of the larger of the
    // remainder and the chunk size.
    CError* write(const void* buffer, uint32_t count) override;
    // Writes the chunks in order, one write per chunk.
    CError* writeTo(COutputStream& out) const;

    uint64_t size() const { return m_size; }
    int32_t chunkCount() const { return m_chunks.count(); }
    // Forgets the contents and gives the extra chunks back.
    void clear();

private:
    struct Chunk {
        uint8_t* data;
        uint32_t used;
        uint32_t capacity;
    };

    CArray<Chunk, 4> m_chunks;
    uint32_t m_chunkSize;
    uint64_t m_size = 0;
    alignas(16) uint8_t m_first[kFirstChunkBytes];
};

}  // namespace orl
