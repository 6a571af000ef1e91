#pragma once
#include "Audio/CAudioProcessDefBase.h"

namespace orl {

// The definition of the gain multiplier, tag "audio:modMult". Attributes: `is-inverted`
// (multiply by 1 - b) and `is-division` (divide by b); the second factor b arrives on port 1.
class CModMultDef : public CAudioProcessDefBase {
public:
    CModMultDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    bool isInverted() const { return m_inverted; }
    bool isDivision() const { return m_division; }

private:
    bool m_inverted = false;
    bool m_division = false;
};

}  // namespace orl
