#include "Audio/Converters/CConverterRegistration.h"

#include "Audio/Converters/CAudioParamConverterBW.h"
#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Converters/CAudioParamConverterFreq.h"
#include "Audio/Converters/CAudioParamConverterGain.h"
#include "Audio/Converters/CAudioParamConverterPercent.h"
#include "Audio/Converters/CAudioParamConverterRatio.h"
#include "Audio/Converters/CAudioParamConverterReal.h"
#include "Audio/Converters/CAudioParamConverterText.h"
#include "Audio/Converters/CAudioParamConverterTime.h"

namespace orl {

namespace {

// Converters read their settings in init; only an enum's own state names have a handler.
const CCreatorRow kConverterCreators[] = {
    {"audio:cvt-gain", &createObjectOf<CAudioParamConverterGain>, &CObject::fillDescriptors},
    {"audio:cvt-freq", &createObjectOf<CAudioParamConverterFreq>, &CObject::fillDescriptors},
    {"audio:cvt-bw", &createObjectOf<CAudioParamConverterBW>, &CObject::fillDescriptors},
    {"audio:cvt-ratio", &createObjectOf<CAudioParamConverterRatio>, &CObject::fillDescriptors},
    {"audio:cvt-text", &createObjectOf<CAudioParamConverterText>, &CObject::fillDescriptors},
    {"audio:cvt-real", &createObjectOf<CAudioParamConverterReal>, &CObject::fillDescriptors},
    {"audio:cvt-percent", &createObjectOf<CAudioParamConverterPercent>, &CObject::fillDescriptors},
    {"audio:cvt-time", &createObjectOf<CAudioParamConverterTime>, &CObject::fillDescriptors},
    {"audio:cvt-enum", &createObjectOf<CAudioParamConverterEnum>, &CAudioParamConverterEnum::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

bool CConverterRegistration::ensureCreatorsRegistered() {
    static const bool registered = registerCreatorTable(kConverterCreators);
    return registered;
}

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_convertersRegistered = CConverterRegistration::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
