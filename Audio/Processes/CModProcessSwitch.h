#pragma once
#include <cstdint>

#include "Audio/Processes/CAudioProcessChain.h"

namespace orl {

// A filter switch (`audio:modProcessSwitch`): runs `count` copies (at least one) of the
// alternative that `index` selects, in series between its input and output. A change of either
// parameter rebuilds the row at the next block start; the new filters start from silence.
class CModProcessSwitch : public CAudioProcessChain {
public:
    // The alternative and copy count now running (-1 before the first block).
    int32_t runningIndex() const { return m_index; }
    int32_t runningCount() const { return m_count; }

protected:
    void updateNode() override;

private:
    int32_t m_index = -1;
    int32_t m_count = -1;
};

}  // namespace orl
