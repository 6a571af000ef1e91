#pragma once
#include <gtest/gtest.h>

#include <memory>

#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessTerminalBase.h"
#include "Audio/Processes/CSignalModules.h"
#include "tests/Support/CTestCollector.h"
#include "tests/Support/CTestGraph.h"

namespace orl::test {

// A test with a shared tree, a tree of definitions and one graph instance made from them.
// Parameters go into host() before start(), as the collector has them before the graph.
class CGraphTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CSignalModules::registerAll());
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        m_defs = CObject::newRoot();
    }
    void TearDown() override {
        m_runner.reset();
        m_collector.reset();
        m_defs->destroy();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CTestParamHost& host() {
        if (!m_runner) m_runner = std::make_unique<CTestGraphRunner>();
        return m_runner->m_host;
    }
    // The graph's parameters from a real collector instead of host(); declared in it before
    // start, changed through it, and applied at each block start.
    CTestCollector& collector() {
        if (!m_collector) {
            CError* err = m_shared->loadXMLData(CString("SharedData.xml"), true);
            EXPECT_EQ(err, nullptr);
            deleteError(err);
            m_collector = std::make_unique<CTestCollector>();
            m_collector->setStarted(true);
            host();
            m_runner->m_collector = &m_collector->collector();
        }
        return *m_collector;
    }
    // A fresh runner and definition tree, so that the next "main" keeps its name.
    CTestParamHost& fresh() {
        m_runner.reset();
        m_defs->destroy();
        m_defs = CObject::newRoot();
        return host();
    }
    CTestGraphRunner& start(const CDefNode& root) {
        host();
        auto* def = dynamic_cast<CAudioProcessDefBase*>(buildDef(m_defs, root));
        EXPECT_NE(def, nullptr);
        if (def) m_runner->start(def);
        return *m_runner;
    }
    CAudioProcess* rootProcess() const { return static_cast<CAudioProcess*>(m_runner->m_root); }
    CAudioProcessTerminalBase* terminal(const char* name) const {
        return dynamic_cast<CAudioProcessTerminalBase*>(rootProcess()->childProcess(CString(name)));
    }

    CObject* m_shared = nullptr;
    CObject* m_defs = nullptr;
    std::unique_ptr<CTestGraphRunner> m_runner;
    std::unique_ptr<CTestCollector> m_collector;
};

}  // namespace orl::test
