#include "Audio/CAudioProcessLinkDef.h"

#include <cstdint>

#include "Core/CError.h"

namespace orl {

namespace {

int hexDigit(char16_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Ports are written plainly: no sign and none of the other prefixes that attribute integers
// accept, so that a typo can't turn into a different port.
bool parsePort(const CString& text, int32_t& out) {
    int32_t start = 0;
    int base = 10;
    if (text.length() > 2 && text.at(0) == u'0' && (text.at(1) == u'x' || text.at(1) == u'X')) {
        start = 2;
        base = 16;
    }
    if (start >= text.length()) return false;
    int64_t v = 0;
    for (int32_t i = start; i < text.length(); ++i) {
        const int d = hexDigit(text.at(i));
        if (d < 0 || d >= base) return false;
        v = v * base + d;
        if (v > INT32_MAX) return false;
    }
    out = static_cast<int32_t>(v);
    return true;
}

bool isBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

}  // namespace

bool CAudioProcessLinkDef::parseEndpoint(const CString& text, CString& name, int32_t& port) {
    const int32_t slash = text.find(u'/');
    if (slash < 0) {
        name = text;
        port = 0;
        return true;
    }
    name = text.substring(0, slash);
    return parsePort(text.substring(slash + 1), port);
}

CError* CAudioProcessLinkDef::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());

    const CString& src = getAttrString(CString("src"));
    if (src.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CAudioProcessLinkDef_init_NoSrc No 'src' attribute defined.");
    }
    const CString& dst = getAttrString(CString("dst"));
    if (dst.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CAudioProcessLinkDef_init_NoDst No 'dst' attribute defined.");
    }
    if (!parseEndpoint(src, m_srcName, m_srcPort)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessLinkDef_init_SrcPortError Invalid port in the 'src' attribute value "
                         "'%1' specified.",
                         src);
    }
    if (m_srcName.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessLinkDef_init_SrcNameError Invalid process in the 'src' attribute value "
                         "'%1' specified.",
                         src);
    }
    if (!parseEndpoint(dst, m_dstName, m_dstPort)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessLinkDef_init_DstPortError Invalid port in the 'dst' attribute value "
                         "'%1' specified.",
                         dst);
    }
    if (m_dstName.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessLinkDef_init_DstNameError Invalid process in the 'dst' attribute value "
                         "'%1' specified.",
                         dst);
    }

    const CString& stateText = getAttrString(CString("state-id"));
    int32_t state = -1;
    if (!stateText.isEmpty() && (!stateText.toInt(state) || state < -1)) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioProcessLinkDef_init_StateError Invalid state identifier '%1' specified.",
                         stateText);
    }
    m_stateId = state;

    // Entries that are negative or no integer are skipped, not refused: the rest of the list
    // still holds.
    m_bypassStateIds.clear();
    const CString& ids = getAttrString(CString("bypass-state-id"));
    for (int32_t pos = 0; pos < ids.length();) {
        while (pos < ids.length() && isBlank(ids.at(pos))) ++pos;
        const int32_t start = pos;
        while (pos < ids.length() && !isBlank(ids.at(pos))) ++pos;
        if (pos == start) break;
        int32_t id = 0;
        if (ids.substring(start, pos - start).toInt(id) && id >= 0) m_bypassStateIds.add(id);
    }
    return nullptr;
}

}  // namespace orl

