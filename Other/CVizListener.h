#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CAudioVizData;

// A display that draws visualisation records: a level meter, a graph. Called on the window's
// thread.
class CVizListener {
public:
    virtual ~CVizListener() = default;
    // No record came for a while: the display goes to rest.
    virtual void onInactive() = 0;
    // A record of source name is due. The record stays the caller's; flag is 0.
    virtual void onVizData(const CString& name, const CAudioVizData& record, int32_t flag) = 0;
};

}  // namespace orl
