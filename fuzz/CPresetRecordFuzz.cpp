// Presets and banks from outside: host chunks, preset files, stored lists. The records must read
// (plain and compressed) without crashing or leaking, whatever must read again after writing, and
// a record that a registry refuses must leave the registry's state as it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/Processes/CSignalModules.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Audio/CAudioProcessDefBaseInit.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

struct CDecl {
    const char* name;
    const char* dataType;
    const char* defValues;
    const char* flag;
};

// Declarations below "audio.modMain" and a master registry over "plugin.modMain", made once.
const CDecl kDecls[] = {
    {"gain", "", "0", "is-storable"},
    {"mode", "", "1, 2, 3", "is-storable"},
    {"label", "string", "abc", "is-storable"},
    {"blob", "raw", "x", "is-storable"},
    {"preset-name", "string", "Default", "is-storable"},
    {"bypass-enable", "", "0", "is-persistent"},
};

struct CSetup {
    CAudioParamCollector* collector = nullptr;
    CAudioParamRegistry* registry = nullptr;
    bool ok = false;

    CSetup() {
        CConverterRegistration::ensureCreatorsRegistered();
        CAudioProcessDefBaseInit::ensureCreatorsRegistered();
        CAudioParamRegistry::ensureCreatorsRegistered();
        // The shared definitions hold the whole graph, whose classes must be known to load it.
        CSignalModules::registerAll();
        CObject* shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        if (!check(shared->loadXMLData(CString("SharedData.xml"), true))) return;
        CObject* audio = shared->findObject(CString("audio"));
        // The converters stay; the product's own parameters give way to this target's small set.
        if (CObject* product = shared->findObject(CString("audio.modMain"))) product->destroy();
        CObject* modMain = nullptr;
        if (!audio || !check(audio->createChild(modMain, CString("core:object"), CString("modMain")))) return;
        for (const CDecl& d : kDecls) {
            CAttrMap map;
            const bool text = *d.dataType != 0;
            map[CString("converter")].setText(CString(text ? "text" : "real"));
            map[CString("min-values")].setText(CString("-1000"));
            map[CString("max-values")].setText(CString("1000"));
            map[CString("def-values")].setText(CString(d.defValues));
            if (text) map[CString("data-type")].setText(CString(d.dataType));
            map[CString(d.flag)].setText(CString("true"));
            CObject* def = nullptr;
            if (!check(modMain->createChild(def, CString("audio:param"), CString(d.name), false, &map))) return;
        }
        CObject* instance = CObject::newRoot();
        CObject* env = nullptr;
        if (!check(instance->createChild(env, CString("audio:env"), CString("audio-env")))) return;
        CAttrMap ca;
        ca[CString("env")].setText(CString("^audio-env"));
        if (!check(instance->createChild(collector, CString("audio:param-collector"), CString("param-collector"), false,
                                         nullptr, &ca)))
            return;
        CAttrMap ra;
        ra[CString("id")].setText(CString("qwpc"));
        ra[CString("hierarchy")].setText(CString("plugin.modMain"));
        ra[CString("is-master")].setText(CString("true"));
        ra[CString("preset-naming")].setText(CString("Master preset"));
        ra[CString("preset-name-param")].setText(CString("plugin.modMain.preset-name"));
        ra[CString("def-name-remap")].setText(CString("plugin=audio"));
        ra[CString("param-collector")].setText(CString("^param-collector"));
        if (!check(instance->createChild(registry, CString(CAudioParamRegistry::kTag), CString("param-registry"), false,
                                         nullptr, &ra)))
            return;
        for (const CDecl& d : kDecls) collector->getParam(CString("plugin.modMain.") + CString(d.name));
        collector->finish();
        drain();
        ok = true;
    }
    static bool check(CError* err) {
        if (!err) return true;
        deleteError(err);
        return false;
    }
    void drain() { collector->applyChanges(collector->takeChanges()); }
    // Everything a refused record must leave alone: the values and the session's names.
    CByteBuffer state() {
        CByteBuffer out;
        CByteBufferWriter w(out);
        for (const CDecl& d : kDecls) {
            CError* err = collector->getParam(CString("plugin.modMain.") + CString(d.name))->save(w, -1);
            deleteError(err);
        }
        CArray<CString> names;
        int32_t current = 0;
        registry->getPresetNames(false, names, current);
        for (const CString& n : names) deleteError(w.writeString(n));
        return out;
    }
};

bool same(const CByteBuffer& a, const CByteBuffer& b) {
    if (a.size() != b.size()) return false;
    for (uint32_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) return false;
    }
    return true;
}

// Reads, then writes and reads back twice: every read of what was written must succeed, and
// the second write must equal the first. The first write may differ from the input: strings
// lose what lies outside the 16-bit plane when written, which can also reorder or merge keys;
// from then on the form is stable.
template <class T, class Read, class Write>
void roundTrip(const uint8_t* data, size_t size, Read read, Write write) {
    T first;
    CMemoryReader in(data, static_cast<uint32_t>(size));
    CError* err = (first.*read)(in);
    if (err) {
        deleteError(err);
        return;
    }
    CByteBuffer normalised, once, twice;
    {
        CByteBufferWriter w(normalised);
        deleteError((first.*write)(w));
    }
    T second;
    CMemoryReader again(normalised.data(), normalised.size());
    if ((err = (second.*read)(again))) std::abort();
    {
        CByteBufferWriter w(once);
        deleteError((second.*write)(w));
    }
    T third;
    CMemoryReader thrice(once.data(), once.size());
    if ((err = (third.*read)(thrice))) std::abort();
    {
        CByteBufferWriter w(twice);
        deleteError((third.*write)(w));
    }
    if (!same(once, twice)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (1u << 20)) return 0;
    roundTrip<CAudioPreset>(data, size, &CAudioPreset::read, &CAudioPreset::write);
    roundTrip<CAudioPreset>(data, size, &CAudioPreset::readCompressed, &CAudioPreset::writeCompressed);
    roundTrip<CAudioPresetBank>(data, size, &CAudioPresetBank::read, &CAudioPresetBank::write);
    roundTrip<CAudioPresetBank>(data, size, &CAudioPresetBank::readCompressed, &CAudioPresetBank::writeCompressed);
    roundTrip<CAudioPresetBank>(data, size, &CAudioPresetBank::readList, &CAudioPresetBank::writeList);

    CAudioPreset preset;
    CMemoryReader in(data, static_cast<uint32_t>(size));
    CError* err = preset.read(in);
    if (!err) CAudioParamRegistry::isPresetUsable(preset, false, false);
    deleteError(err);

    static CSetup setup;
    if (!setup.ok) std::abort();
    for (int kind = 0; kind < 2; ++kind) {
        const CByteBuffer before = setup.state();
        CMemoryReader record(data, static_cast<uint32_t>(size));
        err = kind == 0 ? setup.registry->activatePreset(record, true, -1) : setup.registry->activateBank(record, true);
        setup.drain();
        if (err) {
            deleteError(err);
            if (!same(before, setup.state())) std::abort();
        }
    }
    return 0;
}
