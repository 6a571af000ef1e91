#include "Other/CParamInterfaceParamListener.h"

#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/CObject.h"

namespace orl {

CError* CParamInterfaceParamListener::onInfo(CInputStream& in) {
    CAudioParamInfo ignored;
    bool hasInfo = false;
    return readInfo(in, ignored, hasInfo);
}

CError* CParamInterfaceParamListener::readInfo(CInputStream& in, CAudioParamInfo& out, bool& hasInfo,
                                               const CObject* lookFrom) {
    uint32_t flag = 0;
    hasInfo = false;
    if (CError* err = in.readUInt32(flag)) return ORL_PASS(err, CString::empty());
    if (flag == 0) return nullptr;
    if (CError* err = out.load(in, lookFrom)) return ORL_PASS(err, CString::empty());
    hasInfo = true;
    return nullptr;
}

}  // namespace orl
