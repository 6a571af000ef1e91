#pragma once
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CError.h"
#include "Core/CObject.h"

namespace orl::test {

// One plug-in instance's parameter side as the shell sets it up: an instance tree with the
// environment and the collector, and a tree of declarations (converter "real") allocated into
// the collector by full name. The shared root must hold the shared converters (SharedData.xml).
class CTestCollector {
public:
    CTestCollector() {
        CConverterRegistration::ensureCreatorsRegistered();
        CAudioParamRegistration::ensureCreatorsRegistered();
        m_instance = CObject::newRoot();
        m_decls = CObject::newRoot();
        check(m_instance->createChild(m_env, CString("audio:env"), CString("audio-env")));
        CAttrMap attrs;
        attrs[CString("env")].setText(CString("^audio-env"));
        check(m_instance->createChild(m_collector, CString("audio:param-collector"), CString("param-collector"),
                                      false, nullptr, &attrs));
    }
    ~CTestCollector() {
        m_instance->destroy();
        m_decls->destroy();
    }
    CTestCollector(const CTestCollector&) = delete;
    CTestCollector& operator=(const CTestCollector&) = delete;

    CAudioParamCollector& collector() { return *m_collector; }
    CAudioEnv& env() { return *m_env; }
    void setStarted(bool started) {
        m_env->enterSpinning();
        m_env->setStarted(started);
        m_env->leave();
    }

    // Declares a parameter and allocates it under its full name: `groups` is how many groups a
    // set of every group (group -1) changes; defaults one per element, "a, b, c".
    CAudioParam& declare(const std::string& fullName, int32_t groups, const std::string& defValues,
                         bool singleGroup = false, const char* range = "-1000 1000") {
        CAttrMap map;
        const std::string r(range);
        const size_t blank = r.find(' ');
        map[CString("converter")].setText(CString("real"));
        map[CString("min-values")].setText(CString(r.substr(0, blank).c_str()));
        map[CString("max-values")].setText(CString(r.substr(blank + 1).c_str()));
        map[CString("def-values")].setText(CString(defValues.c_str()));
        if (singleGroup) map[CString("is-single-group")].setText(CString("true"));
        std::string local = fullName;
        for (char& c : local) c = c == '.' ? '_' : c;
        CAudioParamDef* def = nullptr;
        check(m_decls->createChild(def, CString("audio:param"), CString(local.c_str()), false, &map));
        CAudioParam* p = m_collector->getParam(CString(fullName.c_str()));
        if (def) m_collector->allocateParam(*p, def->info());
        m_params[fullName] = Entry{p, singleGroup ? 1 : groups};
        return *p;
    }
    CAudioParam& param(const std::string& fullName) { return *m_params.at(fullName).param; }

    // Every element of one group (or of every group, -1) takes value, one change per group,
    // as the UI would make it.
    void set(const std::string& fullName, double value, int32_t group = -1) {
        const Entry& e = m_params.at(fullName);
        for (int32_t g = 0; g < e.groups; ++g) {
            if (group >= 0 && g != group) continue;
            double numbers[64];
            CAudioParamChange record;
            {
                CAudioParamLockContext lock(*e.param);
                const CAudioParamStorage& ui = e.param->uiStorage();
                int32_t n = ui.elementCount(g);
                if (n == 0) n = ui.defaultCount();
                if (n > 64) n = 64;
                for (int32_t i = 0; i < n; ++i) numbers[i] = value;
                record.setTarget(ui, g, 0, n, nullptr);
                record.numbers = numbers;
                e.param->change(record, &lock);
            }
        }
    }
    // What the audio thread does at a block start.
    void drain() { m_collector->applyChanges(m_collector->takeChanges()); }

private:
    struct Entry {
        CAudioParam* param;
        int32_t groups;
    };
    static void check(CError* err) {
        if (!err) return;
        ADD_FAILURE() << err->text().narrowed().c8();
        deleteError(err);
    }

    CObject* m_instance = nullptr;
    CObject* m_decls = nullptr;
    CAudioEnv* m_env = nullptr;
    CAudioParamCollector* m_collector = nullptr;
    std::map<std::string, Entry> m_params;
};

}  // namespace orl::test
