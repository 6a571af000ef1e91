#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CAudioParamHost;

// The side of the parameter collector through which the audio thread writes a value back, such
// as the channel count of each group that the input router publishes. A collector that offers it
// implements this interface beside CAudioParamHost; nodes find it there.
class CAudioParamWriter {
public:
    virtual ~CAudioParamWriter() = default;
    // Writes `value` to group `group` of the parameter of that full name; an unknown name is
    // ignored.
    virtual void writeParamValue(const CString& fullName, int32_t group, double value) = 0;

    // The writer behind a parameter host, or null when the host offers none.
    static CAudioParamWriter* of(CAudioParamHost* host);
};

}  // namespace orl
