#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

// One link of a subgraph: from a port of one process to a port of another. The name "*" stands
// for the enclosing process itself: its input as a source, its output as a destination.
// Tag "audio:process-link".
class CAudioProcessLinkDef : public CObject {
public:
    CError* init() override;

    const CString& srcName() const { return m_srcName; }
    int32_t srcPort() const { return m_srcPort; }
    const CString& dstName() const { return m_dstName; }
    int32_t dstPort() const { return m_dstPort; }
    // The link state under which the link applies; -1: always.
    int32_t stateId() const { return m_stateId; }
    // The link is dropped while any of these bypass states is active.
    const CArray<int32_t>& bypassStateIds() const { return m_bypassStateIds; }

    // Splits "name" or "name/port" into its parts. The port is a non-negative decimal or "0x"
    // hexadecimal number and 0 when there is no slash. False when the port is malformed; the
    // name may come back empty, which the caller judges.
    static bool parseEndpoint(const CString& text, CString& name, int32_t& port);

private:
    CString m_srcName;
    int32_t m_srcPort = 0;
    CString m_dstName;
    int32_t m_dstPort = 0;
    int32_t m_stateId = -1;
    CArray<int32_t> m_bypassStateIds;
};

}  // namespace orl
