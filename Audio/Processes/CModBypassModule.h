#pragma once
#include <cstdint>

#include "Audio/CAudioModule.h"
#include "Audio/Processes/CGuardNoise.h"

namespace orl {

// Chooses what one channel carries: its own input, the alternate channel of port 1 (the dry
// signal, for bypass) or silence. `enable` picks the alternate; with `enable` on and no
// alternate the channel is silent. A solo on any group but this channel's own silences the
// channel whatever `enable` says. Input and alternate pass on by reference; silence is guard
// noise.
class CModBypassModule : public CAudioModule {
public:
    enum EParam : int32_t { kEnable, kGroupSolo, kParamCount };
    enum EOutcome : int32_t { kInput, kAlternate, kSilent };
    static constexpr int32_t kGroupCount = 8;

    CModBypassModule() { m_paramCount = kParamCount; }

    void update() override;
    void process();

    EOutcome outcome() const { return m_outcome; }

private:
    CGuardNoise m_noise;
    const CAudioChannel* m_alternate = nullptr;
    EOutcome m_outcome = kInput;
};

}  // namespace orl
