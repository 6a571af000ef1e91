#include "Core/CCreatorRegistry.h"

#include "Core/CError.h"

namespace orl {
namespace {

CMap<CString, CCreatorRegistry::Entry>& table() {
    // Kept for the life of the process: descriptors are referenced by every object.
    static auto* t = new CMap<CString, CCreatorRegistry::Entry>();
    return *t;
}

}  // namespace

CError* CCreatorRegistry::registerCreators(const CCreatorRow* rows) {
    auto& t = table();
    for (const CCreatorRow* row = rows; row && row->creator; ++row) {
        CString tag(row->tag);
        if (t.count(tag)) {
            return ORL_ERROR(nullptr, CString::empty(),
                             "@orlstr_CObject_registerCreator Creator for '%1' has already been registered.", tag);
        }
        auto* descriptors = new CClassDescriptors();
        if (row->filler) row->filler(*descriptors);
        t[tag] = Entry{row->creator, descriptors};
    }
    return nullptr;
}

const CCreatorRegistry::Entry* CCreatorRegistry::find(const CString& tag) {
    auto& t = table();
    auto it = t.find(tag);
    return it == t.end() ? nullptr : &it->second;
}

bool registerCreatorTable(const CCreatorRow* rows) {
    CError* err = CCreatorRegistry::registerCreators(rows);
    if (!err) return true;
    logError(err);
    deleteError(err);
    return false;
}

}  // namespace orl
