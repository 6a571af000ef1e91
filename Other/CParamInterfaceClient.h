#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CByteBuffer.h"
#include "Core/CMap.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParamChange;
class CInterfaceMessage;
class CParamInterfaceClientConnector;
class CParamInterfaceParamListener;
class CParamInterfaceRegistryListener;

// A window's side of the parameter messages: one operation for each thing a control may ask of
// the audio side, and the handlers of the answers, which reach the controls (targets) on the
// thread that owns the window. Attribute `client-connector`.
//
// Operations may be called from any thread; they run on the audio side before they return.
// Answers arrive at the next tick of the connector's timer.
class CParamInterfaceClient : public CObject {
public:
    CParamInterfaceClient();
    ~CParamInterfaceClient() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;
    void release() override;

    // The connector's delivery of one message, on the owning thread.
    CError* receive(const uint8_t* data, uint32_t size);
    // By the connector as it goes.
    void connectorGone();

    int32_t clientId() const;

    // ---- parameters; a listen id of 0 means the request could not be sent ----
    uint32_t listenParam(const CString& name, CParamInterfaceParamListener* target);
    CError* unlistenParam(uint32_t listenId);
    CError* changeParam(uint32_t listenId, uint32_t undoId, const CAudioParamChange& record);
    CError* resetParam(uint32_t listenId, int32_t group, int32_t element, uint32_t undoId, bool useFirstElement);

    // ---- undo ----
    uint32_t createUndoData(const CString& name, bool coalesce = false, int32_t coalesceId = 0);
    CError* removeUndoData(uint32_t undoId);
    CError* submitUndoData(uint32_t undoId, const CString& name = CString());
    CError* requestUndoHistory();
    CError* setUndoHistoryPos(int32_t position);
    // The mirror of the history: "Undo history start" and the step names, and the position.
    const CArray<CString>& undoHistory() const { return m_undoNames; }
    int32_t undoPosition() const { return m_undoPosition; }

    // ---- registries, presets and programs ----
    uint32_t listenRegistry(const CString& registryPath, CParamInterfaceRegistryListener* target);
    CError* unlistenRegistry(uint32_t listenId);
    CError* setCurrentProgram(uint32_t listenId, int32_t index);
    CError* renamePreset(uint32_t listenId, int32_t index, const CString& name);
    CError* activateFactoryPreset(uint32_t listenId, int32_t index);
    // A preset record as the registry writes it.
    CError* activatePreset(uint32_t listenId, int32_t group, const CByteBuffer& presetRecord);
    CError* requestPreset(uint32_t listenId, uint32_t tag, bool isFactory, int32_t index, int32_t group);
    CError* requestBank(uint32_t listenId, uint32_t tag, bool isFactory);
    CError* setDefaultPreset(uint32_t listenId, const CByteBuffer& presetRecord);
    CError* activateDefaultPreset(uint32_t listenId);
    CError* exchangeShadowPreset(uint32_t listenId);
    CError* updateShadowPreset(uint32_t listenId);

protected:
    template <CError* (CParamInterfaceClient::*Handler)()>
    static CError* handle(CObject* object) {
        return (static_cast<CParamInterfaceClient*>(object)->*Handler)();
    }

    // A new listen or undo id: the client id above a running counter.
    uint32_t nextId();
    CError* sendToBase(CInterfaceMessage& message);
    // A message whose payload is one id.
    CError* sendWithId(const char* event, uint32_t id);
    CMemoryReader& readStream() { return m_read; }
    // Everything this client listens to is dropped at the base; the audio client adds its
    // visualisation listeners first.
    virtual void unlistenAll();

private:
    CError* onUpdateUndoHistory();
    CError* onUpdateParamInfo();
    CError* onUpdateParam();
    CError* onUpdateRegistry();
    CError* onRegistryData();

    template <class T>
    uint32_t listenTarget(CMap<uint32_t, T*>& targets, const char* event, const CString& name, T* target);
    template <class T>
    CError* unlistenTarget(CMap<uint32_t, T*>& targets, const char* event, uint32_t listenId);
    CParamInterfaceParamListener* paramTarget(uint32_t listenId);
    CParamInterfaceRegistryListener* registryTarget(uint32_t listenId);

    CCriticalSection m_connectorLock{2000, true};
    CParamInterfaceClientConnector* m_connector = nullptr;
    CCriticalSection m_readLock{2000, true};
    CMemoryReader m_read;
    CCriticalSection m_targetLock{2000, true};
    uint32_t m_counter = 1;
    CMap<uint32_t, CParamInterfaceParamListener*> m_paramTargets;
    CMap<uint32_t, CParamInterfaceRegistryListener*> m_registryTargets;
    CArray<CString> m_undoNames;
    int32_t m_undoPosition = 0;
};

}  // namespace orl
