#pragma once
#include <cstdint>

#include "Core/CObject.h"
#include "Core/COwnedUpdateListener.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioExtParam;

// `audio:cctable`: which host-visible parameter each MIDI controller drives, as kept in the
// stored datum `ccmap` (u32 count, then per entry a u32 controller number and the path of a
// host-visible parameter below this object). Reloaded whenever the datum changes.
class CAudioCCTable : public CObject {
public:
    static constexpr int32_t kControllerCount = 128;

    CAudioCCTable();
    ~CAudioCCTable() override;
    CError* initChilds() override;

    // Reads the datum again; entries read before a damaged part stay.
    void load();
    // The parameter of a controller, or null.
    CAudioExtParam* find(int32_t controller);

private:
    void onStoreChanged(const CUpdateNotifier::Notification& notification);

    CCriticalSection m_lock;
    CAudioExtParam* m_entries[kControllerCount] = {};
    COwnedUpdateListener<CAudioCCTable> m_listener;
};

}  // namespace orl
