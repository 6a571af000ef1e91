#pragma once
#include "Audio/CAudioParamChangeListener.h"
#include "Core/COwnedUpdateListener.h"
#include "Core/CString.h"

namespace orl {

class CAppData;
class CAudioParam;

// A parameter tied to a stored datum: the datum's value is read into the parameter when the tie
// starts and whenever another writer changes the datum; a change of the parameter from any other
// source is written to the datum. Numbers are stored as the text of the element-0 converter,
// strings as text, raw data as bytes.
class CSharedParam : public CAudioParamChangeListener {
public:
    CSharedParam(CAudioParam& param, CAppData& store, const CString& dataName);
    ~CSharedParam() override;
    CSharedParam(const CSharedParam&) = delete;
    CSharedParam& operator=(const CSharedParam&) = delete;

    // Attaches to both sides and reads the datum into the parameter.
    void start();
    void stop();

    CAudioParam& param() const { return m_param; }
    const CString& dataName() const { return m_dataName; }

    void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& record,
                        CAudioParamLockContext& lock, const CAudioParamUndoContext& undo) override;

private:
    void onStoreChanged(const CUpdateNotifier::Notification& notification);
    // Reads the datum into the parameter, with this object as the change's source.
    void readFromStore(CAudioParamLockContext* lock);
    void writeToStore();

    CAudioParam& m_param;
    CAppData& m_store;
    CString m_dataName;
    // The text last written or read, so that an unchanged value isn't written again.
    CString m_cachedText;
    COwnedUpdateListener<CSharedParam> m_dataListener;
    bool m_started = false;
};

}  // namespace orl
