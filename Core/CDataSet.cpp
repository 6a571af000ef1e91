#include "Core/CDataSet.h"

#include "Core/CError.h"
#include "Core/CResourceReader.h"

namespace orl {

CError* CDataSet::load(const CString& name) {
    CResourceReader reader;
    if (CError* err = reader.open(name)) return ORL_PASS(err, CString::empty());
    if (CError* err = read(reader)) return ORL_PASS(err, name);
    return nullptr;
}

}  // namespace orl
