#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CString.h"

namespace orl {

// The audio-side values of one parameter as the graph reads them: a table of up to 8 groups
// across and any number of elements down, with a list of defaults.
class CAudioParamReader {
public:
    virtual ~CAudioParamReader() = default;
    virtual bool isSingleGroup() const = 0;
    virtual bool isSingleElement() const = 0;
    virtual int32_t groupCount() const = 0;
    virtual int32_t elementCount(int32_t group) const = 0;
    virtual double value(int32_t group, int32_t element) const = 0;
    virtual int32_t defaultCount() const = 0;
    virtual double defaultValue(int32_t index) const = 0;

    // The value a reader at (group, element) sees: a single-group parameter is read at group 0,
    // a single-element one at element 0; outside the table the default of that element, or the
    // first default.
    double pick(int32_t group, int32_t element) const;
};

// Rounds a parameter to an integer, half away from zero.
double roundParam(double x);

// What a node registers to hear of changes of a parameter: a change sets the bit of each
// concerned group in the mask and raises the node's update flag. Read by the audio thread at the
// next block start.
struct CAudioParamListener {
    std::atomic<bool>* updatePending = nullptr;
    std::atomic<uint32_t>* changedMask = nullptr;
    int32_t group = 0;
    int32_t element = 0;
    bool allGroups = false;
    bool allElements = false;
};

// Where a graph finds its parameters by full name and registers its listeners: the parameter
// collector of the plug-in instance.
class CAudioParamHost {
public:
    virtual ~CAudioParamHost() = default;
    virtual const CAudioParamReader* findParam(const CString& fullName) = 0;
    virtual void addListener(const CAudioParamReader* param, CAudioParamListener* listener) = 0;
    virtual void removeListener(const CAudioParamReader* param, CAudioParamListener* listener) = 0;
};

}  // namespace orl
