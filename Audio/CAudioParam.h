#pragma once
#include <cstdint>

#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioParamUndoContext.h"
#include "Core/CArray.h"
#include "Core/CString.h"
#include "Platform/CCriticalSection.h"

namespace orl {

class CAudioParamChange;
class CAudioParamChangeListener;
class CAudioParamChangeSink;
class CAudioParamEnumRegistry;
class CAudioParamFilterInput;
class CAudioParamInfo;
class CAudioParamLockContext;
class CAudioParamLockObserver;
class CError;
class CInputStream;
class COutputStream;

// A parameter of one plug-in instance. It keeps three storages: the UI side, which the UI and
// the host read and write under the parameter's lock; the audio side, which the modules read
// at block starts and which only the audio thread writes; and the defaults that reset brings
// back. Every write is a change record: it is applied to the UI side here and passed on to the
// change sink, which brings it to the audio side.
//
// A parameter may exist before its definition is known (someone asked for its name): it then
// has no info, takes no change, and its readers get their fallbacks until allocate.
class CAudioParam {
public:
    explicit CAudioParam(const CString& name);
    ~CAudioParam();
    CAudioParam(const CAudioParam&) = delete;
    CAudioParam& operator=(const CAudioParam&) = delete;

    const CString& name() const { return m_name; }
    // The definition, or null before allocation. Not owned: definitions outlive parameters.
    const CAudioParamInfo* info() const { return m_info; }
    bool isStorable() const;
    bool isPersistent() const;

    // Gives the parameter its definition, unless it has one of the same name and layout: a
    // change of the whole parameter with the defaults, then one change per group of the
    // defaults, each also applied to the defaults storage. Not undoable; applied to the audio
    // side at once.
    void allocate(const CAudioParamInfo& info, CAudioParamLockContext* lock);

    // ---- collaborators; set up before the parameter is shared between threads ----
    void setChangeSink(CAudioParamChangeSink* sink) { m_sink = sink; }
    void setLockObserver(CAudioParamLockObserver* observer) { m_lockObserver = observer; }
    CAudioParamLockObserver* lockObserver() const { return m_lockObserver; }
    void setEnumRegistry(CAudioParamEnumRegistry* registry) { m_enumRegistry = registry; }
    CAudioParamEnumRegistry* enumRegistry() const { return m_enumRegistry; }
    // Listeners and filters are kept in the order added; each at most once.
    void addListener(CAudioParamChangeListener* listener, CAudioParamLockContext* lock = nullptr);
    void removeListener(CAudioParamChangeListener* listener, CAudioParamLockContext* lock = nullptr);
    void addFilter(CAudioParamFilterInput* filter, CAudioParamLockContext* lock = nullptr);
    void removeFilter(CAudioParamFilterInput* filter, CAudioParamLockContext* lock = nullptr);

    // ---- storages ----
    // UI side and defaults: read with the parameter locked.
    const CAudioParamStorage& uiStorage() const { return m_ui; }
    const CAudioParamStorage& defaultStorage() const { return m_defaults; }
    // Audio side: read and written by the audio thread alone (and by the change sink on it).
    CAudioParamStorage& audioStorage() { return m_audio; }
    const CAudioParamStorage& audioStorage() const { return m_audio; }
    // The section that a lock context enters; recursive.
    CCriticalSection& section() { return m_section; }

    // ---- values, UI side ----
    double getValue(int32_t group, int32_t element, double fallback) const;
    // The text of a string element; false (out empty) when there is none.
    bool getString(CString& out, int32_t group, int32_t element) const;
    // Element 0 of a group takes value (number 0 of it; the element's other numbers stay).
    bool setValue(double value, int32_t group, const void* source, CAudioParamLockContext* lock,
                  const CAudioParamUndoContext& undo = CAudioParamUndoContext());
    // One string or raw element; ignored (false) when the parameter holds another type.
    bool setString(int32_t group, int32_t element, const CString& text, const void* source,
                   CAudioParamLockContext* lock, const CAudioParamUndoContext& undo = CAudioParamUndoContext());
    bool setRaw(int32_t group, int32_t element, const void* bytes, uint32_t size, const void* source,
                CAudioParamLockContext* lock, const CAudioParamUndoContext& undo = CAudioParamUndoContext());

    // The general write. A change that starts beyond the end of its group is first padded with
    // the defaults of the missing elements. Then: undo snapshot, the UI side, the hand-over
    // (batch list, change sink, or the audio side directly when there is no sink), the
    // enumerating registry, the listeners, the filters. False when the change doesn't fit the
    // parameter's layout, and nothing happened.
    bool change(const CAudioParamChange& record, CAudioParamLockContext* lock,
                const CAudioParamUndoContext& undo = CAudioParamUndoContext());

    // Back to the defaults: all groups (group below 0), one group (element -1) or one element
    // (the defaults' element 0 of group 0 with useFirstElement). Nothing without info or for a
    // group beyond the UI side's groups.
    void reset(int32_t group, int32_t element, CAudioParamLockContext* lock,
               const CAudioParamUndoContext& undo = CAudioParamUndoContext(), bool useFirstElement = false);

    // The UI side in the stored form of CAudioParamStorage: all groups (-1) or one.
    CError* save(COutputStream& out, int32_t group) const;
    // Reads that form and changes the parameter to it: with -1 each group read replaces its
    // group and groups beyond them are emptied; with a group, the first group read replaces it.
    // Fails, changing nothing, when the stored layout isn't the parameter's.
    CError* load(CInputStream& in, int32_t group, const void* source, CAudioParamLockContext* lock,
                 const CAudioParamUndoContext& undo = CAudioParamUndoContext());

private:
    // A change of a whole group to the content of a storage's group (none when it has none).
    bool changeGroupTo(const CAudioParamStorage& from, int32_t fromGroup, int32_t group, const void* source,
                       CAudioParamLockContext& lock, const CAudioParamUndoContext& undo);
    bool changeElement(int32_t group, int32_t element, const double* numbers, const CAudioParamData* data,
                       const void* source, CAudioParamLockContext& lock, const CAudioParamUndoContext& undo);
    bool changePadded(const CAudioParamChange& record, int32_t group, CAudioParamLockContext& lock,
                      const CAudioParamUndoContext& undo);

    mutable CCriticalSection m_section;
    CAudioParamChangeSink* m_sink = nullptr;
    CAudioParamLockObserver* m_lockObserver = nullptr;
    CString m_name;
    const CAudioParamInfo* m_info = nullptr;
    CAudioParamStorage m_ui;
    CAudioParamStorage m_defaults;
    CArray<CAudioParamChangeListener*> m_listeners;
    CArray<CAudioParamFilterInput*> m_filters;
    CAudioParamStorage m_audio;
    CAudioParamEnumRegistry* m_enumRegistry = nullptr;
};

}  // namespace orl
