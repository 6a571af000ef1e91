#pragma once
#include "Core/CArray.h"
#include "Core/CObject.h"

namespace orl {

class CAudioParamFilter;

// The declaration of a parameter filter in a process definition. `src` and `dst` list the
// parameters, separated by commas, by names relative to the definition; turning them into full
// names and parameters is left to whoever makes the filters. Each tag has a subclass that makes
// its kind of filter.
class CAudioParamFilterDef : public CObject {
public:
    CAudioParamFilterDef();
    CError* init() override;

    // The names as written, trimmed, empty pieces dropped, in order.
    const CArray<CString>& srcNames() const { return m_srcNames; }
    const CArray<CString>& dstNames() const { return m_dstNames; }

    // A new filter of this definition's kind with its settings, not yet given its parameters
    // (CAudioParamFilter::init). The caller owns it.
    virtual CAudioParamFilter* createFilter() const = 0;

protected:
    // Gives a new filter the definition's name for its messages.
    CAudioParamFilter* named(CAudioParamFilter* filter) const;

private:
    CArray<CString> m_srcNames;
    CArray<CString> m_dstNames;
};

}  // namespace orl
