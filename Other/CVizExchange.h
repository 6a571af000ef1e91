#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CObject.h"
#include "Core/CString.h"
#include "Other/CAudioInterfaceVizProcessor.h"

namespace orl {

class CAudioInterfaceClient;
class CAudioVizData;
class CVizListener;
class CVizRequestSender;

// A window's end of the visualisation data (tag "ui:viz-exchange", object `ui.viz-exchange`).
// Displays listen to sources by name; the exchange tells the audio side when a name gets its
// first and loses its last display, asks for data at each tick at the rate the window really
// draws, and hands each record to the displays of its source when the record's time has come.
//
// Attributes: `interface-client` (the object that sends for it, a CVizRequestSender, and that
// hands it the answers), `timer-tag` (the class of its timer), `fps` (the window's frame rate;
// below 1 counts as 1) and `inactive-timeout` (seconds without a record before a display is told
// to rest, while counting; below 0.01 counts as 0.5).
//
// Everything runs on the window's thread, so the exchange needs no lock.
class CVizExchange : public CObject, public CAudioInterfaceVizProcessor {
public:
    // Seconds on some steady clock; replaceable for tests.
    using TClock = double (*)(void* context);

    CVizExchange();
    ~CVizExchange() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;
    // With `timer-tag`, makes the timer that drives tick at `fps`.
    CError* initChilds() override;

    void setSender(CVizRequestSender* sender) { m_sender = sender; }
    // The interface client goes before the exchange: nothing more is sent or detached.
    void clientGone() {
        m_sender = nullptr;
        m_client = nullptr;
    }
    void setClock(TClock clock, void* context) {
        m_clock = clock;
        m_clockContext = context;
    }
    // The frame rate and the timeout in seconds, as the attributes give them.
    void configure(double fps, double inactiveTimeout);
    int32_t inactiveLimit() const { return m_inactiveLimit; }

    // A display listens to a source: slot below 0 for this instance's source; groupFilter and
    // channelFilter -1 for any. Listening again replaces the filters.
    void listen(const CString& name, int32_t slot, int32_t groupFilter, int32_t channelFilter, CVizListener* listener);
    void unlisten(const CString& name, CVizListener* listener);
    int32_t listenerCount(const CString& name) const;

    // The timer's work: inactivity counting, the rate estimate, and the next request.
    void tick();
    double rateEstimate() const { return m_rate; }
    // Records that wait for their time.
    int32_t queuedCount() const;

    // CAudioInterfaceVizProcessor
    void onStopViz() override;
    void onClearClient() override;
    void onStartViz() override;
    CError* onVizData(CInputStream& in) override;
    CError* onExportSlotNames(CInputStream& in) override;

private:
    struct CRegistration {
        int32_t slot = -1;
        int32_t groupFilter = -1;
        int32_t channelFilter = -1;
        int32_t ticks = 0;
        bool inactive = false;
    };
    struct CQueued {
        CString name;
        CAudioVizData* record = nullptr;
    };
    using TRegistrations = CMap<CVizListener*, CRegistration>;

    static CError* onTimer(CObject* object);
    static CError* onFps(CObject* object, CAttrValue& value);

    void deliver(const CString& name, const CAudioVizData& record);
    void deliverDue(double now);
    void freeQueue();
    double clockNow() const;

    CVizRequestSender* m_sender = nullptr;
    CAudioInterfaceClient* m_client = nullptr;
    CObject* m_timer = nullptr;
    TClock m_clock = nullptr;
    void* m_clockContext = nullptr;

    bool m_counting = false;
    CMap<double, CArray<CQueued, 4>> m_queue;
    CMap<CString, TRegistrations> m_listeners;
    int32_t m_inactiveLimit = 40;
    // Estimates of the tick interval (seconds) and of the drawing rate (per second); they start
    // at the usual 40 frames per second and settle within a second.
    double m_fast = 0.025;
    double m_slow = 0.025;
    double m_rate = 40.0;
    double m_lastTick = 0.0;
    bool m_hasLastTick = false;
};

}  // namespace orl
