#pragma once
#include <string>

#include "Core/CError.h"
#include "Core/CString.h"

namespace orl::test {

// Text of the framework's strings and errors in a form that test assertions print well.
inline std::string str(const CString& s) { return s.narrowed().c8(); }

// The first line of an error's message (empty for success); the error is deleted.
inline std::string message(CError* err) {
    std::string m = err ? str(err->line(0)) : "";
    deleteError(err);
    return m;
}

}  // namespace orl::test
