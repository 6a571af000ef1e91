#pragma once
#include <cstdint>

#include "Audio/CAudioProcessDefBase.h"
#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

// The definition of a filter switch (`audio:modProcessSwitch`): a list of alternatives, each an
// index and the definition to run for it. `process-list` holds ";"-separated items "index:name";
// a name with a leading dot is a child of the switch ("0:.flt1"), any other a path. `def-index`
// is the item used when the `index` parameter names none; `def-child-name` names the children
// the switch makes; with `is-allpass-bank` false the copies run in series.
class CModProcessSwitchDef : public CAudioProcessDefBase {
public:
    CModProcessSwitchDef();
    CError* init() override;
    CAudioProcessBase* createProcess() const override;

    int32_t itemCount() const { return m_items.count(); }
    // The definition of the item with this index, else of `def-index`'s item, else null.
    const CAudioProcessDefBase* find(int32_t index) const;
    int32_t defaultIndex() const { return m_defIndex; }
    const CString& childName() const { return m_childName; }
    bool isAllpassBank() const { return m_allpassBank; }

private:
    struct CItem {
        int32_t index = 0;
        CString name;
        mutable const CAudioProcessDefBase* def = nullptr;
    };
    const CItem* findItem(int32_t index) const;

    CArray<CItem, 4> m_items;
    int32_t m_defIndex = 0;
    CString m_childName;
    bool m_allpassBank = false;
};

}  // namespace orl
