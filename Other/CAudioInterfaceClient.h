#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CString.h"
#include "Other/CParamInterfaceClient.h"
#include "Other/CParamInterfaceParamListener.h"
#include "Other/CVizRequestSender.h"

namespace orl {

class CAudioInterfaceVizProcessor;

// The interface client of a plug-in window (tag "audio:interface-client", object
// `interface-client`): the parameter client, plus mirrors of the instance's layout and sample
// rate, the group names, and the road of the visualisation data to the window's exchange.
// Attribute `group-names-param` besides `client-connector`.
//
// The mirrors hold start values (2 internal channels, 2 groups, 2 in, 2 out, no side chain,
// 44100 Hz) until the first answers come; each answer fires its own event name on the client
// for the views.
class CAudioInterfaceClient : public CParamInterfaceClient, public CVizRequestSender {
public:
    CAudioInterfaceClient();
    ~CAudioInterfaceClient() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;

    int32_t internalChannelCount() const { return m_internalChannels; }
    int32_t groupCount() const { return m_groups; }
    int32_t inChannelCount() const { return m_in; }
    int32_t outChannelCount() const { return m_out; }
    int32_t sidechainChannelCount() const { return m_sidechain; }
    double sampleRate() const { return m_sampleRate; }
    // The group's name from the group names parameter, else the group's number counted from 1.
    CString getGroupName(int32_t group) const;

    // The window's visualisation exchange; null detaches it.
    void setVizTarget(CAudioInterfaceVizProcessor* target) { m_vizTarget = target; }
    CAudioInterfaceVizProcessor* vizTarget() const { return m_vizTarget; }

    // ---- CVizRequestSender ----
    void listenViz(const CString& name, int32_t slot) override;
    void unlistenViz(const CString& name) override;
    void requestVizData(double rate) override;
    CError* requestExportSlotNames();
    CError* importChannelLabels();

protected:
    void unlistenAll() override;

private:
    // Keeps the group names parameter's strings.
    class CGroupNamesParamListener : public CParamInterfaceParamListener {
    public:
        explicit CGroupNamesParamListener(CAudioInterfaceClient& client) : m_client(client) {}
        void onUpdate(const CAudioParamChange& record) override;

    private:
        CAudioInterfaceClient& m_client;
    };

    template <CError* (CAudioInterfaceClient::*Handler)()>
    static CError* handleAudio(CObject* object) {
        return (static_cast<CAudioInterfaceClient*>(object)->*Handler)();
    }

    CError* onStartViz();
    CError* onStopViz();
    CError* onClearClient();
    CError* onUpdateInternalChannelCount();
    CError* onUpdateGroupCount();
    CError* onUpdateIoChannelCounts();
    CError* onUpdateSampleRate();
    CError* onVizData();
    CError* onExportSlotNames();
    CError* onImportChannelLabels();
    CError* sendRequest(const char* event);

    int32_t m_internalChannels = 2;
    int32_t m_groups = 2;
    int32_t m_in = 2;
    int32_t m_out = 2;
    int32_t m_sidechain = 0;
    double m_sampleRate = 44100.0;
    uint32_t m_lastSequence = 0;
    CAudioInterfaceVizProcessor* m_vizTarget = nullptr;
    CMap<CString, uint32_t> m_vizListenIds;
    CGroupNamesParamListener m_groupNamesListener;
    CArray<CString> m_groupNames;
};

}  // namespace orl
