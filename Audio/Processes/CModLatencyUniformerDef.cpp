#include "Audio/Processes/CModLatencyUniformerDef.h"

#include <cmath>

#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Processes/CModLatencyUniformer.h"
#include "Core/CError.h"

namespace orl {

namespace {

const CCreatorRow kUniformerCreators[] = {
    {"audio:modLatencyUniformer", &createObjectOf<CModLatencyUniformerDef>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

int32_t readInt(const CString& text) {
    int32_t v = -1;
    return text.trimmed().toInt(v) ? v : -1;
}

}  // namespace

CModLatencyUniformerDef::CModLatencyUniformerDef() { (void)ensureCreatorsRegistered(); }

bool CModLatencyUniformerDef::ensureCreatorsRegistered() {
    static const bool registered =
        registerCreatorTable(kUniformerCreators) && CAudioProcessDefBaseInit::ensureCreatorsRegistered();
    return registered;
}

CError* CModLatencyUniformerDef::init() {
    if (CError* err = CAudioProcessDefBase::init()) return ORL_PASS(err, fullName());
    m_rows.clear();
    CArray<CString> pairs;
    getAttrString(CString("latencies")).split(u';', true, true, pairs);
    for (const CString& pair : pairs) {
        const int32_t eq = pair.find(u'=');
        CRow row;
        row.rate = readInt(eq < 0 ? pair : pair.substring(0, eq));
        row.total = eq < 0 ? -1 : readInt(pair.substring(eq + 1));
        m_rows.add(row);
    }
    return nullptr;
}

int32_t CModLatencyUniformerDef::totalFor(double sampleRate) const {
    if (!(sampleRate > 0.0) || sampleRate > 2147483647.0) return -1;
    const int64_t r = std::llround(sampleRate);
    for (const CRow& row : m_rows) {
        if (row.rate >= 0 && r <= row.rate) return row.total;
    }
    return -1;
}

CAudioProcessBase* CModLatencyUniformerDef::createProcess() const { return new CModLatencyUniformer(); }

namespace {
// Registered while the library loads, like every other creator table.
[[maybe_unused]] const bool g_uniformerRegistered = CModLatencyUniformerDef::ensureCreatorsRegistered();
}  // namespace

}  // namespace orl
