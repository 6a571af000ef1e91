#include "Core/CError.h"

#include <cstring>

#include "Core/CLog.h"
#include "Core/CPoolAllocator.h"

namespace orl {

void* CError::operator new(size_t size) { return CPoolAllocator::allocate(size); }
void CError::operator delete(void* p) { CPoolAllocator::release(p); }

CString CError::text() const {
    CString out;
    for (int32_t i = 0; i < m_lines.count(); ++i) {
        if (i > 0) out.append('\n');
        out.append(m_lines[i]);
    }
    return out;
}

CString formatMessage(const char* message, const CString* params, int paramCount) {
    CString out;
    if (!message) return out;
    const char* text = message;
    if (*text == '@') {
        const char* blank = std::strchr(text, ' ');
        text = blank ? blank + 1 : text + std::strlen(text);
    }
    for (const char* c = text; *c; ++c) {
        if (*c == '%' && c[1] == '%') {
            out.append(u'%');
            ++c;
        } else if (*c == '%' && c[1] >= '1' && c[1] <= '9') {
            int n = c[1] - '1';
            if (n < paramCount) out.append(params[n]);
            ++c;
        } else {
            out.append(static_cast<char16_t>(static_cast<unsigned char>(*c)));
        }
    }
    return out;
}

// "Core/CObject.cpp" -> "Core/CObject": frames name the source without its extension.
static CString frameFile(const char* file) {
    const char* slash = std::strrchr(file, '/');
    const char* dot = std::strrchr(slash ? slash : file, '.');
    return dot ? CString(file, static_cast<int32_t>(dot - file)) : CString(file);
}

CError* addError(CError* err, const char* file, int line, const CString& objectName,
                 const char* message, const CString& p1, const CString& p2, const CString& p3,
                 const CString& p4, const CString& p5) {
    if (!err) err = new CError();
    if (message && *message) {
        const CString params[] = {p1, p2, p3, p4, p5};
        err->addLine(formatMessage(message, params, 5));
    }
    CString frame = frameFile(file ? file : "");
    frame.append("( ");
    frame.append(CString::fromInt(line));
    frame.append(" )");
    if (!objectName.isEmpty()) {
        frame.append(" // ");
        frame.append(objectName);
    }
    err->addLine(frame);
    return err;
}

void logError(const CError* err) {
    if (!err) return;
    for (int32_t i = 0; i < err->lineCount(); ++i) CLog::log(err->line(i).narrowed().c8(), true);
}

void deleteError(CError* err) { delete err; }

}  // namespace orl
