#pragma once
#include <cstdint>

#include "Audio/CAudioProcessBase.h"
#include "Core/CArray.h"

namespace orl {

// Runs one inner instance of its definition for each channel group found among its inputs (or
// for each channel with `is-channel-stack`). Each instance reads its own group's parameters and
// keeps its state while its group stays; outputs are merged by channel index.
class CAudioProcessStack : public CAudioProcessBase {
public:
    ~CAudioProcessStack() override;
    void resetState() override;
    void update() override;
    void process() override;
    void release() override;

    int32_t instanceCount() const { return m_instances.count(); }
    // The instance of a group (or channel), or null.
    CAudioProcessBase* instance(int32_t key) const;

private:
    struct CInstance {
        int32_t key = -1;
        CAudioProcessBase* process = nullptr;
    };

    bool isChannelStack() const;
    int32_t keyOf(const CAudioChannel& channel) const { return isChannelStack() ? channel.index : channel.group; }
    void reconcileInstances();

    CArray<CInstance, 8> m_instances;
};

}  // namespace orl
