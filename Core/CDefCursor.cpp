#include "Core/CDefCursor.h"

#include "Core/CError.h"

namespace orl {

CError* CDefCursor::error(const CString& objectName) const {
    return ORL_ERROR(nullptr, objectName,
                     "@orlstr_CMemoryReader_read_EOF Premature end of memory resource while reading (pos %1, count "
                     "%2, size %3).",
                     CString::fromInt(m_pos), CString::fromInt(m_failedCount), CString::fromInt(m_size));
}

}  // namespace orl
