#pragma once
#include "Core/CString.h"

namespace orl {

class CError;
class CInputStream;

// Data that loads itself from a named resource, or a file of that path when no resource has the
// name: the stream goes to read, which knows the format.
class CDataSet {
public:
    virtual ~CDataSet() = default;
    CError* load(const CString& name);

protected:
    virtual CError* read(CInputStream& in) = 0;
};

}  // namespace orl
