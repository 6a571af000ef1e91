#include "Audio/Processes/CAudioParamWriter.h"

#include "Audio/CAudioParamReader.h"

namespace orl {

CAudioParamWriter* CAudioParamWriter::of(CAudioParamHost* host) { return dynamic_cast<CAudioParamWriter*>(host); }

}  // namespace orl
