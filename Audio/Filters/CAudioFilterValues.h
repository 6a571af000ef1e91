#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

// The parameter values a filter generator works from, addressed by name ("freq", "gain", "bw",
// ...). The names belong to the definitions that hand them in and outlive the list, so a copy
// costs no allocation: the list is made and adjusted on the audio thread at block starts.
class CAudioFilterValues {
public:
    static constexpr int32_t kMaxValues = 16;

    // Sets the value of a name, adding it when new; false when the list is full.
    bool set(const CString* name, double value) {
        for (int32_t i = 0; i < m_count; ++i) {
            if (*m_names[i] == *name) {
                m_values[i] = value;
                return true;
            }
        }
        if (m_count >= kMaxValues) return false;
        m_names[m_count] = name;
        m_values[m_count] = value;
        ++m_count;
        return true;
    }
    // The position of a name, or -1.
    int32_t find(const char* name) const {
        for (int32_t i = 0; i < m_count; ++i) {
            if (*m_names[i] == name) return i;
        }
        return -1;
    }
    double get(const char* name, double fallback) const {
        const int32_t i = find(name);
        return i < 0 ? fallback : m_values[i];
    }
    int32_t count() const { return m_count; }
    const CString& name(int32_t i) const { return *m_names[i]; }
    double value(int32_t i) const { return m_values[i]; }
    void setValue(int32_t i, double value) { m_values[i] = value; }
    void clear() { m_count = 0; }

private:
    const CString* m_names[kMaxValues] = {};
    double m_values[kMaxValues] = {};
    int32_t m_count = 0;
};

}  // namespace orl
