#pragma once
#include <cstdint>

#include "Audio/Processes/CModWholeNode.h"

namespace orl {

// Codes channel pairs to mid and side and back (`audio:modMSCoder`). Two channels whose `pairs`
// elements hold the same number n > 0 form a pair, whatever their groups; the first of them in
// channel order is the left (or mid) side. A third channel with the same number, a channel whose
// number no other channel shares, and every channel while `bypass` is on pass unchanged, by
// reference. Each channel keeps its index, group and latency.
//
//   encoder: x = (a + b) / 2, y = (a - b) / 2
//   decoder: x = a + b,       y = a - b
class CModMSCoder : public CModWholeNode {
public:
    enum EParam : int32_t { kPairs = 0, kMode = 1, kBypass = 2 };

    struct CPair {
        int32_t first;
        int32_t second;  // -1 while no second channel was found
        int32_t number;
    };

    int32_t pairCount() const { return m_pairCount; }
    const CPair& pair(int32_t i) const { return m_pairs[i]; }
    int32_t passCount() const { return m_passCount; }
    int32_t passChannel(int32_t i) const { return m_pass[i]; }
    bool isDecoder() const { return m_decoder; }

protected:
    void updateNode() override;
    void processBlock() override;

private:
    CPair m_pairs[kMaxChannels];
    int32_t m_pairCount = 0;
    int32_t m_pass[kMaxChannels];
    int32_t m_passCount = 0;
    bool m_decoder = false;
};

}  // namespace orl
