#pragma once
#include "Core/CFileReader.h"
#include "Core/CMemoryReaderStatic.h"
#include "Core/CPosInputStream.h"

namespace orl {

// Opens a resource by name: the linked-in bytes when the resource map has the name, else the
// file at that path. It owns the stream it opened and forwards every call to it.
class CResourceReader : public CPosInputStream {
public:
    CResourceReader() = default;
    ~CResourceReader() override = default;

    // Closes the stream opened before. A name that is neither a resource nor a file that
    // opens gives the file reader's error.
    CError* open(const CString& name);
    CError* close();
    bool isOpen() const { return m_active != nullptr; }
    // True while the open stream reads linked-in bytes.
    bool isResource() const { return m_active == &m_memory; }

    const uint8_t* getDirectPointer() override;
    CError* skip(uint32_t count) override;
    CError* read(void* buffer, uint32_t count) override;
    CError* readStreamed(void* buffer, uint32_t& inOutCount) override;
    CError* getPosition(uint64_t& out) override;
    CError* getSize(uint64_t& out) override;
    CError* setPosition(uint64_t position) override;

private:
    CError* noStream() const;

    CMemoryReaderStatic m_memory;
    CFileReader m_file;
    CPosInputStream* m_active = nullptr;
};

}  // namespace orl
