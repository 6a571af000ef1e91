#pragma once
#include <atomic>
#include <cstdint>

namespace orl {

class CAudioParam;

// A module input bound to a parameter: when a change of the parameter concerns the binding's
// group and element, the audio thread raises the update flag and adds the change's group bit
// to the mask. A group or element of -1 takes every group or element. Nodes live in the
// collector's binding pool and in the parameter's list, linked through next.
struct CAudioParamBinding {
    CAudioParam* param = nullptr;
    std::atomic<bool>* updatePending = nullptr;
    std::atomic<uint32_t>* changedMask = nullptr;
    int32_t group = -1;
    int32_t element = -1;
    CAudioParamBinding* next = nullptr;
};

}  // namespace orl
