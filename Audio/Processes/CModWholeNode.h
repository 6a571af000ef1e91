#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioParamReader.h"
#include "Audio/CAudioProcessBase.h"
#include "Core/CArray.h"

namespace orl {

class CAudioParamAllocDef;

// The base of the nodes that work on all their channels at once and have no module: routers,
// the mid/side coder, the junction and the output. It binds the definition's parameter
// allocations and listens to them, so that a change runs `update` at the next block start, and
// gives the node the parameter pick-up rule of the modules. Such a node rebuilds all it derives
// from its parameters in every update, so it keeps no per-parameter change flags.
class CModWholeNode : public CAudioProcessBase {
public:
    ~CModWholeNode() override;
    void update() override;
    void process() override;
    void release() override;

protected:
    // Rebuilds the node's tables from its parameters and its input channels.
    virtual void updateNode() = 0;
    // The block's work, after the base step; the port tables hold one buffer per channel.
    virtual void processBlock() = 0;

    // The parameter of allocation `index`, or null when the definition or the host has none.
    const CAudioParamReader* param(int32_t index) const;
    // The parameter of the allocation whose parameter name ends in `localName`, or null.
    const CAudioParamReader* namedParam(const char* localName) const;
    // The value at element `element` by the shared rule, read at this node's group; the
    // built-in default when the slot is unbound.
    double paramElement(int32_t index, int32_t element, double builtinDefault) const;
    double paramValue(int32_t index, double builtinDefault) const {
        return paramElement(index, m_element, builtinDefault);
    }
    // Elements that the parameter holds in the group this node reads; 0 when unbound.
    int32_t paramElementCount(int32_t index) const;
    // Hands input channel `in` of port 0 on as output channel `index` with one more reference.
    void passOn(const CAudioChannel& in, int32_t index, int32_t group, int32_t latency);

private:


};

}  // namespace orl
