// A compiled definition tree from outside: loaded the way a file is, then every run-time
// template at the root instantiated, which parses the template fragments too.
#include <cstddef>
#include <cstdint>

#include "Core/CDefinitionLoader.h"
#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    CObject* root = CObject::newRoot();
    CError* err = CDefinitionLoader::loadTree(root, data, static_cast<uint32_t>(size), false, false);
    deleteError(err);
    const int32_t loaded = root->childCount();
    for (int32_t i = 0; i < loaded; ++i) {
        CObject* child = root->child(i);
        if (!child->templatePayload()) continue;
        CObject* instance = nullptr;
        deleteError(root->createChild(instance, child->baseName(), "instance", true));
    }
    root->destroy();
    return 0;
}
