#pragma once
#include <atomic>
#include <cstdint>

#include "Audio/CAudioParamDefResolver.h"
#include "Audio/CAudioParamRegistryLink.h"
#include "Audio/CAudioParamRegistryNameListener.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Core/CArray.h"
#include "Core/CMap.h"
#include "Core/CObject.h"
#include "Core/CString.h"
#include "Core/CUpdateNotifier.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParam;
class CAudioParamCollector;
class CAudioParamUndo;
class CAudioRoutingInfoProvider;
class CAudioUndoHistory;
class CError;
class CInputStream;
class COutputStream;

// The parameters under one name prefix, saved, restored and listed as presets (tag
// "audio:param-registry"). A master registry (`is-master`) is what the host sees as programs:
// it keeps the factory bank (from the resource or file named by `file`), the session bank with
// one entry per program, one undo history per program, and the A/B shadow state. Other
// registries hold partial presets (routing, colours, compressor modes) that the UI applies.
//
// Attributes: `id` (the prefix of preset names), `hierarchy` (the parameters' path; the prefix
// is it with "." appended), `is-master`, `preset-naming` (text of undo step names), `file`,
// `preset-name-param`, `group-names-param`, `def-name-remap` ("from=to" pairs separated by
// blanks), `param-undo`, `param-collector`, `is-enumerated`, `is-element-enum`,
// `is-global-param-storable`, `store-name`.
//
// Listeners of the registry (CUpdateNotifier, key 0) hear of program changes, renames and bank
// loads, with the caller's source.
//
// Locks, in order: the registry lock (banks, current index, shadow, per-program histories), the
// param map lock (the map of parameters), a parameter's lock, the environment lock. The names
// of the session entries are guarded by a leaf lock of their own, so that the name listener,
// which runs with the preset name parameter locked, may rename without the registry lock.
class CAudioParamRegistry : public CObject, public CAudioParamRegistryLink, public CUpdateNotifier {
public:
    static constexpr const char* kTag = "audio:param-registry";
    // The stored default of the master's first program, in the product's local data.
    static constexpr const char* kDefaultPresetData = "default-preset";
    // What a hand edit turns the preset name into.
    static constexpr const char* kEditedName = "User";

    // Registers the tag once; true when it is registered.
    static bool ensureCreatorsRegistered();

    CAudioParamRegistry();
    ~CAudioParamRegistry() override;

    // Reads the attributes, builds the banks (master), reads the stored default preset and, when
    // enumerated, the stored list, and joins the collector.
    CError* init() override;

    // ---- CAudioParamRegistryLink ----
    const CString& paramPrefix() const override { return m_prefix; }
    bool isEnumerated() const override { return m_isEnumerated; }
    bool offerParam(CAudioParam& param) override;
    // The master applies its current program, then again with the persistent parameters.
    void firstActivation() override;
    const CString& registryName() const override { return fullName(); }

    // ---- attributes ----
    const CString& id() const { return m_id; }
    bool isMaster() const { return m_isMaster; }
    bool isElementEnum() const { return m_isElementEnum; }
    bool isGlobalParamStorable() const { return m_isGlobalParamStorable; }
    const CString& presetNaming() const { return m_presetNaming; }
    CAudioParamCollector* collector() const { return m_collector; }
    CAudioParamUndo* undo() const { return m_undo; }
    CAudioParam* presetNameParam() const { return m_presetNameParam; }
    const CArray<CAudioParamDefResolver::CPair>& nameRemaps() const { return m_remaps; }
    // The shell sets it on the master; null detaches it.
    void setRoutingInfo(CAudioRoutingInfoProvider* provider) { m_routingInfo = provider; }
    bool hasStoredDefault() const { return m_hasStoredDefault; }

    // Whether a parameter goes into this registry's presets: storable; or persistent when
    // includePersistent; or global with `is-global-param-storable`. Never without definition.
    bool isStored(const CAudioParam& param, bool includePersistent) const;

    // ---- programs (the session bank) ----
    int32_t getProgram() const { return m_current.load(std::memory_order_acquire); }
    // Stores the current state into the current entry, moves the undo list along with the
    // program, and applies the new entry. The current index or one out of range does nothing.
    void setProgram(int32_t index, const void* source);
    // The session count on a master (at least 1); 0 otherwise.
    int32_t getProgramCount() const;
    // The full name of the current entry, or of an entry (empty when out of range). A registry
    // that isn't master names its current state: id + ":" + the preset name parameter's text.
    void getPresetName(CString& out) const;
    void getPresetName(CString& out, int32_t index) const;
    // The full names of the factory or the session bank; the current index, -1 for the factory.
    void getPresetNames(bool isFactory, CArray<CString>& out, int32_t& outCurrentIndex) const;
    // The name becomes id + ":" + name. For the current entry the preset name parameter takes
    // the text as an undo step of its own ("Program name change").
    void renamePreset(int32_t index, const CString& name, const void* source);

    // ---- presets and banks ----
    // A factory entry, as an undo step "ROM preset activate".
    CError* activateFactoryPreset(int32_t index);
    // A preset record from the stream. Its id must be this registry's ("Incompatible preset.",
    // nothing changes). group -1 applies everything, a group only that group of the parameters
    // that have groups. An undo step named after `preset-naming`.
    CError* activatePreset(CInputStream& in, bool includePersistent, int32_t group);
    // A bank record: its first presets replace the session entries by position (surplus ones are
    // ignored); every one of them must have this registry's id ("Incompatible bank.", nothing
    // changes). Their undo lists go; the current entry is applied when it was replaced.
    CError* activateBank(CInputStream& in, bool includePersistent);
    // Writes a preset record: a factory entry by index; a session entry (-1: the current one,
    // captured first); on a registry that isn't master, the current state (of a group, or all).
    CError* acquirePreset(bool isFactory, int32_t index, int32_t group, COutputStream& out);
    // Writes a bank record: the factory bank, or the session bank after capturing the current
    // entry and giving every entry the persistent values of the current state. Master only.
    CError* acquireBank(bool isFactory, COutputStream& out);
    // Every storable parameter back to its default, as the undo step "Master reset". Master only.
    void masterReset();
    // A preset record from the stream, applied as a second pass without persistent values and
    // without undo (the parameters it lacks keep their values). Master only; elsewhere nothing.
    CError* setDefaultPreset(CInputStream& in);

    // ---- A/B ----
    // The current state (and a copy of the undo list) becomes the other side.
    void updateShadowPreset();
    // Swaps the state on show with the other side, undo lists included. The first exchange
    // copies first, so that it changes nothing that can be heard.
    void exchangeShadowPreset();
    bool hasShadowPreset() const;

    // ---- edits ----
    // A hand edit of param (a control's change of group) marks the state as edited: when param
    // is stored here without the persistent rule and the preset name of that group isn't
    // "User", the preset name parameter becomes "User" in the edit's undo context, with param
    // as the source. Called with param locked. True when the name changed.
    bool markEdited(const CAudioParam& param, int32_t group, const CAudioParamUndoContext& undo) override;

    // Whether a routing preset fits the instance: non-zero `ms-pairs` needs mid/side; a
    // `sidechain` other than 0, 1, 2... or a non-zero `sidechain-mute` needs a side chain.
    static bool isPresetUsable(const CAudioPreset& preset, bool hasMidSide, bool hasSidechain);

    // ---- the operations beneath ----
    // Stores the state of the registry's parameters into preset (its items replaced): all
    // groups (-1), or one group of the parameters that have groups.
    void capturePreset(CAudioPreset& preset, int32_t group);
    // Applies a preset as one batch (see the implementation for the steps). undo may be null.
    // Not a second pass: parameters that the preset lacks go back to their defaults.
    void applyPreset(const CAudioPreset& preset, bool secondPass, bool includePersistent,
                     const CAudioParamUndoContext* undo, int32_t group);

    // Banks, for the UI's lists and for tests; read them on the thread that changes them.
    const CAudioPresetBank& factoryBank() const { return m_factory; }
    const CAudioPresetBank& sessionBank() const { return m_session; }
    const CAudioPresetBank* enumeratedBank() const { return m_enumBank; }
    // The parameter under a key relative to the prefix, or null.
    CAudioParam* findParam(const CString& key);
    int32_t paramCount();

    // By the name listener: the preset name parameter changed from elsewhere.
    void onPresetNameChanged(const CString& text, const void* source);

private:
    static CError* parseRemaps(const CString& text, CArray<CAudioParamDefResolver::CPair>& out,
                               const CString& objectName);
    // Under the param map lock.
    void mergePendingLocked();
    CAudioParam* findOrCreateLocked(const CString& key);
    // The item bytes: the parameter's path with the definition remap applied, and its storage.
    bool saveItem(CAudioParam& param, int32_t group, CByteBuffer& out) const;
    CString storedPath(const CString& paramName) const;
    // The name of a group for undo step names: the group names parameter's element, or the
    // number, 1-based.
    CString groupName(int32_t group) const;
    // Sets the preset name parameter's text, source this registry (the name listener ignores
    // it), in the given undo context.
    void writePresetNameParam(const CString& text, int32_t group, const CAudioParamUndoContext& undo);
    void setSessionName(int32_t index, const CString& name);
    CString sessionName(int32_t index) const;
    void notifyListeners(const void* source);
    bool isCompatible(const CString& presetName) const;

    CString m_prefix;
    CArray<CAudioParamDefResolver::CPair> m_remaps;
    bool m_isEnumerated = false;
    bool m_isElementEnum = false;
    bool m_isMaster = false;
    bool m_isGlobalParamStorable = false;
    CString m_id;
    CAudioParamCollector* m_collector = nullptr;
    CString m_presetNaming;
    CAudioParamUndo* m_undo = nullptr;
    CAudioPresetBank m_factory;
    mutable CCriticalSection m_registryLock;
    CAudioPresetBank m_session;
    CAudioPreset* m_shadowPreset = nullptr;
    CAudioUndoHistory* m_shadowUndo = nullptr;
    std::atomic<int32_t> m_current{0};
    CAudioParam* m_presetNameParam = nullptr;
    CAudioParam* m_groupNamesParam = nullptr;
    CAudioParamRegistryNameListener m_nameListener;
    mutable CCriticalSection m_paramMapLock;
    CMap<CString, CAudioParam*> m_params;
    CArray<CAudioUndoHistory*> m_programUndo;
    CCriticalSection m_pendingLock;
    CArray<CAudioParam*> m_pending;
    CAudioPresetBank* m_enumBank = nullptr;
    CAudioRoutingInfoProvider* m_routingInfo = nullptr;
    bool m_hasStoredDefault = false;
    // Leaf: the names of the session entries.
    mutable CCriticalSection m_nameLock;
    bool m_joinedCollector = false;
};

}  // namespace orl
