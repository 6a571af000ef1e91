#include "Audio/CAudioParamRegistry.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamChangeListener.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamUndo.h"
#include "Audio/CAudioRoutingInfoProvider.h"
#include "Audio/CAudioUndoRecord.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CAppDataLocal.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CFileWriter.h"
#include "Core/CMemoryReader.h"
#include "Core/CUpdateListener.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;
using test::message;

// The interface base isn't part of this test; its undo list is all that the registry uses.
const CCreatorRow kTestCreators[] = {
    {"test:param-undo", &createObjectOf<CAudioParamUndo>, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

struct CNotifyCount : CUpdateListener {
    ~CNotifyCount() override { detach(); }
    void update(const CUpdateNotifier::Notification& n) override {
        ++count;
        last = n.source;
    }
    int count = 0;
    const void* last = nullptr;
};

// Declarations below "audio.modMain" (found through "plugin=audio"), run-time parameters below
// "plugin.modMain", a master registry and the compressor mode registry.
class CAudioParamRegistryTest : public ::testing::Test {
protected:
    struct CDecl {
        const char* key;
        const char* defValues;
        const char* flags;  // "s" storable, "p" persistent, "1" single group, "t" string, "r" raw
    };
    static constexpr CDecl kDecls[] = {
        {"gain", "0", "s"},
        {"mode", "1, 2, 3", "s"},
        {"label", "abc", "st"},
        {"blob", "x", "sr"},
        {"preset-name", "Default", "st1"},
        {"bypass-enable", "0", "p1"},
        {"instance-name", "Inst", "pt1"},
        {"meter", "0", ""},
        {"io-params.group-names", "Lows,Highs", "t1"},
        {"modTamberlo.comp-params.attack", "10", "s"},
        {"modTamberlo.comp-params.mode-name", "Default", "st"},
    };

    void SetUp() override {
        CConverterRegistration::ensureCreatorsRegistered();
        CAudioParamRegistration::ensureCreatorsRegistered();
        static const bool registered = registerCreatorTable(kTestCreators);
        ASSERT_TRUE(registered);
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        ASSERT_EQ(message(shared->loadXMLData(CString("SharedData.xml"), true)), "");
        // The converters stay; the product's own parameters give way to this test's small set.
        if (CObject* product = shared->findObject(CString("audio.modMain"))) product->destroy();
        for (const CDecl& d : kDecls) declare(d);
    }
    void TearDown() override {
        if (instance) instance->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
        std::remove(bankFile.c_str());
    }

    void declare(const CDecl& d) {
        CObject* at = shared->findObject(CString("audio"));
        CArray<CString> parts;
        CString(("modMain." + std::string(d.key)).c_str()).split(u'.', true, true, parts);
        for (int32_t i = 0; i + 1 < parts.count(); ++i) {
            CObject* next = at->findObject(CString(".") + parts[i]);
            if (!next) {
                ASSERT_EQ(message(at->createChild(next, CString("core:object"), parts[i])), "");
            }
            at = next;
        }
        const std::string flags = d.flags;
        auto has = [&](char c) { return flags.find(c) != std::string::npos; };
        CAttrMap map;
        map[CString("converter")].setText(CString(has('t') || has('r') ? "text" : "real"));
        map[CString("min-values")].setText(CString("-1000"));
        map[CString("max-values")].setText(CString("1000"));
        map[CString("def-values")].setText(CString(d.defValues));
        if (has('t')) map[CString("data-type")].setText(CString("string"));
        if (has('r')) map[CString("data-type")].setText(CString("raw"));
        if (has('s')) map[CString("is-storable")].setText(CString("true"));
        if (has('p')) map[CString("is-persistent")].setText(CString("true"));
        if (has('1')) map[CString("is-single-group")].setText(CString("true"));
        CObject* def = nullptr;
        ASSERT_EQ(message(at->createChild(def, CString("audio:param"), parts.last(), false, &map)), "");
    }

    // The instance: the master's factory bank from `file` (none when empty).
    void build(const std::string& file) {
        instance = CObject::newRoot();
        CObject* env = nullptr;
        ASSERT_EQ(message(instance->createChild(env, CString("audio:env"), CString("audio-env"))), "");
        CAttrMap ca;
        ca[CString("env")].setText(CString("^audio-env"));
        ASSERT_EQ(message(instance->createChild(collector, CString("audio:param-collector"),
                                                CString("param-collector"), false, nullptr, &ca)),
                  "");
        CAttrMap ua;
        ua[CString("param-collector")].setText(CString("^param-collector"));
        ASSERT_EQ(message(instance->createChild(undo, CString("test:param-undo"), CString("interface-base"), false,
                                                nullptr, &ua)),
                  "");
        master = registry("param-registry", "qwpc", "plugin.modMain", true, "Master preset",
                          "plugin.modMain.preset-name", file);
        comp = registry("param-registry-comp", "qwpc1", "plugin.modMain.modTamberlo.comp-params", false,
                        "Compressor mode preset", "plugin.modMain.modTamberlo.comp-params.mode-name", "");
        ASSERT_NE(master, nullptr);
        ASSERT_NE(comp, nullptr);
        for (const CDecl& d : kDecls) collector->getParam(CString(("plugin.modMain." + std::string(d.key)).c_str()));
        collector->finish();
        drain();
    }
    CAudioParamRegistry* registry(const char* name, const char* id, const char* hierarchy, bool isMaster,
                                  const char* naming, const char* nameParam, const std::string& file) {
        CAttrMap a;
        a[CString("id")].setText(CString(id));
        a[CString("hierarchy")].setText(CString(hierarchy));
        if (isMaster) a[CString("is-master")].setText(CString("true"));
        a[CString("preset-naming")].setText(CString(naming));
        a[CString("preset-name-param")].setText(CString(nameParam));
        a[CString("group-names-param")].setText(CString("plugin.modMain.io-params.group-names"));
        a[CString("def-name-remap")].setText(CString("plugin=audio"));
        a[CString("param-undo")].setText(CString("^interface-base"));
        a[CString("param-collector")].setText(CString("^param-collector"));
        if (!file.empty()) a[CString("file")].setText(CString(file.c_str()));
        CAudioParamRegistry* r = nullptr;
        EXPECT_EQ(message(instance->createChild(r, CString(CAudioParamRegistry::kTag), CString(name), false,
                                                nullptr, &a)),
                  "");
        return r;
    }

    CAudioParam& p(const char* key) {
        return *collector->getParam(CString(("plugin.modMain." + std::string(key)).c_str()));
    }
    void drain() { collector->applyChanges(collector->takeChanges()); }
    // A group of numbers, ending there.
    static void setNumbers(CAudioParam& param, int32_t group, const std::vector<double>& v) {
        CAudioParamLockContext lock(param);
        CAudioParamChange r;
        r.setTarget(param.uiStorage(), group, 0, static_cast<int32_t>(v.size()), nullptr);
        r.numbers = v.data();
        r.tail = true;
        ASSERT_TRUE(param.change(r, &lock));
    }
    // Every parameter's stored form, all groups, concatenated: equal states give equal bytes.
    std::string state(std::initializer_list<const char*> keys) {
        CByteBuffer all;
        {
            CByteBufferWriter w(all);
            for (const char* key : keys) EXPECT_EQ(message(p(key).save(w, -1)), "");
        }
        return std::string(reinterpret_cast<const char*>(all.data()), all.size());
    }
    std::string allStored() { return state({"gain", "mode", "label", "blob", "preset-name", "bypass-enable"}); }
    static CByteBuffer record(const CAudioPreset& preset) {
        CByteBuffer b;
        CByteBufferWriter w(b);
        EXPECT_EQ(message(preset.write(w)), "");
        return b;
    }
    CError* activate(CAudioParamRegistry* r, const CAudioPreset& preset, bool persistent, int32_t group) {
        const CByteBuffer b = record(preset);
        CMemoryReader in(b.data(), b.size());
        return r->activatePreset(in, persistent, group);
    }
    std::vector<std::string> history() {
        CArray<CString> names;
        int32_t pos = 0;
        undo->getHistoryNames(names, pos);
        std::vector<std::string> out;
        for (const CString& n : names) out.push_back(str(n));
        return out;
    }
    // A bank file of `count` presets "qwpc:P0".. with gain = 10 * index.
    void writeBank(int count) {
        CAudioPresetBank bank{CString("Bank")};
        build("");
        for (int i = 0; i < count; ++i) {
            p("gain").setValue(10.0 * i, 0, nullptr, nullptr);
            CAudioPreset preset;
            master->capturePreset(preset, -1);
            preset.setName(CString(("qwpc:P" + std::to_string(i)).c_str()));
            bank.add(preset);
        }
        instance->destroy();
        instance = nullptr;
        bankFile = "/tmp/orl-registry-test-" + std::to_string(::getpid()) + ".abnk";
        CFileWriter f;
        ASSERT_EQ(message(f.open(CString(bankFile.c_str()), false)), "");
        ASSERT_EQ(message(bank.writeCompressed(f)), "");
        ASSERT_EQ(message(f.close()), "");
    }

    CObject* shared = nullptr;
    CObject* instance = nullptr;
    CAudioParamCollector* collector = nullptr;
    CAudioParamUndo* undo = nullptr;
    CAudioParamRegistry* master = nullptr;
    CAudioParamRegistry* comp = nullptr;
    std::string bankFile;
};

}  // namespace

namespace {

// A parameter's UI side in full: per group the element count and each element's content, the
// numbers by their bits.
std::string describe(CAudioParam& param) {
    CAudioParamLockContext lock(param);
    const CAudioParamStorage& s = param.uiStorage();
    std::string out;
    char buf[64];
    for (int32_t g = 0; g < s.groupCount(); ++g) {
        if (s.elementCount(g) == 0) continue;
        out += "[" + std::to_string(g) + ":" + std::to_string(s.elementCount(g)) + "]";
        for (int32_t e = 0; e < s.elementCount(g); ++e) {
            if (s.isNumeric()) {
                std::snprintf(buf, sizeof buf, "%a ", s.getValue(g, e, 0.0));
                out += buf;
                continue;
            }
            const CAudioParamDataItem* item = s.findElementItem(g, e);
            if (!item) {
                out += "none ";
            } else if (item->getType() == CAudioParamDataItem::kRaw) {
                const CByteBuffer& b = static_cast<const CAudioParamDataItemRaw*>(item)->bytes();
                out += "raw" + std::string(reinterpret_cast<const char*>(b.data()), b.size()) + " ";
            } else {
                CString text;
                s.getText(g, e, text);
                out += "'" + str(text) + "' ";
            }
        }
    }
    return out;
}

struct CBatchProbe : CAudioParamChangeListener {
    explicit CBatchProbe(CAudioParamCollector& c) : collector(c) {}
    void onParamChanged(const void*, CAudioParam&, const CAudioParamChange&, CAudioParamLockContext&,
                        const CAudioParamUndoContext& undo) override {
        ++calls;
        if (!undo.batch) unbatched = true;
        // What the audio thread would take at a block start in the middle of the load.
        if (CAudioParamChangeList* list = collector.takeChanges()) {
            early += list->count();
            collector.applyChanges(list);
        }
    }
    CAudioParamCollector& collector;
    int calls = 0;
    bool unbatched = false;
    int early = 0;
};

struct CRoutingProbe : CAudioRoutingInfoProvider {
    void updateAutoRouting(const void*, const CAudioParamUndoContext& undo) override {
        ++calls;
        hadRecord = undo.undoRecord != nullptr;
        hadBatch = undo.batch != nullptr;
    }
    int calls = 0;
    bool hadRecord = false, hadBatch = false;
};

}  // namespace

TEST_F(CAudioParamRegistryTest, MissingFactoryFileLeavesOneDefaultProgram) {
    build("/nonexistent/FactoryROM.cbf");
    EXPECT_EQ(master->getProgramCount(), 1);
    EXPECT_EQ(comp->getProgramCount(), 0);
    CString name;
    master->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:Default");
    master->getPresetName(name, 1);
    EXPECT_EQ(str(name), "");
    CArray<CString> names;
    int32_t current = 0;
    master->getPresetNames(true, names, current);
    EXPECT_EQ(names.count(), 0);
    EXPECT_EQ(current, -1);
    master->getPresetNames(false, names, current);
    EXPECT_EQ(names.count(), 1);
    EXPECT_EQ(current, 0);

    // Each registry took the parameters under its prefix, with the definitions found through
    // "plugin=audio"; the master sees the compressor's too, under a longer key.
    ASSERT_NE(master->findParam(CString("gain")), nullptr);
    EXPECT_NE(master->findParam(CString("gain"))->info(), nullptr);
    EXPECT_NE(master->findParam(CString("modTamberlo.comp-params.attack")), nullptr);
    EXPECT_NE(comp->findParam(CString("attack")), nullptr);
    EXPECT_EQ(comp->findParam(CString("gain")), nullptr);

    // The current program again: nothing is applied and nobody is told.
    CNotifyCount heard;
    heard.attach(master, 0);
    p("gain").setValue(5, 0, nullptr, nullptr);
    drain();
    master->setProgram(0, &heard);
    master->setProgram(7, &heard);
    EXPECT_EQ(heard.count, 0);
    EXPECT_EQ(collector->takeChanges(), nullptr);
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 5.0);

    CAttrMap bad;
    bad[CString("def-name-remap")].setText(CString("plugin=audio plugin"));
    bad[CString("param-collector")].setText(CString("^param-collector"));
    CAudioParamRegistry* r = nullptr;
    EXPECT_EQ(message(instance->createChild(r, CString(CAudioParamRegistry::kTag), CString("bad"), false, nullptr,
                                            &bad)),
              "Invalid remapping string 'plugin' defined.");
}

TEST_F(CAudioParamRegistryTest, ActivatePresetAppliesOneBatchAndResetsWhatItLacks) {
    build("");
    CRoutingProbe routing;
    master->setRoutingInfo(&routing);
    p("gain").setValue(42, 0, nullptr, nullptr);
    CAudioPreset preset;
    master->capturePreset(preset, -1);
    preset.setName(CString("qwpc:Loaded"));
    preset.setItem(CString("ghost"), *preset.findItem(CString("gain")));
    preset.removeItem(CString("mode"));
    p("gain").setValue(5, 0, nullptr, nullptr);
    setNumbers(p("mode"), 0, {7, 8});
    p("meter").setValue(3, 0, nullptr, nullptr);
    drain();

    CBatchProbe probe(*collector);
    p("mode").addListener(&probe);
    ASSERT_EQ(message(activate(master, preset, false, -1)), "");
    p("mode").removeListener(&probe);

    EXPECT_EQ(p("gain").getValue(0, 0, -1), 42.0);
    EXPECT_EQ(describe(p("mode")), "[0:3]0x1p+0 0x1p+1 0x1.8p+1 ");  // back to its defaults
    EXPECT_EQ(p("meter").getValue(0, 0, -1), 3.0);  // not stored: untouched
    // The unknown key made a parameter without definition, which was skipped.
    CAudioParam* ghost = master->findParam(CString("ghost"));
    ASSERT_NE(ghost, nullptr);
    EXPECT_EQ(ghost->info(), nullptr);
    // Nothing reached the audio side while the preset was applied; then all of it at once.
    EXPECT_GT(probe.calls, 0);
    EXPECT_FALSE(probe.unbatched);
    EXPECT_EQ(probe.early, 0);
    CAudioParamChangeList* list = collector->takeChanges();
    ASSERT_NE(list, nullptr);
    bool gainSeen = false, modeSeen = false;
    for (auto* e = list->head(); e; e = e->next) {
        gainSeen |= e->param == &p("gain");
        modeSeen |= e->param == &p("mode");
    }
    collector->applyChanges(list);
    EXPECT_TRUE(gainSeen && modeSeen);
    EXPECT_EQ(p("gain").audioStorage().getValue(0, 0, -1), 42.0);

    EXPECT_EQ(routing.calls, 1);
    EXPECT_TRUE(routing.hadRecord && routing.hadBatch);
    CString name;
    master->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:Loaded");
    p("preset-name").getString(name, 0, 0);
    EXPECT_EQ(str(name), "Loaded");
    ASSERT_EQ(history(), (std::vector<std::string>{"Undo history start", "Master preset activate"}));
    undo->setPosition(0, true);
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 5.0);
    EXPECT_EQ(describe(p("mode")), "[0:2]0x1.cp+2 0x1p+3 ");

    // The default preset is a second pass: what it lacks keeps its value, and no step is made.
    const CByteBuffer b = record(preset);
    CMemoryReader in(b.data(), b.size());
    ASSERT_EQ(message(master->setDefaultPreset(in)), "");
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 42.0);
    EXPECT_EQ(describe(p("mode")), "[0:2]0x1.cp+2 0x1p+3 ");
    EXPECT_EQ(history().size(), 2u);
    EXPECT_EQ(routing.calls, 1);
    master->setRoutingInfo(nullptr);
}

TEST_F(CAudioParamRegistryTest, ForeignOrDamagedPresetChangesNothing) {
    build("");
    p("gain").setValue(9, 0, nullptr, nullptr);
    CAudioPreset preset;
    master->capturePreset(preset, -1);
    p("gain").setValue(5, 0, nullptr, nullptr);
    drain();
    const std::string before = allStored();

    for (const char* foreign : {"qwpc1:Mode", "NoColon", ":qwpc"}) {
        preset.setName(CString(foreign));
        EXPECT_EQ(message(activate(master, preset, false, -1)), "Incompatible preset.") << foreign;
    }
    preset.setName(CString("qwpc:Fine"));
    const CByteBuffer whole = record(preset);
    for (uint32_t cut : {0u, 5u, whole.size() / 2, whole.size() - 1}) {
        CMemoryReader in(whole.data(), cut);
        CError* err = master->activatePreset(in, false, -1);
        EXPECT_NE(err, nullptr) << cut;
        deleteError(err);
    }
    EXPECT_EQ(allStored(), before);
    EXPECT_EQ(collector->takeChanges(), nullptr);
    EXPECT_EQ(history(), std::vector<std::string>{"Undo history start"});
    CString name;
    master->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:Default");
}

TEST_F(CAudioParamRegistryTest, CompressedRoundTripRestoresRandomStatesExactly) {
    build("");
    std::mt19937 rng(20240611);
    std::uniform_real_distribution<double> value(-1000.0, 1000.0);
    std::uniform_int_distribution<int> small(0, 3), letter('a', 'z'), byte(0, 255);
    auto text = [&](int n) {
        std::string s;
        for (int i = 0; i < n; ++i) s += static_cast<char>(letter(rng));
        return s;
    };
    auto randomize = [&] {
        for (const char* key : {"gain", "mode"}) {
            for (int32_t g = 0; g < 3; ++g) {
                std::vector<double> v(static_cast<size_t>(1 + small(rng)));
                for (double& x : v) x = value(rng);
                setNumbers(p(key), g, v);
            }
        }
        for (int32_t g = 0; g < 2; ++g) {
            for (int32_t e = 0; e <= small(rng); ++e) {
                p("label").setString(g, e, CString(text(small(rng) * 3).c_str()), nullptr, nullptr);
                std::string raw = text(small(rng));
                raw += static_cast<char>(byte(rng));
                raw += '\0';
                p("blob").setRaw(g, e, raw.data(), static_cast<uint32_t>(raw.size()), nullptr, nullptr);
            }
        }
        p("bypass-enable").setValue(value(rng), 0, nullptr, nullptr);
        p("preset-name").setString(0, 0, CString(text(5).c_str()), nullptr, nullptr);
    };
    auto all = [&] {
        std::string s;
        for (const char* key : {"gain", "mode", "label", "blob", "bypass-enable", "preset-name"})
            s += std::string(key) + "=" + describe(p(key)) + "\n";
        return s;
    };
    for (int round = 0; round < 12; ++round) {
        randomize();
        const std::string want = all();
        CAudioPreset captured;
        master->capturePreset(captured, -1);
        CByteBuffer block;
        {
            CByteBufferWriter w(block);
            ASSERT_EQ(message(captured.writeCompressed(w)), "");
        }
        randomize();
        ASSERT_NE(all(), want);
        CMemoryReader packed(block.data(), block.size());
        CByteBuffer plain;
        ASSERT_EQ(message(packed.readCompressedData(plain, CAudioPreset::kBlockId)), "");
        CMemoryReader in(plain.data(), plain.size());
        ASSERT_EQ(message(master->activatePreset(in, true, -1)), "");
        EXPECT_EQ(all(), want) << "round " << round;
    }
}

TEST_F(CAudioParamRegistryTest, BanksReplaceByPositionAndShareThePersistentValues) {
    writeBank(6);
    build(bankFile);
    ASSERT_EQ(master->getProgramCount(), 6);
    CArray<CString> names;
    int32_t current = 0;
    master->getPresetNames(true, names, current);
    ASSERT_EQ(names.count(), 6);
    EXPECT_EQ(str(names[5]), "qwpc:P5");

    ASSERT_EQ(message(master->activateFactoryPreset(2)), "");
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 20.0);
    EXPECT_EQ(history().back(), "ROM preset activate");
    CString name;
    master->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:P2");

    auto entry = [&](int32_t i) {
        CByteBuffer b;
        {
            CByteBufferWriter w(b);
            EXPECT_EQ(message(master->acquirePreset(false, i, -1, w)), "");
        }
        return std::string(reinterpret_cast<const char*>(b.data()), b.size());
    };
    const std::string kept[3] = {entry(3), entry(4), entry(5)};

    auto bankOf = [&](std::vector<const char*> ids) {
        CAudioPresetBank bank{CString("Bank")};
        for (size_t i = 0; i < ids.size(); ++i) {
            p("gain").setValue(100.0 + double(i), 0, nullptr, nullptr);
            CAudioPreset preset;
            master->capturePreset(preset, -1);
            preset.setName(CString((std::string(ids[i]) + ":N" + std::to_string(i)).c_str()));
            bank.add(preset);
        }
        CByteBuffer b;
        CByteBufferWriter w(b);
        EXPECT_EQ(message(bank.write(w)), "");
        return b;
    };
    const CByteBuffer foreign = bankOf({"qwpc", "ORIO", "qwpc"});
    CMemoryReader inForeign(foreign.data(), foreign.size());
    EXPECT_EQ(message(master->activateBank(inForeign, false)), "Incompatible bank.");
    master->getPresetName(name, 1);
    EXPECT_EQ(str(name), "qwpc:P1");

    p("gain").setValue(-1, 0, nullptr, nullptr);
    const CByteBuffer three = bankOf({"qwpc", "qwpc", "qwpc"});
    CMemoryReader inThree(three.data(), three.size());
    ASSERT_EQ(message(master->activateBank(inThree, false)), "");
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 100.0);  // the current entry 0 was replaced
    master->getPresetNames(false, names, current);
    EXPECT_EQ(str(names[0]), "qwpc:N0");
    EXPECT_EQ(str(names[2]), "qwpc:N2");
    EXPECT_EQ(str(names[3]), "qwpc:P3");
    EXPECT_EQ(entry(3), kept[0]);
    EXPECT_EQ(entry(4), kept[1]);
    EXPECT_EQ(entry(5), kept[2]);

    // The session bank takes the current persistent values into every entry.
    p("bypass-enable").setValue(1, 0, nullptr, nullptr);
    p("instance-name").setString(0, 0, CString("Mine"), nullptr, nullptr);
    CByteBuffer written;
    {
        CByteBufferWriter w(written);
        ASSERT_EQ(message(master->acquireBank(false, w)), "");
    }
    CAudioPresetBank back;
    CMemoryReader in(written.data(), written.size());
    ASSERT_EQ(message(back.read(in)), "");
    ASSERT_EQ(back.count(), 6);
    for (const char* key : {"bypass-enable", "instance-name"}) {
        const CByteBuffer* first = back.preset(0).findItem(CString(key));
        ASSERT_NE(first, nullptr);
        for (int32_t i = 1; i < 6; ++i) {
            const CByteBuffer* other = back.preset(i).findItem(CString(key));
            ASSERT_NE(other, nullptr);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(other->data()), other->size()),
                      std::string(reinterpret_cast<const char*>(first->data()), first->size()))
                << key << " " << i;
        }
    }

    CByteBuffer none;
    CByteBufferWriter w(none);
    EXPECT_EQ(message(comp->acquireBank(false, w)), "Acquiring bank in a non-master registry is an error.");
    EXPECT_EQ(message(master->acquirePreset(true, 9, -1, w)), "Invalid preset index 9 specified.");
}

TEST_F(CAudioParamRegistryTest, ProgramsCarryTheirStateAndUndoList) {
    writeBank(3);
    build(bankFile);
    CNotifyCount heard;
    heard.attach(master, 0);
    CAudioUndoRecord* step = undo->createRecord(CString("edit"));
    CAudioParamUndoContext context;
    context.undoRecord = step;
    p("gain").setValue(7, 0, nullptr, nullptr, context);
    undo->submit(step);

    master->setProgram(1, &heard);
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 10.0);
    EXPECT_EQ(heard.count, 1);
    EXPECT_EQ(heard.last, &heard);
    EXPECT_EQ(history(), std::vector<std::string>{"Undo history start"});
    CString text;
    p("preset-name").getString(text, 0, 0);
    EXPECT_EQ(str(text), "P1");

    master->setProgram(0, &heard);
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 7.0);
    EXPECT_EQ(history(), (std::vector<std::string>{"Undo history start", "edit"}));
    master->getPresetName(text);
    EXPECT_EQ(str(text), "qwpc:P0");
}

TEST_F(CAudioParamRegistryTest, ABExchangeKeepsEachSideWithItsUndoList) {
    build("");
    p("gain").setValue(1, 0, nullptr, nullptr);
    EXPECT_FALSE(master->hasShadowPreset());
    master->exchangeShadowPreset();
    EXPECT_TRUE(master->hasShadowPreset());
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 1.0);

    CAudioUndoRecord* step = undo->createRecord(CString("b-edit"));
    CAudioParamUndoContext context;
    context.undoRecord = step;
    p("gain").setValue(2, 0, nullptr, nullptr, context);
    undo->submit(step);

    master->exchangeShadowPreset();
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 1.0);
    EXPECT_EQ(history(), std::vector<std::string>{"Undo history start"});
    master->exchangeShadowPreset();
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 2.0);
    EXPECT_EQ(history(), (std::vector<std::string>{"Undo history start", "b-edit"}));
    CString name;
    master->getPresetName(name);
    EXPECT_EQ(str(name), "qwpc:Default");

    // update copies the shown side over the other.
    master->updateShadowPreset();
    p("gain").setValue(3, 0, nullptr, nullptr);
    master->exchangeShadowPreset();
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 2.0);
}

TEST_F(CAudioParamRegistryTest, GroupPresetsEditsRenamesAndReset) {
    build("");
    CAudioParam& attack = p("modTamberlo.comp-params.attack");
    for (int32_t g = 0; g < 3; ++g) setNumbers(attack, g, {double(g + 1)});
    CAudioPreset one;
    comp->capturePreset(one, 1);
    EXPECT_EQ(one.count(), 1);  // attack's group 1; mode-name has nothing in group 1 yet
    one.setName(CString("qwpc1:Soft"));
    setNumbers(attack, 1, {20});
    ASSERT_EQ(message(activate(comp, one, false, 2)), "");
    EXPECT_EQ(describe(attack), "[0:1]0x1p+0 [1:1]0x1.4p+4 [2:1]0x1p+1 ");
    EXPECT_EQ(history().back(), "Compressor mode preset activate (3)");
    ASSERT_EQ(message(activate(comp, one, false, 1)), "");
    EXPECT_EQ(history().back(), "Compressor mode preset activate (Highs)");
    CString text;
    p("modTamberlo.comp-params.mode-name").getString(text, 2, 0);
    EXPECT_EQ(str(text), "Soft");

    // A hand edit names the state "User", once.
    EXPECT_TRUE(comp->markEdited(attack, 1, CAudioParamUndoContext()));
    EXPECT_FALSE(comp->markEdited(attack, 1, CAudioParamUndoContext()));
    p("modTamberlo.comp-params.mode-name").getString(text, 1, 0);
    EXPECT_EQ(str(text), "User");
    EXPECT_FALSE(master->markEdited(p("meter"), 0, CAudioParamUndoContext()));
    EXPECT_TRUE(master->markEdited(p("gain"), 0, CAudioParamUndoContext()));
    master->getPresetName(text);
    EXPECT_EQ(str(text), "qwpc:User");

    CNotifyCount heard;
    heard.attach(master, 0);
    master->renamePreset(0, CString("Mine"), &heard);
    master->getPresetName(text);
    EXPECT_EQ(str(text), "qwpc:Mine");
    p("preset-name").getString(text, 0, 0);
    EXPECT_EQ(str(text), "Mine");
    EXPECT_EQ(history().back(), "Program name change");
    EXPECT_EQ(heard.count, 1);

    p("gain").setValue(4, 0, nullptr, nullptr);
    p("bypass-enable").setValue(1, 0, nullptr, nullptr);
    master->masterReset();
    comp->masterReset();  // only a master resets
    EXPECT_EQ(p("gain").getValue(0, 0, -1), 0.0);
    EXPECT_EQ(p("bypass-enable").getValue(0, 0, -1), 1.0);  // persistent: kept
    EXPECT_EQ(describe(attack), "[0:1]0x1.4p+3 ");
    EXPECT_EQ(history().back(), "Master reset");
}

TEST_F(CAudioParamRegistryTest, RoutingPresetUsability) {
    auto item = [](std::vector<double> v) {
        CAudioParamStorage s;
        s.setLayout(1, 0, false, false);
        CAudioParamChange r;
        r.setTarget(s, 0, 0, static_cast<int32_t>(v.size()), nullptr);
        r.numbers = v.data();
        r.tail = true;
        s.apply(r);
        CByteBuffer b;
        CByteBufferWriter w(b);
        EXPECT_EQ(message(w.writeString(CString("audio.modMain.io-params.x"))), "");
        EXPECT_EQ(message(s.save(w, -1)), "");
        return b;
    };
    auto usable = [&](const char* key, std::vector<double> v, bool ms, bool sc) {
        CAudioPreset preset{CString("ORIO:Test")};
        preset.setItem(CString(key), item(v));
        return CAudioParamRegistry::isPresetUsable(preset, ms, sc);
    };
    EXPECT_TRUE(usable("ms-pairs", {0, 0}, false, false));
    EXPECT_FALSE(usable("ms-pairs", {1, 1}, false, true));
    EXPECT_TRUE(usable("io-params.ms-pairs", {1, 1}, true, false));
    EXPECT_TRUE(usable("sidechain", {0, 1, 2}, false, false));
    EXPECT_FALSE(usable("sidechain", {1, 0}, true, false));
    EXPECT_TRUE(usable("sidechain", {1, 0}, false, true));
    EXPECT_FALSE(usable("sidechain-mute", {0, 1}, true, false));
    EXPECT_TRUE(usable("sidechain-mute", {0, 0}, false, false));
}

// A default preset kept in stored data takes the place of program 0 and is what the first
// activation applies.
TEST_F(CAudioParamRegistryTest, StoredDefaultPresetBecomesProgramZero) {
    build("");
    p("gain").setValue(42.0, 0, nullptr, nullptr);
    CAudioPreset preset;
    master->capturePreset(preset, -1);
    preset.setName(CString("qwpc:Mine"));
    instance->destroy();
    instance = nullptr;
    CAppDataLocal::instance().write(CString("default-preset"), record(preset), nullptr, CAudioPreset::kBlockId);

    build("");
    CString name;
    master->getPresetName(name, 0);
    EXPECT_EQ(str(name), "qwpc:Mine");
    EXPECT_EQ(p("gain").getValue(0, 0, -1.0), 42.0);
    // Nothing stays behind for the tests after this one in the same process.
    CAppDataLocal::instance().write(CString("default-preset"), CByteBuffer(), nullptr, CAudioPreset::kBlockId);
}
