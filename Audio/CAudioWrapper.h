#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioEventRecord.h"
#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioInterfaceDataProvider.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Audio/CAudioRoutingInfoProvider.h"
#include "Audio/CAudioWrapperWinSizeListener.h"
#include "Audio/Processes/CAudioLatencySink.h"
#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/COwnedUpdateListener.h"
#include "Core/CString.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioCCTable;
class CByteBuffer;
class CAudioEnv;
class CAudioExtParamList;
class CAudioParam;
class CAudioParamCollector;
class CAudioParamRegistry;
class CAudioProcessBase;
class CAudioInterfaceBase;
class CAudioVizCollector;
class CAudioVizDeltaList;
class CError;
class CModOutput;
class CObject;
class CSampleBufferPool;

// The host-neutral core of one plug-in instance. A host adapter derives from it, feeds it the
// host's calls and supplies what only the host can do (the pure virtual host* operations).
//
// The wrapper owns the instance's tree (the template named by `shared::audio`'s `plugin-tag`,
// instantiated as `plugin`), binds the objects it declares, creates the two root processes
// `plugin.modMain` and `plugin.modOutput`, and is the road of every audio block: host samples
// are widened to double-precision channel buffers, cut into slices of at most 512 frames (and
// at every sample-stamped event), parameter changes are taken over to the audio side at the
// first slice and at events, the graph runs, and the output node's channels go back to the
// host's buffers.
//
// Threads: `process` (and usually `start`, `stop`) on the host's audio thread; everything else
// on the host's main thread or a UI thread. The environment lock is only ever taken by spinning
// on try-enter; the channel lock guards the host's channel names.
class CAudioWrapper : public CAudioExtParamHostBridge,
                      public CAudioInterfaceDataProvider,
                      public CAudioRoutingInfoProvider {
public:
    // The graph's longest block, whatever the host's block size.
    static constexpr int32_t kMaxSliceFrames = 512;
    static constexpr int32_t kMaxHostChannels = 32;
    static constexpr int32_t kMaxInternalChannels = 16;
    static constexpr int32_t kMaxGroups = 8;
    // The zero bytes ahead of a stored state's block.
    static constexpr uint32_t kStateHeaderSize = 16;

    CAudioWrapper();

    // ---- primary table, in slot order ----
    ~CAudioWrapper() override;
    // hostAutomate(extIndex, norm) comes from CAudioExtParamHostBridge.
    // Builds the instance; an error means the caller destroys it.
    virtual CError* init();
    virtual void hostUpdateDisplay() = 0;
    virtual void hostBeginEdit(int32_t extIndex) = 0;
    virtual void hostEndEdit(int32_t extIndex) = 0;
    virtual void hostResizeWindow(int32_t width, int32_t height) = 0;
    // The graph's latency changed in a block: the host is to be told after it.
    virtual void onLatencyChanged();
    // Sample-stamped events, dispatched at their frame: MIDI does nothing in this product; a
    // parameter event sets the host-visible parameter's normalised value.
    virtual void onMidiEvent(const CAudioEventRecord& event);
    virtual void onParamEvent(const CAudioEventRecord& event);

    // ---- CAudioInterfaceDataProvider ----
    int32_t getInternalChannelCount() const override { return m_intChannelCount; }
    int32_t getGroupCount() const override { return m_groupCount; }
    int32_t getInChannelCount() const override { return m_inCount; }
    int32_t getOutChannelCount() const override { return m_outCount; }
    int32_t getSidechainChannelCount() const override { return m_sidechainCount; }
    double getSampleRate() const override;
    void beginParamEdit(const CAudioParam* param, int32_t group, int32_t element) override;
    void endParamEdit(const CAudioParam* param, int32_t group, int32_t element) override;
    // When the host's channel names differ from `in-channel-names`, they replace them as one
    // undo step "Channel label import".
    void importChannelLabels() override;

    // ---- CAudioRoutingInfoProvider ----
    // After a preset or reset: the automatic routing with force off, under the channel lock.
    void updateAutoRouting(const void* source, const CAudioParamUndoContext& undo) override;

    // ---- the adapter's calls ----
    // Once, at the end of the adapter's own init: registers the program listener, lets the
    // collector finish, runs the graph up once (start, stop) and makes the instance ready.
    void finishInit();
    void setSampleRate(double rate);
    void setInputFormat(int32_t mainChannels, bool isDouble, bool isInterleaved, int32_t sidechainChannels,
                        bool sidechainIsDouble, bool sidechainIsInterleaved);
    void setOutputFormat(int32_t channels, bool isDouble, bool isInterleaved);
    // Stopped and started alternate; either call is a no-op in the state it would reach. The
    // graph sees one frame of silence at each transition.
    void start();
    void stop();
    // One host block. Planar streams pass one pointer per channel, interleaved streams one
    // pointer at index 0; samples are float or double as the formats say. A null channel
    // pointer reads as silence on input and is skipped on output. Legal only while started.
    void process(const void* const* inputs, void* const* outputs, int32_t frames);
    // The host's side-chain buffers for the next process call, in the side-chain format.
    void setSidechainInputs(const void* const* inputs) { m_sidechainInputs = inputs; }
    // A sample-stamped event of the coming block; the queue empties with each block.
    void addEvent(const CAudioEventRecord& event);
    void setOffline(bool isOffline);
    void setBPM(double bpm);
    void setRecording(bool isRecording);
    // The state as the host stores it: the current program (isPreset) or the session bank as a
    // compressed block tagged "aprs" or "abnk", after 16 zero bytes when withHeader is set.
    CError* saveState(CByteBuffer& out, bool isPreset, bool withHeader);
    // Reads what saveState writes; persistent values come back too. With the header, a chunk of
    // no more than the header is ignored. On an error the current state stays.
    CError* loadState(const void* bytes, uint32_t size, bool isPreset, bool withHeader);
    // The channel names that the host tells, under the channel lock.
    void setHostChannelNames(const CArray<CString>& inNames, const CArray<CString>& sidechainNames);
    // Brings the routing parameters in line with the host's channels while they still look
    // generated by this step: force arms the automatic routing, otherwise it runs only when
    // armed. Every write carries source and undo.
    void updateAutoRouting(bool force, const void* source, const CAudioParamUndoContext& undo);
    // The UI scale and window size from the stored settings and `main-window-size`.
    void computeWindowSize();
    CCriticalSection& channelLock() { return m_channelLock; }

    // ---- state for the adapter ----
    bool isReady() const { return m_ready.load(std::memory_order_acquire); }
    bool isOffline() const { return m_offline; }
    bool isForceTwoChannels() const { return m_forceTwoChannels; }
    bool hasSidechain() const { return m_hasSidechain; }
    bool isSymmetricIO() const { return m_symmetricIO; }
    bool isLatencyPending() const { return m_latencyPending.load(std::memory_order_acquire); }
    void setLatencyPending(bool pending) { m_latencyPending.store(pending, std::memory_order_release); }
    bool isLatencyReported() const { return m_latencyReported.load(std::memory_order_acquire); }
    // The latency the host is to be told, in samples.
    uint32_t getLatency() const;
    // What the adapter does once it has told the host the new latency: marks it reported and
    // clears `host-latency-change`, if not done since the last change.
    void confirmLatencyReported();
    bool isIODirty() const { return m_ioDirty; }
    uint32_t pluginCode() const { return m_pluginCode; }
    const CString& pluginName() const { return m_pluginName; }
    const CString& vendorName() const { return m_vendorName; }
    int32_t versionMajor() const { return m_versionMajor; }
    int32_t versionMinor() const { return m_versionMinor; }
    int32_t versionPatch() const { return m_versionPatch; }
    bool hasTail() const { return m_hasTail; }
    double tailSeconds() const { return m_tailSeconds; }
    double uiScale() const { return m_uiScale; }
    int32_t windowWidth() const { return m_windowWidth; }
    int32_t windowHeight() const { return m_windowHeight; }
    int32_t hostOversamplingMode() const { return m_hostOversamplingMode; }
    // Slices the graph has run since the instance was made, priming frames included.
    uint64_t sliceCount() const { return m_sliceCount; }

    CObject* instanceRoot() const { return m_root; }
    CObject* pluginNode() const { return m_pluginNode; }
    CAudioEnv* env() const { return m_env; }
    CAudioParamCollector* collector() const { return m_collector; }
    CAudioParamRegistry* registry() const { return m_registry; }
    CAudioExtParamList* extParamList() const { return m_extParams; }
    CAudioProcessBase* mainProcess() const { return m_main; }
    CModOutput* outputProcess() const { return m_output; }

private:
    // The output node reports latency into the environment, under its lock.
    class CLatencyToEnv : public CAudioLatencySink {
    public:
        explicit CLatencyToEnv(CAudioWrapper& owner) : m_owner(owner) {}
        void setLatency(int32_t samples) override;

    private:
        CAudioWrapper& m_owner;
    };

    // Set-up steps.
    CError* readProjectAttributes();
    CError* parseVersion(const CString& text);
    CError* bindObjects();
    CError* createProcesses();
    CAudioParam* handle(const char* localName) const;
    // The window-size listener's entry, with the parameter locked.
    friend class CAudioWrapperWinSizeListener;
    void onWindowSizeParamChanged();
    void onProgramChanged(const CUpdateNotifier::Notification& notification);

    // Audio road.
    void prime();
    void sortEvents(int32_t frames);
    bool dispatchEventsAt(uint32_t position);
    // Takes the pending change list (and, at the first slice, sets the block's end time) under
    // a spinning environment lock, then applies it outside.
    void exchangeChanges(bool first, int32_t slice, double rate);
    void deliverInputs(const void* const* inputs, int32_t position, int32_t slice);
    void deliverSilence();
    // Main process, hand-over to the output node, output node.
    void runGraph(int32_t frames);
    void writeOutputs(void* const* outputs, int32_t position, int32_t slice);
    uint32_t envLatency() const;
    double envSampleRate() const;
    void writeParam(CAudioParam* param, double value);

    // Messages to the windows through the interface base (none when the instance has no base),
    // and the visualisation side.
    void sendUpdateSampleRate();
    void sendStartViz();
    void sendStopViz();
    void sendClearClient();
    void sendUpdateIoChannelCounts();
    void dropPendingVizData();
    void exchangeVizLocked();
    void applyVizDeltas();
    void bindInterfaceDataProvider();

    // Automatic routing under the channel lock.
    bool routingLooksGenerated() const;
    void writeNumbers(CAudioParam* param, const double* numbers, int32_t count, const void* source,
                      const CAudioParamUndoContext& undo);
    void writeStrings(CAudioParam* param, const CArray<CString>& texts, const void* source,
                      const CAudioParamUndoContext& undo);
    int32_t extIndexOf(const CAudioParam* param, int32_t group, int32_t element) const;

    // Fields, in the order of their meaning: tree and bound objects, project attributes, IO
    // state, events, processes, host parameters, window.
    CObject* m_root = nullptr;
    CObject* m_project = nullptr;
    CObject* m_pluginNode = nullptr;
    CAudioExtParamList* m_extParams = nullptr;
    CAudioParamRegistry* m_registry = nullptr;
    uint32_t m_pluginCode = 0;
    int32_t m_intChannelCount = 0;
    int32_t m_groupCount = 0;
    int32_t m_versionMajor = 0;
    int32_t m_versionMinor = 0;
    int32_t m_versionPatch = 0;
    bool m_hasTail = false;
    double m_tailSeconds = 0.0;
    bool m_forceTwoChannels = false;
    std::atomic<bool> m_latencyPending{true};
    bool m_hasSidechain = false;
    bool m_vizAlwaysActive = false;
    bool m_symmetricIO = false;

    // Root input: the channel table (index, group 0, latency 0) and rate the graph is fed with.
    int32_t m_rootChannelCount = 0;
    double m_rootRate = 0.0;

    int32_t m_inCount = 1;
    int32_t m_outCount = 1;
    bool m_ioDirty = true;
    int32_t m_sidechainCount = 0;
    const void* const* m_sidechainInputs = nullptr;
    mutable CCriticalSection m_channelLock;
    CArray<CString> m_hostInNames;
    CArray<CString> m_hostSidechainNames;
    bool m_startedByHost = false;
    std::atomic<bool> m_ready{false};
    CArray<CAudioEventRecord> m_events;
    int32_t m_eventCursor = 0;
    uint32_t m_blockPosition = 0;
    CString m_pluginName;
    CString m_vendorName;

    // Process context: handed to every process that is created.
    CAudioEnv* m_env = nullptr;
    CSampleBufferPool* m_pool = nullptr;
    CAudioParamCollector* m_collector = nullptr;
    CAudioVizCollector* m_vizCollector = nullptr;  // optional: an instance may have no displays
    CAudioVizDeltaList* m_vizDeltas = nullptr;      // taken under the environment lock, applied after it
    CAudioInterfaceBase* m_interfaceBase = nullptr;  // optional: an instance may serve no windows
    CAudioCCTable* m_ccTable = nullptr;

    CAudioProcessBase* m_main = nullptr;
    CModOutput* m_output = nullptr;
    // Parameter -> (element << 8) + group -> ext index.
    CMap<const CAudioParam*, CMap<int32_t, int32_t>> m_extParamMap;
    std::atomic<bool> m_latencyReported{false};
    int32_t m_autoOversamplingRtMode = 0;
    int32_t m_hostOversamplingMode = INT32_MIN;
    bool m_inDouble = false, m_inInterleaved = false;
    bool m_outDouble = false, m_outInterleaved = false;
    bool m_sidechainDouble = false, m_sidechainInterleaved = false;
    double m_lastBPM = -1.0;
    bool m_lastRecording = false;
    bool m_useHostBPM = false;
    bool m_useHostRecording = false;
    bool m_offline = false;

    CAudioParam* m_pHostOversamplingMode = nullptr;
    CAudioParam* m_pHostOffline = nullptr;
    CAudioParam* m_pHostLatencyChange = nullptr;
    CAudioParam* m_pHostBPM = nullptr;
    CAudioParam* m_pHostRec = nullptr;
    CAudioParam* m_pHostTrackName = nullptr;
    CAudioParam* m_pBypassEnable = nullptr;
    CAudioParam* m_pMainWindowSize = nullptr;
    CAudioParam* m_pInChannelNames = nullptr;
    CAudioParam* m_pGroupNames = nullptr;
    CAudioParam* m_pInRouting = nullptr;
    CAudioParam* m_pGrouping = nullptr;
    CAudioParam* m_pOutRouting = nullptr;
    CAudioParam* m_pMsPairs = nullptr;
    CAudioParam* m_pSidechain = nullptr;
    CAudioParam* m_pSidechainMute = nullptr;

    double m_uiScale = 1.0;
    int32_t m_windowWidth = 0;
    int32_t m_windowHeight = 0;
    bool m_useWindowResizing = false;
    bool m_useRouting = false;
    bool m_autoRoutingArmed = false;
    bool m_useMidSide = false;

    COwnedUpdateListener<CAudioWrapper> m_programListener;
    CAudioWrapperWinSizeListener m_winSizeListener;
    CLatencyToEnv m_latencySink;
    // Per output channel of the current slice: frames written so far.
    int32_t m_writePositions[kMaxHostChannels] = {};
    uint64_t m_sliceCount = 0;
};

}  // namespace orl
