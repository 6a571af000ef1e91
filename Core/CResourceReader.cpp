#include "Core/CResourceReader.h"

#include "Core/CResourceMap.h"

namespace orl {

CError* CResourceReader::open(const CString& name) {
    if (CError* err = close()) return ORL_PASS(err, CString::empty());
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (CResourceMap::find(name, data, size)) {
        m_memory.setData(data, size);
        m_active = &m_memory;
        return nullptr;
    }
    if (CError* err = m_file.open(name, false)) return ORL_PASS(err, CString::empty());
    m_active = &m_file;
    return nullptr;
}

CError* CResourceReader::close() {
    m_active = nullptr;
    m_memory.setData(nullptr, 0);
    if (CError* err = m_file.close()) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::noStream() const {
    return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CResourceReader_NoStream No resource is open.");
}

const uint8_t* CResourceReader::getDirectPointer() { return m_active ? m_active->getDirectPointer() : nullptr; }

CError* CResourceReader::skip(uint32_t count) {
    if (!m_active) return noStream();
    if (CError* err = m_active->skip(count)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::read(void* buffer, uint32_t count) {
    if (!m_active) return noStream();
    if (CError* err = m_active->read(buffer, count)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::readStreamed(void* buffer, uint32_t& inOutCount) {
    if (!m_active) return noStream();
    if (CError* err = m_active->readStreamed(buffer, inOutCount)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::getPosition(uint64_t& out) {
    if (!m_active) return noStream();
    if (CError* err = m_active->getPosition(out)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::getSize(uint64_t& out) {
    if (!m_active) return noStream();
    if (CError* err = m_active->getSize(out)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CResourceReader::setPosition(uint64_t position) {
    if (!m_active) return noStream();
    if (CError* err = m_active->setPosition(position)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

}  // namespace orl
