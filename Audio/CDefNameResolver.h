#pragma once
#include "Core/CString.h"

namespace orl {

// Turns a parameter or process name written in a definition into a full dotted name, relative to
// the full name of the definition that holds it.
class CDefNameResolver {
public:
    // "/a.b" is absolute and gives "a.b"; each leading "^" drops one trailing component of base
    // before the rest is appended behind a dot; any other name is appended behind a dot. An empty
    // name gives the empty text, so that "no name" stays recognisable after resolution.
    static CString resolve(const CString& base, const CString& name);
};

}  // namespace orl
