#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioParamReader.h"
#include "Audio/CAudioProcessBase.h"
#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CString.h"

namespace orl {

class CAudioProcessBypassStateDef;
class CAudioProcessDef;
class CAudioProcessLinkStateDef;

// A node that holds a subgraph. Its children are made when the first link reaches them and
// destroyed when the last one goes; the links follow the automatic chain, the explicit links of
// the state in force and the bypass states, and are resolved anew at a block start whenever
// one of those changes. Children run in dependency order.
class CAudioProcess : public CAudioProcessBase {
public:
    ~CAudioProcess() override;
    CError* init() override;
    void resetState() override;
    void update() override;
    void process() override;
    void release() override;

    // Introspection for tests and measurements.
    int32_t sequenceLength() const { return m_sequence.count(); }
    const CString& sequenceName(int32_t i) const { return m_records[m_sequence[i]]->name; }
    CAudioProcessBase* childProcess(const CString& name) const;

private:
    struct CRecord {
        CString name;
        const CAudioProcessDefBase* def = nullptr;
        CAudioProcessBase* instance = nullptr;
        bool passThrough = false;
    };
    // src and dst are record indices; -1 is this process's own input (src) or output (dst).
    struct CLink {
        int32_t src;
        int32_t srcPort;
        int32_t dst;
        int32_t dstPort;
        int32_t useCount;
        int32_t previousUseCount;
    };
    struct CRoute {
        int32_t src;
        int32_t srcPort;
        int32_t dst;
        int32_t sourceSlot;
    };
    struct CBypassState {
        const CAudioProcessBypassStateDef* def = nullptr;
        const CAudioParamReader* param = nullptr;
        const CAudioParamReader* andParam = nullptr;
        CAudioParamListener listener;
        CAudioParamListener andListener;
        std::atomic<uint32_t> mask{0};
        bool active = false;
    };
    struct CLinkStateWatcher {
        const CAudioProcessLinkStateDef* def = nullptr;
        const CAudioParamReader* param = nullptr;
        CAudioParamListener listener;
        std::atomic<uint32_t> mask{0};
        int32_t value = -1;
    };

    const CAudioProcessDef* processDef() const;
    CString runningName(const CString& resolved, const CString& local) const;
    bool isStateActive(int32_t id) const;
    bool isChildPresent(int32_t record) const;
    int32_t findRecord(const CString& name) const;
    void addLink(int32_t src, int32_t srcPort, int32_t dst, int32_t dstPort);
    void rebuild();
    void resolvePassThroughs();
    void dropUnreachable();
    void reconcileChildren();
    void buildRoutesAndSequence();
    void destroyChild(CRecord& record);
    void emit(const CAudioChannel& channel, int32_t count);
    void listen(const CAudioParamReader* param, CAudioParamListener& listener, std::atomic<uint32_t>& mask);
    void unlistenAll();

    CArray<CRecord*, 8> m_records;
    CMap<CString, int32_t> m_byName;
    CArray<CLink, 16> m_links;
    CArray<CRoute, 16> m_routes;
    CArray<int32_t, 16> m_sequence;
    CArray<CBypassState*, 4> m_bypassStates;
    CArray<CLinkStateWatcher*, 4> m_watchers;
    bool m_structureDirty = true;
};

}  // namespace orl
