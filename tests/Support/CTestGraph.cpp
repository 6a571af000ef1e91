#include "tests/Support/CTestGraph.h"

#include <gtest/gtest.h>

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Core/CError.h"

namespace orl::test {

int CTestCounterModule::s_resets = 0;

namespace {

const CAudioProcessDefBase* defOf(const CAudioProcessTerminalBase* p) { return p->def(); }

template <class Module>
class CTestModuleDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override { return new CAudioProcessTerminal<Module>(); }
};

const CCreatorRow kTestModules[] = {
    {"test:gain", &createObjectOf<CTestModuleDef<CTestGainModule>>, &CObject::fillDescriptors},
    {"test:delay", &createObjectOf<CTestModuleDef<CTestDelayModule>>, &CObject::fillDescriptors},
    {"test:counter", &createObjectOf<CTestModuleDef<CTestCounterModule>>, &CObject::fillDescriptors},
    {"test:mult", &createObjectOf<CTestModuleDef<CTestMultModule>>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

}  // namespace

void CTestGainModule::update() {
    const CAudioProcessDefBase* def = defOf(m_process);
    const CString key("gain");
    m_gain = paramValue(0, def->hasAttr(key) ? def->getAttrDouble(key) : 1.0);
}

void CTestGainModule::process() {
    for (int32_t o = 0; o < m_outputCount; ++o) {
        const double* in = inputData(o);
        double* out = outputData(o);
        for (int32_t i = 0; i < m_sampleCount; ++i) out[i] = in[i] * m_gain;
    }
}

void CTestDelayModule::connectPorts() {
    CAudioModule::connectPorts();
    m_delay = defOf(m_process)->getAttrInt(CString("latency"));
    for (int32_t o = 0; o < m_outputCount; ++o) m_outputs[o].latency += m_delay;
    m_history.assign(static_cast<size_t>(m_delay) + 1, 0.0);
    m_pos = 0;
}

void CTestDelayModule::resetState() {
    for (double& v : m_history) v = 0.0;
}

void CTestDelayModule::process() {
    const double* in = inputData(0);
    double* out = outputData(0);
    const size_t n = m_history.size();
    for (int32_t i = 0; i < m_sampleCount; ++i) {
        m_history[m_pos] = in[i];
        out[i] = m_history[(m_pos + 1) % n];
        m_pos = (m_pos + 1) % n;
    }
}

void CTestCounterModule::resetState() {
    m_count = 0.0;
    ++s_resets;
}

void CTestCounterModule::process() {
    const double* in = inputData(0);
    double* out = outputData(0);
    for (int32_t i = 0; i < m_sampleCount; ++i) out[i] = in[i] + m_count++;
}

void CTestMultModule::update() { m_side = findPortChannel(1); }

void CTestMultModule::process() {
    const double* in = inputData(0);
    double* out = outputData(0);
    const double* side = m_side && m_side->buffer ? m_side->buffer->data() : nullptr;
    for (int32_t i = 0; i < m_sampleCount; ++i) out[i] = side ? in[i] * side[i] : in[i];
}

void registerTestModules() {
    static const bool done = registerCreatorTable(kTestModules);
    (void)done;
}

CObject* buildDef(CObject* parent, const CDefNode& node) {
    registerTestModules();
    CObject* obj = nullptr;
    CError* err = parent->addChild(obj, CString(node.tag.c_str()), CString(node.name.c_str()), false);
    for (const auto& [k, v] : node.attrs) {
        if (!err) err = obj->setAttr(CString(k.c_str()), CString(v.c_str()), false);
    }
    if (!err) err = obj->init();
    if (!err) err = obj->initAttrHandlers();
    for (const CDefNode& child : node.children) {
        if (!err && !buildDef(obj, child)) return nullptr;
    }
    if (!err) err = obj->initChilds();
    if (err) {
        ADD_FAILURE() << err->text().narrowed().c8();
        deleteError(err);
        return nullptr;
    }
    return obj;
}

void CTestGraphRunner::start(const CAudioProcessDefBase* def) {
    CAudioParamHost* params = m_collector ? static_cast<CAudioParamHost*>(m_collector) : &m_host;
    if (CError* err = makeProcess(m_root, def, false, nullptr, &m_pool, params, def->baseName(), 0, 0)) {
        ADD_FAILURE() << err->text().narrowed().c8();
        deleteError(err);
    }
    if (m_root) m_root->setExternalSources(1);
}

CTestGraphRunner::~CTestGraphRunner() {
    if (!m_root) return;
    m_root->release();
    delete m_root;
}

void CTestGraphRunner::runInPlace(const double* const* inputs, const int32_t* groups, int32_t channels,
                                  int32_t count, double sampleRate) {
    if (m_collector) m_collector->applyChanges(m_collector->takeChanges());
    for (int32_t c = 0; c < channels; ++c) {
        CAudioChannel ch;
        ch.index = c;
        ch.group = groups[c];
        ch.sampleRate = sampleRate;
        ch.buffer = m_pool.acquire(count);
        for (int32_t i = 0; i < count; ++i) ch.buffer->data()[i] = inputs[c][i];
        m_root->deliver(0, ch, count);
    }
    m_root->process();
}

std::map<int32_t, std::vector<double>> CTestGraphRunner::run(const std::vector<std::vector<double>>& inputs,
                                                             const std::vector<int32_t>& groups, int32_t count,
                                                             double sampleRate) {
    std::vector<const double*> ptrs;
    for (const auto& v : inputs) ptrs.push_back(v.data());
    runInPlace(ptrs.data(), groups.data(), static_cast<int32_t>(inputs.size()), count, sampleRate);
    std::map<int32_t, std::vector<double>> out;
    m_latencies.clear();
    for (uint32_t m = m_root->outputMask(); m; m &= m - 1) {
        const CAudioChannel& ch = m_root->output(__builtin_ctz(m));
        out[ch.index].assign(ch.buffer->data(), ch.buffer->data() + m_root->outputSampleCount());
        m_latencies[ch.index] = ch.latency;
    }
    m_root->releaseOutputs();
    return out;
}

}  // namespace orl::test
