#pragma once

namespace orl {

class CAudioParamChange;
class CAudioParamInfo;
class CError;
class CInputStream;
class CObject;

// What a window's control implements to mirror a parameter through the interface client.
class CParamInterfaceParamListener {
public:
    virtual ~CParamInterfaceParamListener() = default;
    // The start of `update-param-info` after the listen id: u32 has-info, then the information
    // when it is 1. A control that needs the information reads it with readInfo; this one reads
    // past it.
    virtual CError* onInfo(CInputStream& in);
    // A change of the parameter, or with group 9999 its new layout and defaults.
    virtual void onUpdate(const CAudioParamChange& record) = 0;

    // Reads the has-info flag and, when set, the information (converters looked up from
    // lookFrom when given).
    static CError* readInfo(CInputStream& in, CAudioParamInfo& out, bool& hasInfo, const CObject* lookFrom = nullptr);
};

}  // namespace orl
