#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/Processes/CVizModulesRegistration.h"
#include "Core/CByteBuffer.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Other/CAudioVizCollector.h"
#include "Other/CAudioVizDataMeter.h"
#include "Other/CAudioVizDeltaList.h"
#include "Other/CAudioVizEntry.h"
#include "tests/Support/CTestCollector.h"

namespace orl::test {

// A visualisation collector in the instance tree of a CTestCollector, with the enable
// declaration that the definitions place under shared::audio. The shared root must hold
// SharedData.xml.
class CVizTestInstance {
public:
    explicit CVizTestInstance(CTestCollector& params) : m_params(params) {
        EXPECT_TRUE(CVizModulesRegistration::ensureCreatorsRegistered());
        CObject* audio = CObject::sharedRoot()->findObject(CString("audio"));
        EXPECT_NE(audio, nullptr);
        if (audio && !audio->findObject(CString("param-enable-viz"))) {
            CAttrMap attrs;
            attrs[CString("is-global")].setText(CString("true"));
            attrs[CString("is-single-group")].setText(CString("true"));
            attrs[CString("is-single-element")].setText(CString("true"));
            attrs[CString("converter")].setText(CString("enum-enable"));
            attrs[CString("min-values")].setText(CString("0"));
            attrs[CString("max-values")].setText(CString("1"));
            attrs[CString("def-values")].setText(CString("0"));
            CAudioParamDef* def = nullptr;
            check(audio->createChild(def, CString("audio:param"), CString("param-enable-viz"), false, &attrs));
        }
        CAttrMap attrs;
        attrs[CString("env")].setText(CString("^audio-env"));
        attrs[CString("param-collector")].setText(CString("^param-collector"));
        check(params.collector().parent()->createChild(m_viz, CString("audio:viz-collector"), CString("viz-collector"),
                                                       false, nullptr, &attrs));
    }

    CAudioVizCollector& viz() { return *m_viz; }
    CAudioEnv& env() { return m_params.env(); }

    // The audio side of a source's enable parameter, as a bypass state reads it.
    double enableValue(const std::string& source) {
        const CAudioParamReader* r = m_params.collector().findParam(CString((source + "-enable").c_str()));
        return r ? r->pick(0, 0) : -1.0;
    }
    // What the shell does at a block start.
    void blockStart() {
        bool requested = false;
        m_viz->applyDeltas(m_viz->takeDeltas(requested), true);
    }
    // A request answered into bytes; the reader stands after the message name.
    CMemoryReader request(double rate) {
        m_message.resize(0);
        {
            CByteBufferWriter writer(m_message);
            check(m_viz->writeVizData(writer, rate));
        }
        CMemoryReader reader(m_message.data(), m_message.size());
        CString name;
        check(reader.readString(name));
        EXPECT_EQ(std::string(name.narrowed().c8()), "viz-data");
        return reader;
    }
    // The meter records of a request, by source name, in the order sent.
    struct CSeen {
        std::string name;
        int32_t channel;
        int32_t group;
        double time;
        double value1;
        double value2;
    };
    std::vector<CSeen> requestRecords(double rate = 40.0, double* now = nullptr) {
        CMemoryReader in = request(rate);
        std::vector<CSeen> seen;
        double t = 0.0;
        check(in.readDouble(t));
        if (now) *now = t;
        for (;;) {
            uint32_t count = 0;
            if (!ok(in.readUInt32(count)) || count == 0) break;
            CString name;
            check(in.readString(name));
            for (uint32_t i = 0; i < count; ++i) {
                uint32_t type = 0, size = 0;
                check(in.readUInt32(type));
                check(in.readUInt32(size));
                EXPECT_EQ(type, 0u);
                CAudioVizDataMeter m;
                check(m.load(in));
                seen.push_back({name.narrowed().c8(), m.channel, m.group, m.time, m.value1, m.value2});
            }
        }
        return seen;
    }

    static void check(CError* err) {
        if (!err) return;
        ADD_FAILURE() << err->text().narrowed().c8();
        deleteError(err);
    }
    static bool ok(CError* err) {
        const bool good = err == nullptr;
        check(err);
        return good;
    }

private:
    CTestCollector& m_params;
    CAudioVizCollector* m_viz = nullptr;
    CByteBuffer m_message;
};

}  // namespace orl::test
