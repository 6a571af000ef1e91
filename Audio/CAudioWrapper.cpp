#include "Audio/CAudioWrapper.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Audio/CAudioCCTable.h"
#include "Audio/CAudioEnv.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioParamUndo.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CAudioUndoRecord.h"
#include "Audio/CSampleBufferPool.h"
#include "Audio/Processes/CModOutput.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CAppDataGroup.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CAppDataLocal.h"
#include "Core/CApplication.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Platform/CFloatMode.h"
#include "Platform/CPlatformDisplay.h"
#include "Other/CAudioInterfaceBase.h"
#include "Other/CAudioVizCollector.h"
#include "Other/CAudioVizDeltaList.h"

namespace orl {

namespace {

// The path under which the shell's own parameters live.
constexpr const char* kMainPath = "plugin.modMain";
// Events that a block may bring without the queue growing on the audio thread.
constexpr int32_t kEventReserve = 1024;
constexpr double kFallbackRate = 44100.0;

// A stored setting as a truth value: "0"/"false" and "1"/"true", anything else the default.
bool truthOf(const CString& text, bool fallback) {
    if (text == "0" || text == "false") return false;
    if (text == "1" || text == "true") return true;
    return fallback;
}

CString readSetting(CAppData& store, const char* name, const char* fallback) {
    CString text;
    if (!store.readString(CString(name), text)) return CString(fallback);
    return text.trimmed();
}

bool readTruth(CAppData& store, const char* name, const char* fallback) {
    return truthOf(readSetting(store, name, fallback), truthOf(CString(fallback), false));
}

double readNumber(CAppData& store, const char* name, const char* fallback, double unparsed) {
    double v = 0.0;
    return readSetting(store, name, fallback).toDouble(v) && std::isfinite(v) ? v : unparsed;
}

// Integer parameters round half away from zero.
int64_t roundHalfAway(double x) { return x >= 0.0 ? static_cast<int64_t>(std::floor(x + 0.5)) : -static_cast<int64_t>(std::floor(0.5 - x)); }

bool isStringParam(const CAudioParam* p) {
    return p && p->info() && p->uiStorage().isValid() && p->uiStorage().dataType() == CAudioParamDataItem::kString;
}

bool isNumericParam(const CAudioParam* p) {
    return p && p->info() && p->uiStorage().isValid() && p->uiStorage().isNumeric();
}

// Widens one channel's slice to doubles: planar (one pointer per channel) or interleaved (one
// pointer, `stride` channels per frame); no pointer gives silence.
void readChannel(double* out, const void* const* streams, bool isDouble, bool isInterleaved, int32_t channel,
                 int32_t stride, int32_t position, int32_t count) {
    const void* base = streams ? streams[isInterleaved ? 0 : channel] : nullptr;
    if (!base) {
        std::memset(out, 0, sizeof(double) * static_cast<size_t>(count));
        return;
    }
    if (!isInterleaved) {
        if (isDouble) {
            std::memcpy(out, static_cast<const double*>(base) + position, sizeof(double) * static_cast<size_t>(count));
        } else {
            const float* in = static_cast<const float*>(base) + position;
            for (int32_t i = 0; i < count; ++i) out[i] = in[i];
        }
        return;
    }
    const size_t step = static_cast<size_t>(stride);
    const size_t first = static_cast<size_t>(position) * step + static_cast<size_t>(channel);
    if (isDouble) {
        const double* in = static_cast<const double*>(base) + first;
        for (int32_t i = 0; i < count; ++i) out[i] = in[static_cast<size_t>(i) * step];
    } else {
        const float* in = static_cast<const float*>(base) + first;
        for (int32_t i = 0; i < count; ++i) out[i] = in[static_cast<size_t>(i) * step];
    }
}

void writeChannel(void* const* streams, bool isDouble, bool isInterleaved, int32_t channel, int32_t stride,
                  int32_t position, const double* in, int32_t count) {
    void* base = streams ? streams[isInterleaved ? 0 : channel] : nullptr;
    if (!base || count <= 0) return;
    const size_t step = isInterleaved ? static_cast<size_t>(stride) : 1;
    const size_t first = isInterleaved ? static_cast<size_t>(position) * step + static_cast<size_t>(channel)
                                       : static_cast<size_t>(position);
    if (isDouble) {
        double* out = static_cast<double*>(base) + first;
        if (step == 1) {
            std::memcpy(out, in, sizeof(double) * static_cast<size_t>(count));
        } else {
            for (int32_t i = 0; i < count; ++i) out[static_cast<size_t>(i) * step] = in[i];
        }
    } else {
        float* out = static_cast<float*>(base) + first;
        for (int32_t i = 0; i < count; ++i) out[static_cast<size_t>(i) * step] = static_cast<float>(in[i]);
    }
}

void zeroChannel(void* const* streams, bool isDouble, bool isInterleaved, int32_t channel, int32_t stride,
                 int32_t position, int32_t count) {
    void* base = streams ? streams[isInterleaved ? 0 : channel] : nullptr;
    if (!base || count <= 0) return;
    const size_t step = isInterleaved ? static_cast<size_t>(stride) : 1;
    const size_t first = isInterleaved ? static_cast<size_t>(position) * step + static_cast<size_t>(channel)
                                       : static_cast<size_t>(position);
    for (int32_t i = 0; i < count; ++i) {
        if (isDouble)
            static_cast<double*>(base)[first + static_cast<size_t>(i) * step] = 0.0;
        else
            static_cast<float*>(base)[first + static_cast<size_t>(i) * step] = 0.0f;
    }
}

}  // namespace

// ---- listeners ----

void CAudioWrapperWinSizeListener::onParamChanged(const void*, CAudioParam&, const CAudioParamChange&,
                                                  CAudioParamLockContext&, const CAudioParamUndoContext&) {
    m_owner.onWindowSizeParamChanged();
}

void CAudioWrapper::CLatencyToEnv::setLatency(int32_t samples) {
    CAudioEnv* env = m_owner.m_env;
    if (!env) return;
    env->enterSpinning();
    env->setLatency(samples > 0 ? static_cast<uint32_t>(samples) : 0u);
    env->leave();
}

// ---- life cycle ----

CAudioWrapper::CAudioWrapper()
    : m_channelLock(2000, true),
      m_programListener(this, &CAudioWrapper::onProgramChanged),
      m_winSizeListener(*this),
      m_latencySink(*this) {
    m_events.reserve(kEventReserve);
}

CAudioWrapper::~CAudioWrapper() {
    m_ready.store(false, std::memory_order_release);
    m_programListener.detach();
    delete m_vizDeltas;  // taken at the last block but never applied
    m_vizDeltas = nullptr;
    if (m_pMainWindowSize && m_useWindowResizing) m_pMainWindowSize->removeListener(&m_winSizeListener);
    if (m_registry) m_registry->setRoutingInfo(nullptr);
    if (m_output) {
        m_output->setLatencySink(nullptr);
        m_output->release();
        delete m_output;
        m_output = nullptr;
    }
    if (m_main) {
        m_main->release();
        delete m_main;
        m_main = nullptr;
    }
    if (m_root) {
        m_root->destroy();
        m_root = nullptr;
    }
    // Buffers still out went with their processes; the pool frees every block it ever made.
    delete m_pool;
    m_pool = nullptr;
}

CAudioParam* CAudioWrapper::handle(const char* localName) const {
    CString name(kMainPath);
    name.append(u'.');
    name.append(localName);
    return m_collector->getParam(name);
}

CError* CAudioWrapper::init() {
    const int64_t started = CHighResTime::counter();
    // 1
    if (!CApplication::instance()) {
        return ORL_ERROR(nullptr, CString::empty(), "@orlstr_CAudioWrapper_init_NoApp No application object created.");
    }
    (void)CSignalModules::registerAll();
    (void)CAudioParamRegistration::ensureCreatorsRegistered();
    (void)CAudioParamRegistry::ensureCreatorsRegistered();
    // 2
    if (CError* err = CApplication::instance()->initRootObject(m_root, CString())) return ORL_PASS(err, CString::empty());
    // 3
    CObject* audio = nullptr;
    if (CError* err = m_root->findObjectChecked(audio, CString("shared::audio"))) return ORL_PASS(err, CString::empty());
    const CString tag = audio->getAttrString(CString("plugin-tag"));
    if (CError* err = m_root->createChild(m_pluginNode, tag, CString("plugin"), true)) {
        return ORL_PASS(err, CString::empty());
    }
    if (CError* err = m_root->findObjectChecked(m_pluginNode, CString("plugin"))) return ORL_PASS(err, CString::empty());
    if (CError* err = m_root->findObjectChecked(m_project, CString("shared::project"))) {
        return ORL_PASS(err, CString::empty());
    }
    // 4 to 7
    if (CError* err = readProjectAttributes()) return err;
    // 8
    if (CError* err = bindObjects()) return err;
    // 9
    m_pool = new CSampleBufferPool();
    // 10
    m_pHostOversamplingMode = handle("host-oversampling-mode");
    m_pHostOffline = handle("host-offline");
    m_pHostLatencyChange = handle("host-latency-change");
    m_pHostTrackName = handle("host-track-name");
    m_pBypassEnable = handle("bypass-enable");
    // 11
    m_autoOversamplingRtMode = m_project->getAttrInt(CString("auto-oversampling-rtmode"));
    m_vizAlwaysActive = m_project->getAttrBool(CString("is-viz-always-active"));
    m_symmetricIO = m_project->getAttrBool(CString("is-symmetric-io"));
    m_useHostBPM = m_project->getAttrBool(CString("use-host-bpm"));
    if (m_useHostBPM) {
        m_lastBPM = -1.0;
        m_pHostBPM = handle("host-bpm");
    }
    m_useHostRecording = m_project->getAttrBool(CString("use-host-recording"));
    if (m_useHostRecording) {
        m_lastRecording = false;
        m_pHostRec = handle("host-rec");
    }
    // 12
    if (CError* err = createProcesses()) return err;
    // 13, 14
    m_pMainWindowSize = handle("main-window-size");
    computeWindowSize();
    m_useWindowResizing = m_project->getAttrBool(CString("use-window-resizing"));
    if (m_useWindowResizing) {
        computeWindowSize();
        m_pMainWindowSize->addListener(&m_winSizeListener);
    }
    // 15
    m_hasSidechain = m_project->getAttrBool(CString("use-sidechain"));
    if (m_hasSidechain) {
        m_pSidechain = handle("sidechain");
        m_pSidechainMute = handle("sidechain-mute");
    }
    // 16
    m_useRouting = m_project->getAttrBool(CString("use-routing"));
    if (m_useRouting) {
        m_useMidSide = m_project->getAttrBool(CString("use-mid-side"));
        m_pInChannelNames = handle("io-params.in-channel-names");
        m_pGroupNames = handle("io-params.group-names");
        m_pInRouting = handle("io-params.in-routing");
        m_pGrouping = handle("io-params.grouping");
        m_pOutRouting = handle("io-params.out-routing");
        if (m_useMidSide) m_pMsPairs = handle("io-params.ms-pairs");
    } else {
        m_useMidSide = false;
    }
    // 17
    m_registry->setRoutingInfo(this);
    // 18
    m_main->setExternalSources(1);
    m_output->setExternalSources(1);
    m_output->setLatencySink(&m_latencySink);
    // 19
    for (int32_t i = 0; i < m_extParams->getCount(); ++i) {
        CAudioExtParam* ext = m_extParams->getParam(i);
        ext->setHostBridge(this, i);
        if (ext->param()) m_extParamMap[ext->param()][(ext->element() << 8) + ext->group()] = i;
    }
    // 20
    m_inCount = 1;
    m_outCount = 1;
    m_sidechainCount = 0;
    m_ioDirty = true;
    m_forceTwoChannels = readTruth(CAppDataGroup::instance(), "force-2ch", "false");
    setOffline(false);
    // 21
    CLog::logf("CAudioWrapper init time: %.4f s @ %.4f s", CHighResTime::secondsSince(started),
               CHighResTime::secondsSinceStart());
    return nullptr;
}

CError* CAudioWrapper::readProjectAttributes() {
    const CString& objectName = m_project->fullName();
    m_pluginName = m_project->getAttrString(CString("app-name"));
    if (m_pluginName.isEmpty()) {
        return ORL_ERROR(nullptr, objectName, "@orlstr_CAudioWrapper_init_PluginNameEmpty Plug-in name is empty.");
    }
    m_vendorName = m_project->getAttrString(CString("app-vendor"));
    if (m_vendorName.isEmpty()) {
        return ORL_ERROR(nullptr, objectName, "@orlstr_CAudioWrapper_init_VendorNameEmpty Vendor name is empty.");
    }
    m_intChannelCount = m_project->getAttrInt(CString("plugin-intchannel-count"));
    if (m_intChannelCount < 1 || m_intChannelCount > kMaxInternalChannels) {
        return ORL_ERROR(nullptr, objectName,
                         "@orlstr_CAudioWrapper_init_InvalidIntChannelCount Invalid 'plugin-intchannel-count' "
                         "attribute value.");
    }
    m_groupCount = m_project->getAttrInt(CString("plugin-group-count"));
    if (m_groupCount < 1 || m_groupCount > kMaxGroups) {
        return ORL_ERROR(nullptr, objectName,
                         "@orlstr_CAudioWrapper_init_InvalidGroupCount Invalid 'plugin-group-count' attribute value.");
    }
    const CString& code = m_project->getAttrString(CString("plugin-code"));
    if (code.length() != 4) {
        return ORL_ERROR(nullptr, objectName,
                         "@orlstr_CAudioWrapper_init_InvalidPluginCode Invalid 'plugin-code' attribute value.");
    }
    m_pluginCode = 0;
    for (int32_t i = 0; i < 4; ++i) m_pluginCode = (m_pluginCode << 8) | (static_cast<uint32_t>(code.at(i)) & 0xffu);
    if (CError* err = parseVersion(m_project->getAttrString(CString("app-version")))) return ORL_PASS(err, objectName);

    const CString tail = m_project->getAttrString(CString("plugin-tail")).trimmed();
    m_hasTail = !tail.isEmpty();
    m_tailSeconds = 0.0;
    if (m_hasTail) {
        double seconds = 0.0;
        m_tailSeconds = tail.toDouble(seconds) ? seconds : 0.4;
    }
    return nullptr;
}

CError* CAudioWrapper::parseVersion(const CString& text) {
    CArray<CString> parts;
    text.split(u'.', false, true, parts);
    int32_t numbers[3] = {0, 0, 0};
    bool good = parts.count() == 2 || parts.count() == 3;
    for (int32_t i = 0; good && i < parts.count(); ++i) good = parts[i].trimmed().toInt(numbers[i]) && numbers[i] >= 0;
    if (!good) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioWrapper_parseVersion_InvalidVersion Invalid version specification in string '%1'.",
                         text);
    }
    m_versionMajor = numbers[0];
    m_versionMinor = numbers[1];
    m_versionPatch = numbers[2];
    return nullptr;
}

CError* CAudioWrapper::bindObjects() {
    if (CError* err = m_root->findObjectChecked(m_env, CString("plugin.audio-env"))) return ORL_PASS(err, CString::empty());
    if (CError* err = m_root->findObjectChecked(m_collector, CString("plugin.param-collector"))) {
        return ORL_PASS(err, CString::empty());
    }
    // The visualisation collector is optional (an instance without displays is whole), and so is
    // the interface base until it exists.
    m_vizCollector = dynamic_cast<CAudioVizCollector*>(m_root->findObject(CString("plugin.viz-collector")));
    m_interfaceBase = dynamic_cast<CAudioInterfaceBase*>(m_root->findObject(CString("plugin.interface-base")));
    if (CError* err = m_root->findObjectChecked(m_extParams, CString("plugin.ext-param-list"))) {
        return ORL_PASS(err, CString::empty());
    }
    if (CError* err = m_root->findObjectChecked(m_ccTable, CString("plugin.cctable"))) return ORL_PASS(err, CString::empty());
    if (CError* err = m_root->findObjectChecked(m_registry, CString("plugin.param-registry"))) {
        return ORL_PASS(err, CString::empty());
    }
    return nullptr;
}

CError* CAudioWrapper::createProcesses() {
    CAudioProcessDefBase* mainDef = nullptr;
    if (CError* err = m_root->findObjectChecked(mainDef, CString("shared::audio.modMain"))) {
        return ORL_PASS(err, CString::empty());
    }
    if (CError* err = makeProcess(m_main, mainDef, false, nullptr, m_pool, m_collector, CString(kMainPath), 0, 0)) {
        return ORL_PASS(err, CString::empty());
    }
    CAudioProcessDefBase* outDef = nullptr;
    if (CError* err = m_root->findObjectChecked(outDef, CString("shared::audio.modOutput"))) {
        return ORL_PASS(err, CString::empty());
    }
    CAudioProcessBase* out = nullptr;
    if (CError* err = makeProcess(out, outDef, false, nullptr, m_pool, m_collector, CString("plugin.modOutput"), 0, 0)) {
        return ORL_PASS(err, CString::empty());
    }
    m_output = dynamic_cast<CModOutput*>(out);
    if (!m_output) {
        out->release();
        delete out;
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CAudioWrapper_init_InvalidOutProcessType Output process object "
                         "'shared::audio.modOutput' is not of required 'CModOutput' type.");
    }
    return nullptr;
}

void CAudioWrapper::finishInit() {
    bindInterfaceDataProvider();
    m_programListener.attach(m_registry, 0);
    // Parameters that were asked for before their declarations were known get them now.
    m_collector->finish();
    start();
    stop();
    m_ready.store(true, std::memory_order_release);
}

// ---- window ----

void CAudioWrapper::computeWindowSize() {
    const bool perScreen = readTruth(CAppDataLocal::instance(), "ui-scale-usesr", "true");
    double scale = readNumber(CAppDataLocal::instance(), perScreen ? "ui-scale2" : "ui-scale", "1.0", 1.0);
    if (!(scale > 0.0)) scale = 1.0;
    if (perScreen) {
        int32_t w = 0, h = 0;
        CPlatformDisplay::primaryMonitorSize(w, h);
        scale *= static_cast<double>(std::min(w, h)) / 1080.0;
        scale = std::round(scale / 0.05) * 0.05;
        scale = std::max(scale, 0.8);
    }
    m_uiScale = scale;
    const double w = m_pMainWindowSize ? m_pMainWindowSize->getValue(0, 0, 400.0) : 400.0;
    const double h = m_pMainWindowSize ? m_pMainWindowSize->getValue(0, 1, 300.0) : 300.0;
    m_windowWidth = static_cast<int32_t>(std::lround(w * scale));
    m_windowHeight = static_cast<int32_t>(std::lround(h * scale));
    const CString minW("min-window-width"), minH("min-window-height");
    if (m_project && m_project->hasAttr(minW) && m_project->hasAttr(minH)) {
        const double mw = m_project->getAttrDouble(minW), mh = m_project->getAttrDouble(minH);
        if (mw > 0.0 && mh > 0.0) {
            m_windowWidth = std::max(m_windowWidth, static_cast<int32_t>(std::lround(mw * scale)));
            m_windowHeight = std::max(m_windowHeight, static_cast<int32_t>(std::lround(mh * scale)));
        }
    }
}

void CAudioWrapper::onWindowSizeParamChanged() {
    const int32_t w = m_windowWidth, h = m_windowHeight;
    computeWindowSize();
    if (isReady() && (w != m_windowWidth || h != m_windowHeight)) hostResizeWindow(m_windowWidth, m_windowHeight);
}

void CAudioWrapper::onProgramChanged(const CUpdateNotifier::Notification& notification) {
    if (notification.source != this && isReady()) hostUpdateDisplay();
}

// ---- formats and environment ----

double CAudioWrapper::envSampleRate() const {
    m_env->enterSpinning();
    const double rate = m_env->sampleRate();
    m_env->leave();
    return rate;
}

uint32_t CAudioWrapper::envLatency() const {
    m_env->enterSpinning();
    const uint32_t latency = m_env->latency();
    m_env->leave();
    return latency;
}

double CAudioWrapper::getSampleRate() const { return m_env ? envSampleRate() : 0.0; }

uint32_t CAudioWrapper::getLatency() const { return m_env ? envLatency() : 0u; }

void CAudioWrapper::setSampleRate(double rate) {
    m_env->enterSpinning();
    if (m_env->sampleRate() == rate) {
        m_env->leave();
        return;
    }
    m_env->setSampleRate(rate);
    m_ioDirty = true;
    m_env->leave();
    sendUpdateSampleRate();
}

void CAudioWrapper::setInputFormat(int32_t mainChannels, bool isDouble, bool isInterleaved, int32_t sidechainChannels,
                                   bool sidechainIsDouble, bool sidechainIsInterleaved) {
    m_inDouble = isDouble;
    m_inInterleaved = isInterleaved;
    m_sidechainDouble = sidechainIsDouble;
    m_sidechainInterleaved = sidechainIsInterleaved;
    // The graph's root takes at most 32 channels.
    mainChannels = std::clamp(mainChannels, 0, kMaxHostChannels);
    sidechainChannels = std::clamp(sidechainChannels, 0, kMaxHostChannels - mainChannels);
    const int32_t in = mainChannels + sidechainChannels;
    if (in == m_inCount && sidechainChannels == m_sidechainCount) return;
    m_env->enterSpinning();
    m_inCount = in;
    m_sidechainCount = sidechainChannels;
    m_ioDirty = true;
    m_env->leave();
}

void CAudioWrapper::setOutputFormat(int32_t channels, bool isDouble, bool isInterleaved) {
    m_outDouble = isDouble;
    m_outInterleaved = isInterleaved;
    channels = std::clamp(channels, 0, kMaxHostChannels);
    if (channels == m_outCount) return;
    m_env->enterSpinning();
    m_outCount = channels;
    m_ioDirty = true;
    m_env->leave();
}

// ---- start, stop, priming ----

void CAudioWrapper::start() {
    CFloatMode mode;
    m_env->enterSpinning();
    const bool wasStarted = m_env->isStarted();
    if (!wasStarted) m_env->setStarted(true);
    m_env->leave();
    if (wasStarted) return;
    m_startedByHost = true;
    sendStartViz();
    if (!m_vizAlwaysActive) sendClearClient();
    prime();
}

void CAudioWrapper::stop() {
    CFloatMode mode;
    m_env->enterSpinning();
    const bool wasStarted = m_env->isStarted();
    if (wasStarted) m_env->setStarted(false);
    m_env->leave();
    if (!wasStarted) return;
    m_startedByHost = false;
    prime();
    m_main->resetState();
    m_output->resetState();
    if (!m_vizAlwaysActive) sendStopViz();
    dropPendingVizData();
    if (m_vizAlwaysActive) sendClearClient();
}

void CAudioWrapper::prime() {
    if (m_ioDirty) {
        m_ioDirty = false;
        sendUpdateIoChannelCounts();
        // The graph compares what it is fed with what it knew, and reconnects on a difference.
        m_rootChannelCount = m_inCount;
        // Until the host tells its rate the graph runs at a common one, so that every time
        // constant stays finite.
        const double rate = envSampleRate();
        m_rootRate = rate > 0.0 ? rate : kFallbackRate;
    }
    sortEvents(1);
    m_eventCursor = 0;
    m_blockPosition = 0;
    (void)dispatchEventsAt(0);

    const double rate = m_rootRate > 0.0 ? m_rootRate : kFallbackRate;
    m_env->enterSpinning();
    m_env->setBlockEndTime(1.0 / rate + m_env->streamTime());
    exchangeVizLocked();
    CAudioParamChangeList* changes = m_collector->takeChangesLocked();
    m_env->leave();
    applyVizDeltas();
    m_collector->applyChanges(changes);

    deliverSilence();
    const uint32_t latency = envLatency();
    runGraph(1);
    m_output->releaseOutputs();
    ++m_sliceCount;

    m_env->enterSpinning();
    m_env->setStreamTime(m_env->streamTime() + 1.0 / rate);
    m_env->leave();
    if (envLatency() != latency) onLatencyChanged();
    m_events.clear();
}

void CAudioWrapper::deliverSilence() {
    for (int32_t c = 0; c < m_rootChannelCount; ++c) {
        CAudioChannel ch;
        ch.index = c;
        ch.sampleRate = m_rootRate;
        ch.buffer = m_pool->acquire(1);
        ch.buffer->data()[0] = 0.0;
        m_main->deliver(0, ch, 1);
    }
}

void CAudioWrapper::runGraph(int32_t frames) {
    m_main->process();
    for (uint32_t m = m_main->outputMask(); m; m &= m - 1) {
        const CAudioChannel& ch = m_main->output(__builtin_ctz(m));
        // The output node takes a reference of its own; the main process drops its own below.
        CSampleBufferPool::addRef(ch.buffer);
        m_output->deliver(0, ch, frames);
    }
    m_main->releaseOutputs();
    m_output->process();
}

// ---- events ----

void CAudioWrapper::addEvent(const CAudioEventRecord& event) { m_events.add(event); }

void CAudioWrapper::sortEvents(int32_t frames) {
    // Stable insertion sort by offset: the queue is short and mostly sorted, and this allocates
    // nothing. An event stamped beyond the block belongs to its last frame rather than to none.
    const uint32_t last = frames > 0 ? static_cast<uint32_t>(frames - 1) : 0u;
    const int32_t n = m_events.count();
    CAudioEventRecord* e = m_events.data();
    for (int32_t i = 0; i < n; ++i) e[i].frameOffset = std::min(e[i].frameOffset, last);
    for (int32_t i = 1; i < n; ++i) {
        const CAudioEventRecord x = e[i];
        int32_t j = i;
        for (; j > 0 && e[j - 1].frameOffset > x.frameOffset; --j) e[j] = e[j - 1];
        e[j] = x;
    }
}

bool CAudioWrapper::dispatchEventsAt(uint32_t position) {
    bool dispatched = false;
    while (m_eventCursor < m_events.count() && m_events[m_eventCursor].frameOffset <= position) {
        const CAudioEventRecord& event = m_events[m_eventCursor++];
        if (event.type == CAudioEventRecord::kParam)
            onParamEvent(event);
        else
            onMidiEvent(event);
        dispatched = true;
    }
    return dispatched;
}

void CAudioWrapper::onMidiEvent(const CAudioEventRecord&) {}

void CAudioWrapper::onParamEvent(const CAudioEventRecord& event) {
    if (CAudioExtParam* ext = m_extParams ? m_extParams->getParam(event.param.extIndex) : nullptr) {
        ext->setNormalised(event.param.normalised);
    }
}

// ---- the block ----

void CAudioWrapper::exchangeChanges(bool first, int32_t slice, double rate) {
    m_env->enterSpinning();
    if (first) {
        m_env->setBlockEndTime(m_env->streamTime() + slice / rate);
        exchangeVizLocked();
    }
    CAudioParamChangeList* changes = m_collector->takeChangesLocked();
    m_env->leave();
    if (first) applyVizDeltas();
    m_collector->applyChanges(changes);
}

void CAudioWrapper::deliverInputs(const void* const* inputs, int32_t position, int32_t slice) {
    // The graph keeps the channel table of its last transition; the host's pointers follow the
    // current format, so a channel that the host no longer has reads as silence.
    const int32_t rootMain = m_rootChannelCount - std::min(m_sidechainCount, m_rootChannelCount);
    const int32_t hostMain = m_inCount - m_sidechainCount;
    for (int32_t c = 0; c < m_rootChannelCount; ++c) {
        CAudioChannel ch;
        ch.index = c;
        ch.sampleRate = m_rootRate;
        ch.buffer = m_pool->acquire(slice);
        if (c < rootMain) {
            readChannel(ch.buffer->data(), c < hostMain ? inputs : nullptr, m_inDouble, m_inInterleaved, c, hostMain,
                        position, slice);
        } else {
            const int32_t s = c - rootMain;
            readChannel(ch.buffer->data(), s < m_sidechainCount ? m_sidechainInputs : nullptr, m_sidechainDouble,
                        m_sidechainInterleaved, s, m_sidechainCount, position, slice);
        }
        m_main->deliver(0, ch, slice);
    }
}

void CAudioWrapper::writeOutputs(void* const* outputs, int32_t position, int32_t slice) {
    const int32_t outCount = std::min(m_outCount, kMaxHostChannels);
    for (int32_t c = 0; c < outCount; ++c) m_writePositions[c] = 0;
    const int32_t delivered = m_output->sampleCount();
    for (uint32_t m = m_output->outputMask(); m; m &= m - 1) {
        const CAudioChannel& ch = m_output->output(__builtin_ctz(m));
        if (ch.index < 0 || ch.index >= outCount || !ch.buffer) continue;
        int32_t& at = m_writePositions[ch.index];
        const int32_t n = std::min(delivered, slice - at);
        writeChannel(outputs, m_outDouble, m_outInterleaved, ch.index, outCount, position + at, ch.buffer->data(), n);
        if (n > 0) at += n;
    }
    m_output->releaseOutputs();
    for (int32_t c = 0; c < outCount; ++c) {
        zeroChannel(outputs, m_outDouble, m_outInterleaved, c, outCount, position + m_writePositions[c],
                    slice - m_writePositions[c]);
    }
}

void CAudioWrapper::process(const void* const* inputs, void* const* outputs, int32_t frames) {
    CFloatMode mode;
    m_env->enterSpinning();
    const uint32_t latency = m_env->latency();
    const bool started = m_env->isStarted();
    m_env->leave();
    if (!started) {
        // A host that runs blocks before resume (or after suspend) hears silence, and the graph
        // keeps the state of its last transition.
        const int32_t outCount = std::min(m_outCount, kMaxHostChannels);
        for (int32_t c = 0; c < outCount; ++c) zeroChannel(outputs, m_outDouble, m_outInterleaved, c, outCount, 0, frames);
        m_events.clear();
        return;
    }
    sortEvents(frames);
    m_eventCursor = 0;
    m_blockPosition = 0;
    const double rate = m_rootRate > 0.0 ? m_rootRate : kFallbackRate;

    bool first = true;
    int32_t position = 0;
    int32_t left = frames > 0 ? frames : 0;
    while (left > 0) {
        int32_t slice = std::min(left, kMaxSliceFrames);
        const bool dispatched = dispatchEventsAt(m_blockPosition);
        if (m_eventCursor < m_events.count()) {
            const uint32_t next = m_events[m_eventCursor].frameOffset;
            if (next < m_blockPosition + static_cast<uint32_t>(slice)) slice = static_cast<int32_t>(next - m_blockPosition);
        }
        if (first || dispatched) {
            exchangeChanges(first, slice, rate);
            first = false;
        }
        deliverInputs(inputs, position, slice);
        runGraph(slice);
        writeOutputs(outputs, position, slice);
        ++m_sliceCount;

        position += slice;
        m_blockPosition += static_cast<uint32_t>(slice);
        left -= slice;
        m_env->enterSpinning();
        m_env->setStreamTime(m_env->streamTime() + slice / rate);
        m_env->leave();
    }
    if (envLatency() != latency) onLatencyChanged();
    m_events.clear();
}

// ---- latency ----

void CAudioWrapper::writeParam(CAudioParam* param, double value) {
    if (param) (void)param->setValue(value, 0, this, nullptr);
}

void CAudioWrapper::onLatencyChanged() {
    m_latencyPending.store(true, std::memory_order_release);
    m_latencyReported.store(false, std::memory_order_release);
    writeParam(m_pHostLatencyChange, 1.0);
}

void CAudioWrapper::confirmLatencyReported() {
    if (m_latencyReported.exchange(true, std::memory_order_acq_rel)) return;
    m_latencyPending.store(false, std::memory_order_release);
    writeParam(m_pHostLatencyChange, 0.0);
}

// ---- offline, transport ----

void CAudioWrapper::setOffline(bool isOffline) {
    if (isOffline != m_offline) {
        m_offline = isOffline;
        writeParam(m_pHostOffline, isOffline ? 1.0 : 0.0);
    }
    int32_t mode = m_autoOversamplingRtMode - 1;
    if (isOffline) {
        const CString text = readSetting(CAppDataGroup::instance(), "oversampling-level", "1");
        int32_t level = 1;
        double v = 0.0;
        if (!text.toInt(level)) level = text.toDouble(v) && std::isfinite(v) ? static_cast<int32_t>(roundHalfAway(std::clamp(v, -100.0, 100.0))) : 1;
        const double rate = m_env ? envSampleRate() : 0.0;
        if (rate < 72000.0)
            level += 1;
        else if (rate >= 144000.0)
            level -= 1;
        mode = std::clamp(level, 0, 3);
        if (readTruth(CAppDataLocal::instance(), "force-auto-oversampling", "0")) mode = -mode;
    }
    if (mode != m_hostOversamplingMode) {
        m_hostOversamplingMode = mode;
        writeParam(m_pHostOversamplingMode, static_cast<double>(mode));
    }
}

void CAudioWrapper::setBPM(double bpm) {
    if (!m_useHostBPM || bpm == m_lastBPM) return;
    m_lastBPM = bpm;
    writeParam(m_pHostBPM, bpm);
}

void CAudioWrapper::setRecording(bool isRecording) {
    if (!m_useHostRecording || isRecording == m_lastRecording) return;
    m_lastRecording = isRecording;
    writeParam(m_pHostRec, isRecording ? 1.0 : 0.0);
}

// ---- edits ----

int32_t CAudioWrapper::extIndexOf(const CAudioParam* param, int32_t group, int32_t element) const {
    auto it = m_extParamMap.find(param);
    if (it == m_extParamMap.end()) return -1;
    auto at = it->second.find((element << 8) + group);
    return at == it->second.end() ? -1 : at->second;
}

void CAudioWrapper::beginParamEdit(const CAudioParam* param, int32_t group, int32_t element) {
    const int32_t index = extIndexOf(param, group, element);
    if (index >= 0 && isReady()) hostBeginEdit(index);
}

void CAudioWrapper::endParamEdit(const CAudioParam* param, int32_t group, int32_t element) {
    const int32_t index = extIndexOf(param, group, element);
    if (index >= 0 && isReady()) hostEndEdit(index);
}

// ---- stored state ----

CError* CAudioWrapper::saveState(CByteBuffer& out, bool isPreset, bool withHeader) {
    out.resize(0);
    CByteBuffer record;
    {
        CByteBufferWriter writer(record);
        CError* err = isPreset ? m_registry->acquirePreset(false, -1, -1, writer) : m_registry->acquireBank(false, writer);
        if (err) return ORL_PASS(err, CString::empty());
    }
    CByteBufferWriter writer(out);
    if (withHeader) {
        const uint8_t zeros[kStateHeaderSize] = {};
        if (CError* err = writer.write(zeros, kStateHeaderSize)) return ORL_PASS(err, CString::empty());
    }
    const uint32_t tag = isPreset ? CInputStream::blockId("aprs") : CInputStream::blockId("abnk");
    if (CError* err = writer.writeCompressedData(tag, record)) return ORL_PASS(err, CString::empty());
    return nullptr;
}

CError* CAudioWrapper::loadState(const void* bytes, uint32_t size, bool isPreset, bool withHeader) {
    if (withHeader) {
        if (!bytes || size <= kStateHeaderSize) return nullptr;
        bytes = static_cast<const uint8_t*>(bytes) + kStateHeaderSize;
        size -= kStateHeaderSize;
    }
    CMemoryReader block(bytes, size);
    CByteBuffer record;
    const uint32_t tag = isPreset ? CInputStream::blockId("aprs") : CInputStream::blockId("abnk");
    if (CError* err = block.readCompressedData(record, tag)) return ORL_PASS(err, CString::empty());
    CMemoryReader reader(record.data(), record.size());
    CError* err = isPreset ? m_registry->activatePreset(reader, true, -1) : m_registry->activateBank(reader, true);
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

// ---- channel names and automatic routing ----

void CAudioWrapper::setHostChannelNames(const CArray<CString>& inNames, const CArray<CString>& sidechainNames) {
    CCriticalSectionLock hold(m_channelLock);
    m_hostInNames = inNames;
    m_hostSidechainNames = sidechainNames;
}

void CAudioWrapper::writeNumbers(CAudioParam* param, const double* numbers, int32_t count, const void* source,
                                 const CAudioParamUndoContext& undo) {
    CAudioParamLockContext lock(*param);
    CAudioParamChange record;
    record.setTarget(param->uiStorage(), 0, 0, count, source);
    record.clearOwnNumbers();
    for (int32_t i = 0; i < count; ++i) record.addNumber(numbers[i]);
    record.tail = true;
    (void)param->change(record, &lock, undo);
}

void CAudioWrapper::writeStrings(CAudioParam* param, const CArray<CString>& texts, const void* source,
                                 const CAudioParamUndoContext& undo) {
    CAudioParamLockContext lock(*param);
    CAudioParamChange record;
    record.setTarget(param->uiStorage(), 0, 0, texts.count(), source);
    record.clearOwnNumbers();
    for (const CString& text : texts) record.addNumber(record.ownData().addString(text));
    record.tail = true;
    (void)param->change(record, &lock, undo);
}

bool CAudioWrapper::routingLooksGenerated() const {
    if (!isStringParam(m_pInChannelNames) || !isStringParam(m_pGroupNames)) return false;
    if (!isNumericParam(m_pInRouting) || !isNumericParam(m_pGrouping) || !isNumericParam(m_pOutRouting)) return false;
    if (m_useMidSide) {
        if (!isNumericParam(m_pMsPairs)) return false;
        for (int32_t i = 0; i < m_intChannelCount; ++i) {
            if (m_pMsPairs->getValue(0, i, 0.0) != 0.0) return false;
        }
    }
    CString text;
    (void)m_pGroupNames->getString(text, 0, 0);
    static const char* const kFirstNames[] = {"1", "G1", "G-1", "MONO", "STEREO", "ALL CH", "MULTI"};
    bool known = false;
    for (const char* name : kFirstNames) known = known || text == name;
    if (!known) return false;
    for (int32_t k = 1; k < kMaxGroups; ++k) {
        (void)m_pGroupNames->getString(text, 0, k);
        const CString number = CString::fromInt(k + 1);
        if (text != number && text != CString("G") + number && text != CString("G-") + number) return false;
    }
    // in-routing runs 1..m, then zeros; out-routing is the same.
    int32_t m = 0;
    bool inZeros = false;
    for (int32_t i = 0; i < m_intChannelCount; ++i) {
        const int64_t in = roundHalfAway(m_pInRouting->getValue(0, i, 0.0));
        const int64_t out = roundHalfAway(m_pOutRouting->getValue(0, i, 0.0));
        if (in != out) return false;
        if (!inZeros && in == i + 1) {
            m = i + 1;
        } else if (in == 0) {
            inZeros = true;
        } else {
            return false;
        }
    }
    for (int32_t i = 0; i < m_intChannelCount; ++i) {
        const int64_t g = roundHalfAway(m_pGrouping->getValue(0, i, 0.0));
        if (g != (i < m ? 0 : i / 2)) return false;
    }
    return true;
}

void CAudioWrapper::updateAutoRouting(const void* source, const CAudioParamUndoContext& undo) {
    updateAutoRouting(false, source, undo);
}

void CAudioWrapper::updateAutoRouting(bool force, const void* source, const CAudioParamUndoContext& undo) {
    CCriticalSectionLock hold(m_channelLock);
    if (force)
        m_autoRoutingArmed = true;
    else if (!m_autoRoutingArmed)
        return;
    if (!m_useRouting || !routingLooksGenerated()) return;
    const int32_t n = m_hostInNames.count();
    const int32_t s = m_hostSidechainNames.count();
    if (n <= 0) return;

    CArray<CString> names = m_hostInNames;
    for (const CString& name : m_hostSidechainNames) names.add(name);
    writeStrings(m_pInChannelNames, names, source, undo);

    CArray<CString> groups;
    groups.add(CString(n == 1 ? "MONO" : n == 2 ? "STEREO" : "MULTI"));
    for (int32_t k = 2; k <= kMaxGroups; ++k) groups.add(CString("G-") + CString::fromInt(k));
    writeStrings(m_pGroupNames, groups, source, undo);

    double routing[kMaxInternalChannels], grouping[kMaxInternalChannels];
    for (int32_t i = 0; i < m_intChannelCount; ++i) {
        routing[i] = i < n + s ? i + 1 : 0;
        grouping[i] = i < n + s ? 0 : i / 2;
    }
    writeNumbers(m_pInRouting, routing, m_intChannelCount, source, undo);
    writeNumbers(m_pOutRouting, routing, m_intChannelCount, source, undo);
    writeNumbers(m_pGrouping, grouping, m_intChannelCount, source, undo);
}

void CAudioWrapper::importChannelLabels() {
    if (!isStringParam(m_pInChannelNames)) return;
    CCriticalSectionLock hold(m_channelLock);
    CArray<CString> names = m_hostInNames;
    for (const CString& name : m_hostSidechainNames) names.add(name);
    bool differs = false;
    {
        CAudioParamLockContext lock(*m_pInChannelNames);
        const CAudioParamStorage& ui = m_pInChannelNames->uiStorage();
        differs = names.count() != ui.elementCount(0);
        CString text;
        for (int32_t i = 0; !differs && i < names.count(); ++i) {
            (void)ui.getText(0, i, text);
            differs = text != names[i];
        }
    }
    if (!differs) return;

    CAudioParamUndo* undo = m_registry ? m_registry->undo() : nullptr;
    CAudioUndoRecord* record = undo ? undo->createRecord(CString("Channel label import")) : nullptr;
    auto* batch = new CAudioParamChangeList();
    CAudioParamUndoContext context;
    context.undoRecord = record;
    context.batch = batch;
    m_collector->holdHostNotifications();
    writeStrings(m_pInChannelNames, names, this, context);
    if (batch->isEmpty())
        delete batch;
    else
        m_collector->postBatch(batch);
    m_collector->releaseHostNotifications();
    if (record) undo->submit(record);
}

// ---- messages to UI clients ----

void CAudioWrapper::sendUpdateSampleRate() {
    if (m_interfaceBase) m_interfaceBase->sendUpdateSampleRate();
}

void CAudioWrapper::sendStartViz() {
    if (m_interfaceBase) m_interfaceBase->sendStartViz();
}

void CAudioWrapper::sendStopViz() {
    if (m_interfaceBase) m_interfaceBase->sendStopViz();
}

void CAudioWrapper::sendClearClient() {
    if (m_interfaceBase) m_interfaceBase->sendClearClient();
}

void CAudioWrapper::sendUpdateIoChannelCounts() {
    if (m_interfaceBase) m_interfaceBase->sendUpdateIoChannelCounts();
}

void CAudioWrapper::dropPendingVizData() {
    if (m_vizCollector) m_vizCollector->dropPending();
}

// Under the environment lock: the listener counts that displays changed since the last block.
void CAudioWrapper::exchangeVizLocked() {
    if (!m_vizCollector) return;
    bool requested = false;
    CAudioVizDeltaList* deltas = m_vizCollector->takeDeltasLocked(requested);
    if (!deltas) return;
    if (m_vizDeltas) {
        // Not applied yet (a priming step between two takes): the older list goes first.
        m_vizCollector->applyDeltas(m_vizDeltas, true);
    }
    m_vizDeltas = deltas;
}

// Outside the lock, before the parameter changes: a source switched on or off moves its
// `-enable` parameter on the audio side at once, so the graph takes its meter in or out now.
void CAudioWrapper::applyVizDeltas() {
    if (!m_vizCollector || !m_vizDeltas) return;
    CAudioVizDeltaList* deltas = m_vizDeltas;
    m_vizDeltas = nullptr;
    m_vizCollector->applyDeltas(deltas, true);
}

void CAudioWrapper::bindInterfaceDataProvider() {
    if (m_interfaceBase) m_interfaceBase->setDataProvider(this);
}

}  // namespace orl
