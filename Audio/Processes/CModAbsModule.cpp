#include "Audio/Processes/CModAbsModule.h"

#include "Audio/Processes/CLevelerKernel.h"

namespace orl {

void CModAbsModule::process() {
    const CLevelerKernel& k = CLevelerKernel::get();
    for (int32_t o = 0; o < m_outputCount && o < m_inputCount; ++o) k.magnitude(outputData(o), inputData(o), m_sampleCount);
}

}  // namespace orl
