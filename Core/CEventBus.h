#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CClassDescriptors.h"
#include "Core/CMap.h"
#include "Core/CString.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CError;
class CObject;

// Events by name between the objects of one instance tree. Senders are known by full name, so
// a listener may register before its sender exists. Listeners owned by the firing thread run
// after the firing loop, in listener order; others get the event through their owner's bridge.
class CEventBus {
public:
    CEventBus();
    ~CEventBus();
    CEventBus(const CEventBus&) = delete;
    CEventBus& operator=(const CEventBus&) = delete;

    uint32_t id() const { return m_id; }
    int32_t takeObjectId();
    // A live bus by number, for threads that may outlive an instance. Null once it is gone.
    static bool isLive(uint32_t id);

    void listen(const CString& sender, const CString& event, CObject* listener, const CEventEntry& entry,
                const CString& procName);
    void unlisten(const CString& sender, const CString& event, CObject* listener);
    CError* fire(const CString& sender, const CString& event, CAttrMap& params, bool forceBridge);

    static void* operator new(size_t size);
    static void operator delete(void* p);

private:
    struct CRegistration {
        CEventEntry entry;
        CString procName;
    };
    struct CDeferred {
        CObject* listener;
        CEventEntry entry;
        uint32_t thread;
        bool cancelled;
    };
    struct CSender {
        CString name;
        CCriticalSection lock{2000, true};
        int32_t useCount = 0;
        CMap<CString, CMap<CObject*, CRegistration>> events;
        CArray<CDeferred, 8> queue;
        int32_t readIndex = 0;
    };

    CSender* acquire(const CString& name, bool create);
    void releaseSender(CSender* sender);
    CError* drain(CSender* sender, CAttrMap& params);

    uint32_t m_id;
    CCriticalSection m_idLock;
    int32_t m_nextObjectId = 0;
    CCriticalSection m_sendersLock;
    CMap<CString, CSender*> m_senders;
};

}  // namespace orl
