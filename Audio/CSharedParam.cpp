#include "Audio/CSharedParam.h"

#include <thread>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/Converters/CAudioParamConverter.h"
#include "Core/CAppData.h"

namespace orl {

namespace {

// How long a notification waits for a parameter that another thread holds before it lets the
// update go. The holder is either reading briefly, or changing the parameter itself, and then
// its own value reaches the datum after this one; waiting without limit could deadlock against
// a second instance doing the same the other way round.
constexpr int kLockAttempts = 20000;

}  // namespace

CSharedParam::CSharedParam(CAudioParam& param, CAppData& store, const CString& dataName)
    : m_param(param), m_store(store), m_dataName(dataName), m_dataListener(this, &CSharedParam::onStoreChanged) {}

CSharedParam::~CSharedParam() { stop(); }

void CSharedParam::start() {
    if (m_started) return;
    m_started = true;
    m_param.addListener(this);
    m_dataListener.attach(&m_store, m_store.getUpdateKey(m_dataName));
    CAudioParamLockContext lock(m_param);
    readFromStore(&lock);
}

void CSharedParam::stop() {
    if (!m_started) return;
    m_started = false;
    m_dataListener.detach();
    m_param.removeListener(this);
}

void CSharedParam::readFromStore(CAudioParamLockContext* lock) {
    const CAudioParamInfo* info = m_param.info();
    if (!info) return;
    if (info->dataType == CAudioParamInfo::kRaw) {
        CByteBuffer bytes;
        m_store.read(m_dataName, bytes, CAppData::kTypeData);
        if (!bytes.isEmpty()) m_param.setRaw(0, 0, bytes.data(), bytes.size(), this, lock);
        return;
    }
    CString text;
    if (!m_store.readString(m_dataName, text)) return;
    m_cachedText = text;
    if (info->dataType == CAudioParamInfo::kString) {
        m_param.setString(0, 0, text, this, lock);
        return;
    }
    const CAudioParamConverter* converter = info->converter(0);
    if (!converter) return;
    bool ok = false;
    const double value = converter->parseValue(*info, 0, text, ok);
    if (ok) m_param.setValue(value, 0, this, lock);
}

void CSharedParam::writeToStore() {
    const CAudioParamInfo* info = m_param.info();
    const CAudioParamStorage& ui = m_param.uiStorage();
    if (!info || !ui.isValid() || ui.groupCount() < 1 || ui.elementCount(0) < 1) return;
    if (info->dataType == CAudioParamInfo::kRaw) {
        const CAudioParamDataItem* item = ui.findElementItem(0, 0);
        if (item && item->getType() == CAudioParamDataItem::kRaw) {
            m_store.write(m_dataName, static_cast<const CAudioParamDataItemRaw*>(item)->bytes(), this,
                          CAppData::kTypeData);
        }
        return;
    }
    CString text;
    if (info->dataType == CAudioParamInfo::kString) {
        if (!ui.getText(0, 0, text)) return;
    } else {
        const CAudioParamConverter* converter = info->converter(0);
        if (!converter) return;
        converter->format(text, *info, 0, ui.getValue(0, 0, 0.0), &ui.data(), 0);
    }
    if (text == m_cachedText) return;
    m_cachedText = text;
    m_store.writeString(m_dataName, text, this);
}

void CSharedParam::onParamChanged(const void* source, CAudioParam& /*param*/, const CAudioParamChange& /*record*/,
                                  CAudioParamLockContext& /*lock*/, const CAudioParamUndoContext& /*undo*/) {
    if (source == this) return;
    writeToStore();
}

void CSharedParam::onStoreChanged(const CUpdateNotifier::Notification& notification) {
    if (notification.source == this) return;
    bool held = false;
    for (int i = 0; i < kLockAttempts && !(held = m_param.section().tryEnter()); ++i) std::this_thread::yield();
    if (!held) return;
    {
        CAudioParamLockContext lock(m_param);
        readFromStore(&lock);
    }
    m_param.section().leave();
}

}  // namespace orl
