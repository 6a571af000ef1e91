#pragma once
#include <map>
#include <string>
#include <vector>

#include "Audio/CAudioParamReader.h"

namespace orl::test {

// A parameter as the graph reads it, with values set directly by a test.
class CTestParam : public CAudioParamReader {
public:
    CTestParam(int32_t groups, int32_t elements, double value, bool singleGroup = false)
        : m_singleGroup(singleGroup), m_values(groups, std::vector<double>(elements, value)), m_defaults{value} {}
    bool isSingleGroup() const override { return m_singleGroup; }
    bool isSingleElement() const override { return false; }
    int32_t groupCount() const override { return static_cast<int32_t>(m_values.size()); }
    int32_t elementCount(int32_t g) const override { return static_cast<int32_t>(m_values[g].size()); }
    double value(int32_t g, int32_t e) const override { return m_values[g][e]; }
    int32_t defaultCount() const override { return static_cast<int32_t>(m_defaults.size()); }
    double defaultValue(int32_t i) const override { return m_defaults[i]; }

    bool m_singleGroup;
    std::vector<std::vector<double>> m_values;
    std::vector<double> m_defaults;
    std::vector<CAudioParamListener*> m_listeners;
};

// Stands in for the parameter collector: finds parameters by full name, keeps listeners and
// tells them of changes the way the collector does (a group bit and the update flag).
class CTestParamHost : public CAudioParamHost {
public:
    CTestParam& add(const std::string& name, int32_t groups, int32_t elements, double value, bool singleGroup = false) {
        return m_params.emplace(name, CTestParam(groups, elements, value, singleGroup)).first->second;
    }
    // Sets a value of every group (group -1) or of one group, for all elements.
    void set(const std::string& name, double value, int32_t group = -1) {
        CTestParam& p = m_params.at(name);
        uint32_t mask = 0;
        for (int32_t g = 0; g < p.groupCount(); ++g) {
            if (group >= 0 && g != group) continue;
            for (double& v : p.m_values[g]) v = value;
            mask |= 1u << g;
        }
        for (CAudioParamListener* l : p.m_listeners) {
            l->changedMask->fetch_or(mask);
            l->updatePending->store(true);
        }
    }
    const CAudioParamReader* findParam(const CString& fullName) override {
        auto it = m_params.find(fullName.narrowed().c8());
        return it == m_params.end() ? nullptr : &it->second;
    }
    void addListener(const CAudioParamReader* param, CAudioParamListener* listener) override {
        const_cast<CTestParam*>(static_cast<const CTestParam*>(param))->m_listeners.push_back(listener);
        ++m_listenerCount;
    }
    void removeListener(const CAudioParamReader* param, CAudioParamListener* listener) override {
        auto& ls = const_cast<CTestParam*>(static_cast<const CTestParam*>(param))->m_listeners;
        for (auto it = ls.begin(); it != ls.end(); ++it) {
            if (*it == listener) {
                ls.erase(it);
                --m_listenerCount;
                return;
            }
        }
    }
    int m_listenerCount = 0;

private:
    std::map<std::string, CTestParam> m_params;
};

}  // namespace orl::test
