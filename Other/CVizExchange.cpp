#include "Other/CVizExchange.h"

#include <cmath>

#include "Core/CAttrValue.h"
#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CInputStream.h"
#include "Core/CMemoryReader.h"
#include "Other/CAudioInterfaceClient.h"
#include "Other/CAudioVizData.h"
#include "Other/CVizListener.h"
#include "Other/CVizRequestSender.h"

namespace orl {

namespace {

double highResSeconds(void*) { return CHighResTime::secondsSinceStart(); }

// Records of an export slot carry the slot's number; a display of this instance's source may
// have registered with -1 or -2, and both mean the same.
int32_t normalisedSlot(int32_t slot) { return slot < 0 ? -1 : slot; }

}  // namespace

CVizExchange::CVizExchange() : m_clock(&highResSeconds) {}

CVizExchange::~CVizExchange() {
    if (m_client && m_client->vizTarget() == this) m_client->setVizTarget(nullptr);
    // The audio side forgets this window's interest; the displays are gone with the window.
    if (m_sender) {
        for (const auto& [name, registrations] : m_listeners) m_sender->unlistenViz(name);
    }
    m_listeners.clear();
    freeQueue();
}

CError* CVizExchange::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    const double fps = hasAttr(CString("fps")) ? getAttrDouble(CString("fps")) : 40.0;
    const double timeout = hasAttr(CString("inactive-timeout")) ? getAttrDouble(CString("inactive-timeout")) : 1.0;
    configure(fps, timeout);
    const CString& clientPath = getAttrString(CString("interface-client"));
    if (!clientPath.isEmpty() && !m_sender) {
        CObject* client = findObject(clientPath);
        m_sender = dynamic_cast<CVizRequestSender*>(client);
        m_client = dynamic_cast<CAudioInterfaceClient*>(client);
        if (m_client) m_client->setVizTarget(this);
    }
    return nullptr;
}

void CVizExchange::fillDescriptors(CClassDescriptors& descriptors) {
    CObject::fillDescriptors(descriptors);
    CEventEntry timer;
    timer.proc = &onTimer;
    descriptors.events[CString("on-timer")] = timer;
    descriptors.attrHandlers[CString("fps")] = &onFps;
}

CError* CVizExchange::initChilds() {
    if (CError* err = CObject::initChilds()) return ORL_PASS(err, fullName());
    const CString& tag = getAttrString(CString("timer-tag"));
    if (tag.isEmpty()) return nullptr;
    if (CError* err = createChild(m_timer, tag, CString("timer"))) return ORL_PASS(err, fullName());
    const double fps = hasAttr(CString("fps")) ? getAttrDouble(CString("fps")) : 40.0;
    if (CError* err = m_timer->setAttr(CString("fps"), doubleToAttrText(fps), true)) return ORL_PASS(err, fullName());
    listenObject(m_timer->fullName(), CString("tick"), CString("on-timer"));
    return nullptr;
}

CError* CVizExchange::onTimer(CObject* object) {
    static_cast<CVizExchange*>(object)->tick();
    return nullptr;
}

CError* CVizExchange::onFps(CObject* object, CAttrValue& value) {
    // The frame rate setting changed: the timer and the inactivity limit follow it.
    auto* self = static_cast<CVizExchange*>(object);
    const double timeout =
        self->hasAttr(CString("inactive-timeout")) ? self->getAttrDouble(CString("inactive-timeout")) : 1.0;
    self->configure(value.getDouble(), timeout);
    if (!self->m_timer) return nullptr;
    return self->m_timer->setAttr(CString("fps"), doubleToAttrText(value.getDouble()), true);
}

void CVizExchange::configure(double fps, double inactiveTimeout) {
    if (!(fps >= 1.0)) fps = 1.0;
    if (!(inactiveTimeout >= 0.01)) inactiveTimeout = 0.5;
    m_inactiveLimit = static_cast<int32_t>(std::lround(inactiveTimeout * fps));
}

double CVizExchange::clockNow() const { return m_clock ? m_clock(m_clockContext) : 0.0; }

void CVizExchange::listen(const CString& name, int32_t slot, int32_t groupFilter, int32_t channelFilter,
                          CVizListener* listener) {
    if (!listener) return;
    TRegistrations& registrations = m_listeners[name];
    const bool first = registrations.empty();
    CRegistration& r = registrations[listener];
    r.slot = slot;
    r.groupFilter = groupFilter;
    r.channelFilter = channelFilter;
    r.ticks = 0;
    r.inactive = false;
    if (first && m_sender) m_sender->listenViz(name, slot);
}

void CVizExchange::unlisten(const CString& name, CVizListener* listener) {
    auto it = m_listeners.find(name);
    if (it == m_listeners.end()) return;
    it->second.erase(listener);
    if (!it->second.empty()) return;
    m_listeners.erase(it);
    if (m_sender) m_sender->unlistenViz(name);
}

int32_t CVizExchange::listenerCount(const CString& name) const {
    auto it = m_listeners.find(name);
    return it == m_listeners.end() ? 0 : static_cast<int32_t>(it->second.size());
}

int32_t CVizExchange::queuedCount() const {
    int32_t n = 0;
    for (const auto& [time, list] : m_queue) n += list.count();
    return n;
}

void CVizExchange::freeQueue() {
    for (auto& [time, list] : m_queue) {
        for (CQueued& q : list) delete q.record;
    }
    m_queue.clear();
}

void CVizExchange::deliver(const CString& name, const CAudioVizData& record) {
    auto it = m_listeners.find(name);
    if (it == m_listeners.end()) return;
    // A listener may unlisten from its own call: walk a copy of the keys.
    CArray<CVizListener*, 8> targets;
    for (auto& [listener, r] : it->second) {
        if (normalisedSlot(r.slot) != normalisedSlot(record.slot)) continue;
        if (r.groupFilter != -1 && r.groupFilter != record.group) continue;
        if (r.channelFilter != -1 && r.channelFilter != record.channel) continue;
        r.ticks = 0;
        r.inactive = false;
        targets.add(listener);
    }
    for (CVizListener* listener : targets) listener->onVizData(name, record, 0);
}

void CVizExchange::deliverDue(double now) {
    while (!m_queue.empty() && m_queue.begin()->first <= now) {
        CArray<CQueued, 4> due = std::move(m_queue.begin()->second);
        m_queue.erase(m_queue.begin());
        for (CQueued& q : due) {
            deliver(q.name, *q.record);
            delete q.record;
        }
    }
}

CError* CVizExchange::onVizData(CInputStream& in) {
    double now = 0.0;
    if (CError* err = in.readDouble(now)) return ORL_PASS(err, fullName());
    deliverDue(now);

    CByteBuffer bytes;
    for (;;) {
        uint32_t count = 0;
        if (CError* err = in.readUInt32(count)) return ORL_PASS(err, fullName());
        if (count == 0) break;
        CString name;
        if (CError* err = in.readString(name)) return ORL_PASS(err, fullName());
        const bool wanted = m_listeners.find(name) != m_listeners.end();
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t type = 0;
            uint32_t size = 0;
            if (CError* err = in.readUInt32(type)) return ORL_PASS(err, fullName());
            if (CError* err = in.readUInt32(size)) return ORL_PASS(err, fullName());
            const int32_t kind = static_cast<int32_t>(type);
            if (!wanted || !CAudioVizData::isKnownType(kind)) {
                if (CError* err = in.skip(size)) return ORL_PASS(err, fullName());
                continue;
            }
            // The record reads from its own bytes, so that a damaged one can't run into the next.
            if (size > CInputStream::kMaxBlockBytes) {
                return ORL_ERROR(nullptr, fullName(),
                                 "@orlstr_CVizExchange_onVizData_RecordTooLarge Record too large.");
            }
            bytes.resize(size);
            if (CError* err = in.read(bytes.data(), size)) return ORL_PASS(err, fullName());
            CAudioVizData* record = CAudioVizData::create(kind);
            CMemoryReader reader(bytes.data(), size);
            if (CError* err = record->load(reader)) {
                delete record;
                return ORL_PASS(err, fullName());
            }
            if (record->time > now) {
                m_queue[record->time].add(CQueued{name, record});
            } else {
                deliver(name, *record);
                delete record;
            }
        }
    }
    return nullptr;
}

CError* CVizExchange::onExportSlotNames(CInputStream& in) {
    // Export slots are not in use here: the names are read past and the window is told that
    // the list changed.
    uint32_t count = 0;
    if (CError* err = in.readUInt32(count)) return ORL_PASS(err, fullName());
    for (uint32_t i = 0; i < count; ++i) {
        CString name;
        if (CError* err = in.readString(name)) return ORL_PASS(err, fullName());
    }
    if (CError* err = fireEvent(CString("export-slot-names-changed"))) return ORL_PASS(err, fullName());
    return nullptr;
}

void CVizExchange::onStartViz() {
    freeQueue();
    for (auto& [name, registrations] : m_listeners) {
        for (auto& [listener, r] : registrations) {
            r.inactive = true;
            listener->onInactive();
        }
    }
}

void CVizExchange::onStopViz() { m_counting = true; }

void CVizExchange::onClearClient() { m_counting = false; }

void CVizExchange::tick() {
    if (m_counting) {
        for (auto& [name, registrations] : m_listeners) {
            for (auto& [listener, r] : registrations) {
                if (r.ticks == m_inactiveLimit) {
                    if (!r.inactive) {
                        r.inactive = true;
                        listener->onInactive();
                    }
                } else {
                    ++r.ticks;
                }
            }
        }
    }

    const double t = clockNow();
    const double dt = m_hasLastTick ? t - m_lastTick : m_fast;
    m_lastTick = t;
    m_hasLastTick = true;

    // Large differences move the estimate fast, small ones slowly, so that a steady window
    // gets a steady rate and a changed one is followed within a few ticks.
    const double th = std::tanh(m_rate / 60.0);
    const double a = 0.35 - 0.3 * th * th;
    m_fast += (dt - m_fast) * a;
    m_slow += (m_fast - m_slow) * a;
    double r = 1.0 / (m_slow + 1e-15);
    if (r < 1.0) r = 1.0;
    if (r > 144.0) r = 144.0;
    m_rate += (r - m_rate) * a * (0.98 * std::tanh(std::fabs(r - m_rate) * 0.125) + 0.02);

    double wanted = std::round(m_rate);
    if (wanted < 1.0) wanted = 1.0;
    if (m_sender) m_sender->requestVizData(wanted);
}

}  // namespace orl
