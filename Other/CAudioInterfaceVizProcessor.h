#pragma once

namespace orl {

class CError;
class CInputStream;

// The target that the interface client hands the visualisation messages to.
class CAudioInterfaceVizProcessor {
public:
    // Virtual operations, in slot order.
    virtual ~CAudioInterfaceVizProcessor() = default;
    virtual void onStopViz() = 0;
    virtual void onClearClient() = 0;
    virtual void onStartViz() = 0;
    // The payload of `viz-data`, after the message name.
    virtual CError* onVizData(CInputStream& in) = 0;
    // The payload of `export-slot-names`.
    virtual CError* onExportSlotNames(CInputStream& in) = 0;
};

}  // namespace orl
