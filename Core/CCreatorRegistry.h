#pragma once
#include "Core/CClassDescriptors.h"

namespace orl {

class CError;

// The process-wide table from tag to creator function and class descriptors. Tables are
// registered by static initialisers as the library loads; lookups come later, from any thread
// that builds a tree, after registration has finished.
class CCreatorRegistry {
public:
    struct Entry {
        TCreator creator = nullptr;
        const CClassDescriptors* descriptors = nullptr;
    };

    static CError* registerCreators(const CCreatorRow* rows);
    // The entry of a tag, or null when no class is registered for it.
    static const Entry* find(const CString& tag);
};

}  // namespace orl
