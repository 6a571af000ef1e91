#pragma once
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Audio/CAudioModule.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/CAudioProcessDefBase.h"
#include "Audio/CSampleBufferPool.h"
#include "Core/CObject.h"
#include "tests/Support/CTestParamHost.h"

namespace orl {
class CAudioParamCollector;
}

namespace orl::test {

// Small modules for graph tests. Each reads its settings from its definition's attributes.

// out = in * gain; gain from parameter slot 0, else the definition's "gain" (default 1).
class CTestGainModule : public CAudioModule {
public:
    CTestGainModule() { m_paramCount = 1; }
    void update() override;
    void process();
    double m_gain = 1.0;
};

// Delays by the definition's "latency" samples and reports that latency.
class CTestDelayModule : public CAudioModule {
public:
    void connectPorts() override;
    void resetState() override;
    void process();
    std::vector<double> m_history;
    int32_t m_delay = 0;
    size_t m_pos = 0;
};

// out = in + n, n counting the samples since the last reset: shows kept and lost state.
class CTestCounterModule : public CAudioModule {
public:
    void resetState() override;
    void process();
    double m_count = 0.0;
    static int s_resets;
};

// out = in * the port-1 channel of the module's group, or in when there is none.
class CTestMultModule : public CAudioModule {
public:
    void update() override;
    void process();
    const CAudioChannel* m_side = nullptr;
};

// A definition node: tag, name, attributes and children, built in code the way the loader does.
struct CDefNode {
    std::string tag;
    std::string name;
    std::vector<std::pair<std::string, std::string>> attrs;
    std::vector<CDefNode> children;
};

// Registers the test module tags ("test:gain", "test:delay", "test:counter", "test:mult").
void registerTestModules();
// Builds the node below parent with the full life cycle; null (and a test failure) on error.
CObject* buildDef(CObject* parent, const CDefNode& node);

// One graph instance driven like the shell drives the root: external input on port 0.
class CTestGraphRunner {
public:
    CTestGraphRunner() = default;
    ~CTestGraphRunner();
    // Makes the root process of a definition; parameters it uses must be in m_host already.
    void start(const CAudioProcessDefBase* def);

    // Runs one block; channel i carries inputs[i] with index i and group groups[i].
    std::map<int32_t, std::vector<double>> run(const std::vector<std::vector<double>>& inputs,
                                               const std::vector<int32_t>& groups, int32_t count,
                                               double sampleRate = 48000.0);
    // The same without collecting outputs into vectors (no allocation in the loop).
    void runInPlace(const double* const* inputs, const int32_t* groups, int32_t channels, int32_t count,
                    double sampleRate);
    std::map<int32_t, int32_t> outputLatencies() const { return m_latencies; }

    CSampleBufferPool m_pool;
    CTestParamHost m_host;
    // A real collector instead of m_host, set before start: its changes are applied at each
    // block start, as the shell does.
    CAudioParamCollector* m_collector = nullptr;
    CAudioProcessBase* m_root = nullptr;

private:
    std::map<int32_t, int32_t> m_latencies;
};

}  // namespace orl::test
