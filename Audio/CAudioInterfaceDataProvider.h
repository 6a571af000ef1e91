#pragma once
#include <cstdint>

namespace orl {

class CAudioParam;

// What the interface between audio side and editor asks of the instance: its channel layout,
// its sample rate, the host's edit brackets around a gesture, and the import of the host's
// channel names.
class CAudioInterfaceDataProvider {
public:
    virtual ~CAudioInterfaceDataProvider() = default;
    virtual int32_t getInternalChannelCount() const = 0;
    virtual int32_t getGroupCount() const = 0;
    // Current host channels, side chain included.
    virtual int32_t getInChannelCount() const = 0;
    virtual int32_t getOutChannelCount() const = 0;
    virtual int32_t getSidechainChannelCount() const = 0;
    virtual double getSampleRate() const = 0;
    // A gesture on one element of one group of a parameter begins or ends.
    virtual void beginParamEdit(const CAudioParam* param, int32_t group, int32_t element) = 0;
    virtual void endParamEdit(const CAudioParam* param, int32_t group, int32_t element) = 0;
    virtual void importChannelLabels() = 0;
};

}  // namespace orl
