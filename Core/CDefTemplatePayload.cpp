#include "Core/CDefTemplatePayload.h"

#include <cstring>

#include "Core/CDefCursor.h"
#include "Core/CDefStringTable.h"
#include "Core/CDefinitionLoader.h"
#include "Core/CPoolAllocator.h"

namespace orl {

CDefTemplatePayload::CDefTemplatePayload(CDefStringTable* strings, const CString& classTag, const uint8_t* fragment,
                                         uint32_t length, bool isStatic)
    : m_classTag(classTag), m_strings(strings), m_isStatic(isStatic), m_fragment(fragment), m_length(length) {
    m_strings->addRef();
    if (!isStatic) {
        uint8_t* copy = length <= kInlineBytes ? m_inline : static_cast<uint8_t*>(CPoolAllocator::allocate(length));
        if (length) std::memcpy(copy, fragment, length);
        if (copy != m_inline) m_heapCopy = copy;
        m_fragment = copy;
    }
}

CDefTemplatePayload::~CDefTemplatePayload() {
    if (m_heapCopy) CPoolAllocator::release(m_heapCopy);
    m_strings->release();
}

CError* CDefTemplatePayload::applyAttributes(CObject* instance) {
    CDefCursor cursor(m_fragment, m_length);
    return CDefinitionLoader::load(instance, cursor, m_strings, m_isStatic, false, true, false, true);
}

CError* CDefTemplatePayload::createChildren(CObject* instance) {
    CDefCursor cursor(m_fragment, m_length);
    return CDefinitionLoader::load(instance, cursor, m_strings, m_isStatic, false, true, true, false);
}

}  // namespace orl
