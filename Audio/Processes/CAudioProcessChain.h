#pragma once
#include <cstdint>

#include "Audio/Processes/CModWholeNode.h"
#include "Core/CArray.h"

namespace orl {

class CAudioProcessDefBase;
class CString;

// A node that runs a row of child processes in series, made at run time rather than declared:
// the first child takes this node's port-0 input, each further child the outputs of the one
// before it, and the last one's outputs leave the node. An empty row passes the input on.
// Children keep their state while others are added or removed around them; each is told the
// block's sample count that its predecessor produced, so a row may change the rate.
class CAudioProcessChain : public CModWholeNode {
public:
    ~CAudioProcessChain() override;
    void resetState() override;
    void release() override;

    int32_t childCount() const { return m_children.count(); }
    CAudioProcessBase* childAt(int32_t i) const { return m_children[i]; }

protected:
    void processBlock() override;

    // Makes a child of `def` named `name` and puts it at `position` (0..childCount()). False,
    // with the failure logged, when the child cannot be made.
    bool insertChild(int32_t position, const CAudioProcessDefBase* def, const CString& name);
    // Releases and destroys the child at `position`.
    void removeChild(int32_t position);
    void removeAll();

private:
    void relink();

    CArray<CAudioProcessBase*, 8> m_children;
};

}  // namespace orl
