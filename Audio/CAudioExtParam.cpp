#include "Audio/CAudioExtParam.h"

#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Converters/CAudioParamConverter.h"
#include "Core/CError.h"

namespace orl {

namespace {

double clampNorm(double v) {
    if (!(v >= 0.0)) return 0.0;  // NaN too
    return v > 1.0 ? 1.0 : v;
}

}  // namespace

CAudioExtParam::~CAudioExtParam() {
    if (m_param) m_param->removeListener(this);
}

CError* CAudioExtParam::init() {
    if (CError* err = CObject::init()) return ORL_PASS(err, fullName());
    if (CError* err = findObjectChecked(m_collector, getAttrString(CString("param-collector"))))
        return ORL_PASS(err, fullName());
    m_extName = getAttrString(CString("ext-name"));
    if (m_extName.isEmpty() || m_extName.length() > kMaxNameLength) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CAudioExtParam_attrExtName_LongName Externalized parameter name '%1' is too long",
                         m_extName);
    }
    m_element = getAttrInt(CString("element-index"));
    m_group = getAttrInt(CString("group"));
    if (m_param) m_param->removeListener(this);
    m_param = m_collector->getParam(getAttrString(CString("param-name")));
    m_param->addListener(this);
    return nullptr;
}

void CAudioExtParam::setHostBridge(CAudioExtParamHostBridge* bridge, int32_t extIndex) {
    if (!m_param) return;
    CAudioParamLockContext lock(*m_param);
    m_bridge = bridge;
    m_extIndex = extIndex;
}

double CAudioExtParam::getNormalised() const {
    if (!m_param) return m_lastNormalised;
    CAudioParamLockContext lock(*m_param);
    return m_lastNormalised;
}

void CAudioExtParam::setNormalised(double value) {
    if (!m_param) return;
    CAudioParamLockContext lock(*m_param);
    m_lastNormalised = clampNorm(value);
    const CAudioParamInfo* info = m_param->info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    const CAudioParamStorage& ui = m_param->uiStorage();
    if (!converter || !ui.isValid() || !ui.isNumeric()) return;
    const double plain = converter->normToValue(*info, 0, m_lastNormalised);

    // One element; the parameter pads a group that is too short with the defaults of the
    // elements in between. Further numbers of the element keep what they hold.
    CAudioParamChange record;
    record.setTarget(ui, m_group, m_element, 1, this);
    record.clearOwnNumbers();
    record.addNumber(plain);
    for (int32_t i = 1; i < ui.elementSize(); ++i) record.addNumber(ui.getNumber(m_group, m_element, i, 0.0));
    // Automation makes no undo step.
    m_param->change(record, &lock, CAudioParamUndoContext());
}

void CAudioExtParam::onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                                    CAudioParamLockContext& /*lock*/, const CAudioParamUndoContext& /*undo*/) {
    if (record.group != CAudioParamChange::kWholeParam) {
        // The host's own change doesn't go back to it.
        if (source == this || record.group != m_group) return;
        if (m_element < record.start || m_element >= record.start + record.count) return;
    }
    const CAudioParamInfo* info = param.info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    if (!converter) return;
    const double value = param.uiStorage().getValue(m_group, m_element, 0.0);
    m_lastNormalised = clampNorm(converter->valueToNorm(*info, 0, value));
    if (m_bridge && m_collector) m_collector->deferHostAutomate(m_bridge, m_extIndex, m_lastNormalised);
}

void CAudioExtParam::formatPlainLocked(CString& out, double norm) const {
    out.clear();
    const CAudioParamInfo* info = m_param->info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    if (!converter) return;
    const double plain = converter->normToValue(*info, 0, norm);
    // Mode 2: the short form that fits a host's narrow field.
    converter->format(out, *info, 0, plain, &m_param->uiStorage().data(), 2);
}

void CAudioExtParam::getDisplay(CString& out) const {
    out.clear();
    if (!m_param) return;
    CAudioParamLockContext lock(*m_param);
    formatPlainLocked(out, m_lastNormalised);
}

void CAudioExtParam::formatNormalised(CString& out, double value) const {
    out.clear();
    if (!m_param) return;
    CAudioParamLockContext lock(*m_param);
    formatPlainLocked(out, clampNorm(value));
}

void CAudioExtParam::getLabel(CString& out) const {
    out.clear();
    if (!m_param) return;
    CAudioParamLockContext lock(*m_param);
    const CAudioParamInfo* info = m_param->info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    if (converter) out = converter->label();
}

double CAudioExtParam::parseText(const CString& text) const {
    if (!m_param) return 0.5;
    CAudioParamLockContext lock(*m_param);
    const CAudioParamInfo* info = m_param->info();
    const CAudioParamConverter* converter = info ? info->converter(0) : nullptr;
    if (!converter) return 0.5;
    bool ok = false;
    double plain = converter->parseValue(*info, 0, text, ok);
    if (!ok) plain = m_param->defaultStorage().getValue(m_group, m_element, info->defaultData.getValue(0, m_element, 0.0));
    return clampNorm(converter->valueToNorm(*info, 0, plain));
}

}  // namespace orl
