#pragma once
#include <atomic>
#include <cstdint>

#include "Core/CMap.h"
#include "Other/CParamInterfaceBase.h"

namespace orl {

class CAudioInterfaceDataProvider;
class CAudioVizCollector;
class CAudioVizEntry;

// The interface base of a plug-in instance (tag "audio:interface-base", object
// `plugin.interface-base`): the parameter base, plus the instance's layout and sample rate
// from the shell (its data provider), the host's edit brackets, and the visualisation
// listeners and data. Attribute `viz-collector` besides those of the parameter base.
//
// The shell's messages (`start-viz`, `stop-viz`, `clear-client`, `update-io-channel-counts`,
// `update-sample-rate`) go to all clients; they may be sent from the audio thread, and cost a
// pooled buffer and the queue lock.
class CAudioInterfaceBase : public CParamInterfaceBase {
public:
    CAudioInterfaceBase();
    ~CAudioInterfaceBase() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;
    void release() override;

    // The shell hands itself over at the end of its set-up; null detaches it.
    void setDataProvider(CAudioInterfaceDataProvider* provider);
    CAudioInterfaceDataProvider* dataProvider() const { return m_provider.load(std::memory_order_acquire); }
    CAudioVizCollector* vizCollector() const { return m_vizCollector; }
    int32_t vizListenerCount();

    // ---- the shell's messages to every client ----
    void sendStartViz();
    void sendStopViz();
    void sendClearClient();
    void sendUpdateIoChannelCounts();
    // Numbered, so that a client keeps the newest rate when answers and updates cross.
    void sendUpdateSampleRate();

protected:
    void beginParamEdit(const CAudioParam* param, int32_t group, int32_t element) override;
    void endParamEdit(const CAudioParam* param, int32_t group, int32_t element) override;

private:
    template <CError* (CAudioInterfaceBase::*Handler)()>
    static CError* handleAudio(CObject* object) {
        return (static_cast<CAudioInterfaceBase*>(object)->*Handler)();
    }

    CError* onListenViz();
    CError* onUnlistenViz();
    CError* onRequestVizData();
    CError* onRequestExportSlotNames();
    CError* onRequestInternalChannelCount();
    CError* onRequestGroupCount();
    CError* onRequestIoChannelCounts();
    CError* onRequestSampleRate();
    CError* onImportChannelLabels();

    void sendEmpty(const char* event);
    void sendIoChannelCounts(int32_t clientId);
    void sendSampleRate(int32_t clientId);
    void dropVizListeners();

    std::atomic<CAudioInterfaceDataProvider*> m_provider{nullptr};
    CAudioVizCollector* m_vizCollector = nullptr;
    uint32_t m_sequence = 0;
    CMap<uint32_t, CAudioVizEntry*> m_vizListeners;
};

}  // namespace orl
