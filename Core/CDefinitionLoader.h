#pragma once
#include <cstdint>

namespace orl {

class CDefCursor;
class CDefStringTable;
class CError;
class CObject;
class CString;

// Turns a compiled definition tree into objects: the tree's root node becomes the target, its
// children become the target's children with their whole life cycle, and run-time templates
// stay as unparsed fragments until instantiated.
class CDefinitionLoader {
public:
    // Reads the compiled tree `name` (a resource, else a file of that path) into target.
    static CError* loadXMLData(CObject* target, const CString& name, bool runStages);

    // Reads a compiled tree that is already in memory. With isStatic the bytes outlive every
    // object made from them and templates point into them; otherwise templates copy.
    static CError* loadTree(CObject* target, const uint8_t* data, uint32_t size, bool isStatic, bool runStages);

    // The recursive loader, advancing cursor past what it read. hasPrefix: a fragment's tag id
    // comes first. skipAttrs: the node's attributes are passed over. attrsOnly: stop after them.
    static CError* load(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic, bool runStages,
                        bool hasPrefix, bool skipAttrs, bool attrsOnly);

    // Nesting deeper than this is taken for damaged data.
    static constexpr int kMaxDepth = 256;

private:
    static CError* loadNode(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic,
                            bool runStages, bool hasPrefix, bool skipAttrs, bool attrsOnly, int depth);
    static CError* loadTemplate(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic);
};

}  // namespace orl
