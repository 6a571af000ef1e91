#pragma once
#include <cstdint>

#include "Audio/CAudioParamChangeListener.h"
#include "Audio/CAudioParamUndo.h"
#include "Core/CMap.h"
#include "Core/CMemoryReader.h"
#include "Core/CUpdateListener.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParam;
class CAudioParamChange;
class CAudioParamCollector;
class CAudioParamRegistry;
class CAudioUndoRecord;
class CInterfaceMessage;
class CParamInterfaceBaseConnector;

// The audio side's partner of every window: it runs the windows' messages (listen to, change
// and reset parameters, undo steps, presets and programs) on the sender's thread, and answers
// through the connector's queues. It is also the instance's undo list, so that every change of
// the list reaches the windows at once.
//
// Attributes: `base-connector`, `param-collector`, `undo-count-max`.
//
// Ids: a listen id or undo id is (client id << 16) + a counter of the client, so that the id
// itself names the client that an answer goes to, and no two clients' ids collide.
//
// Locks, in order: the connector's data lock, the read-stream lock, the listener-map lock, a
// parameter's lock; the connector's queue lock is a leaf under any of them. Host calls (the
// edit brackets) are made with no parameter lock held.
class CParamInterfaceBase : public CAudioParamUndo {
public:
    CParamInterfaceBase();
    ~CParamInterfaceBase() override;

    static void fillDescriptors(CClassDescriptors& descriptors);

    CError* init() override;
    void release() override;
    // Sends `update-undo-history` to every client.
    void onUndoHistoryChanged() override;

    // The connector's entry: runs one message of a client. The message's event names the
    // handler; an unknown event or a payload that can't be read is an error for the caller.
    CError* receive(int32_t clientId, const uint8_t* data, uint32_t size);

    CParamInterfaceBaseConnector* connector() const { return m_connector; }
    CAudioParamCollector* paramCollector() const { return collector(); }
    int32_t paramListenerCount();
    int32_t registryListenerCount();
    int32_t openUndoCount();

    static int32_t clientOf(uint32_t id) { return static_cast<int32_t>(id >> 16); }

protected:
    // The message being run and its sender; valid inside a handler.
    CMemoryReader& readStream() { return m_read; }
    int32_t senderId() const { return m_sender; }
    // Takes the message over and queues it for a client (-1: all).
    void send(int32_t clientId, CInterfaceMessage& message);
    // The read-stream lock: also taken by senders that number their messages.
    CCriticalSection& readLock() { return m_readLock; }

    // The host's edit brackets around a control's gesture; the audio base passes them to its
    // data provider.
    virtual void beginParamEdit(const CAudioParam* param, int32_t group, int32_t element);
    virtual void endParamEdit(const CAudioParam* param, int32_t group, int32_t element);

    template <CError* (CParamInterfaceBase::*Handler)()>
    static CError* handle(CObject* object) {
        return (static_cast<CParamInterfaceBase*>(object)->*Handler)();
    }

private:
    class CParamListener;
    class CRegistryListener;
    struct COpenUndo;

    CError* onCreateUndoData();
    CError* onRemoveUndoData();
    CError* onSubmitUndoData();
    CError* onRequestUndoHistory();
    CError* onSetUndoHistoryPos();
    CError* onListenParam();
    CError* onUnlistenParam();
    CError* onChangeParam();
    CError* onResetParam();
    CError* onListenRegistry();
    CError* onUnlistenRegistry();
    CError* onSetCurrentProgram();
    CError* onRenamePreset();
    CError* onActivateFactoryPreset();
    CError* onActivatePreset();
    CError* onRequestPreset();
    CError* onRequestBank();
    CError* onSetDefaultPreset();
    CError* onActivateDefaultPreset();
    CError* onExchangeShadowPreset();
    CError* onUpdateShadowPreset();

    void sendUndoHistory(int32_t clientId);
    // `update-param-info`: the parameter's information when it has one, and the record if any.
    void sendParamInfo(uint32_t listenId, CAudioParam& param, const CAudioParamChange* record);
    void sendRegistryList(uint32_t listenId, CAudioParamRegistry& registry, bool isFactory);
    // The registry behind a listen id, or the error of the unknown or vanished registry.
    CError* getRegistry(uint32_t listenId, CAudioParamRegistry*& out);
    CAudioParam* listenedParam(uint32_t listenId);
    // Takes an open undo record out of the map; null when there is none.
    COpenUndo* takeOpenUndo(uint32_t undoId);
    void endEdits(COpenUndo& open);
    void detachAll();

    CParamInterfaceBaseConnector* m_connector = nullptr;
    CCriticalSection m_readLock{2000, true};
    CMemoryReader m_read;
    int32_t m_sender = -1;
    CCriticalSection m_listenerLock{2000, true};
    CMap<uint32_t, COpenUndo*> m_openUndo;
    CMap<uint32_t, CParamListener*> m_paramListeners;
    CMap<uint32_t, CRegistryListener*> m_registryListeners;
};

}  // namespace orl
