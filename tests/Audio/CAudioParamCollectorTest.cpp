#include "Audio/CAudioParamCollector.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioParamBinding.h"
#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistryLink.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessFactory.h"
#include "Audio/CSampleBufferPool.h"
#include "tests/Support/CTestCollector.h"
#include "tests/Support/CTestGraph.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

using test::str;
using test::message;

// What a module input sees of its binding.
struct CSlot {
    std::atomic<bool> flag{false};
    std::atomic<uint32_t> mask{0};
    void clear() {
        flag = false;
        mask = 0;
    }
};

// The host side of automation: what it heard, and whether any parameter was locked then.
struct CTestBridge : CAudioExtParamHostBridge {
    void hostAutomate(int32_t extIndex, double norm) override {
        heard.emplace_back(extIndex, norm);
        if (onCall) onCall();
    }
    std::vector<std::pair<int32_t, double>> heard;
    std::function<void()> onCall;
};

struct CTestRegistry : CAudioParamRegistryLink {
    CTestRegistry(const char* p, bool enumerated, std::vector<std::string>& log)
        : prefix(p), enumerated(enumerated), log(log) {}
    const CString& paramPrefix() const override { return prefix; }
    bool isEnumerated() const override { return enumerated; }
    bool offerParam(CAudioParam& param) override {
        if (!matchesPrefix(param.name())) return false;
        log.push_back(str(prefix) + ":" + str(param.name()));
        return true;
    }
    void firstActivation() override { log.push_back(str(prefix) + ":active"); }
    const CString& registryName() const override { return prefix; }
    CString prefix;
    bool enumerated;
    std::vector<std::string>& log;
};

class CAudioParamCollectorTest : public ::testing::Test {
protected:
    void SetUp() override {
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        ASSERT_EQ(message(shared->loadXMLData(CString("SharedData.xml"), true)), "");
        t = std::make_unique<CTestCollector>();
    }
    void TearDown() override {
        t.reset();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
    CAudioParamCollector& c() { return t->collector(); }
    CAudioParamBinding* bind(CAudioParam& p, CSlot& s, int32_t group, int32_t element) {
        return c().bindSlot(p, nullptr, &s.flag, &s.mask, group, element);
    }
    // One change of `count` elements from start, each taking value.
    static void change(CAudioParam& p, int32_t group, int32_t start, int32_t count, double value, bool tail = false) {
        CAudioParamLockContext lock(p);
        std::vector<double> numbers(static_cast<size_t>(count), value);
        CAudioParamChange r;
        r.setTarget(p.uiStorage(), group, start, count, nullptr);
        r.numbers = numbers.data();
        r.tail = tail;
        ASSERT_TRUE(p.change(r, &lock));
    }
    // The waiting list as (group, start, count, numbers...) records.
    static std::vector<std::vector<double>> records(const CAudioParamChangeList* list) {
        std::vector<std::vector<double>> out;
        for (auto* e = list ? list->head() : nullptr; e; e = e->next) {
            std::vector<double> r{double(e->record.group), double(e->record.start), double(e->record.count)};
            for (int32_t i = 0; i < e->record.numberCount(); ++i) r.push_back(e->record.numbers[i]);
            out.push_back(r);
        }
        return out;
    }

    CObject* shared = nullptr;
    std::unique_ptr<CTestCollector> t;
};

}  // namespace

TEST_F(CAudioParamCollectorTest, RemapChainsEndAtOneParameter) {
    c().addRemap(CString("a"), CString("b"));
    c().addRemap(CString("b"), CString("c"));
    CAudioParam* a = c().getParam(CString("a"));
    EXPECT_EQ(a, c().getParam(CString("c")));
    EXPECT_EQ(a, c().getParam(CString("b")));
    EXPECT_EQ(str(a->name()), "c");
    EXPECT_TRUE(c().isRemapped(CString("a")));
    EXPECT_FALSE(c().isRemapped(CString("c")));
    EXPECT_EQ(c().paramCount(), 1);
    // A loop in the definitions ends instead of hanging.
    c().addRemap(CString("x"), CString("y"));
    c().addRemap(CString("y"), CString("x"));
    EXPECT_NE(c().getParam(CString("x")), nullptr);
}

// Asked for before its definition, bound, then allocated: the same object, the same storage,
// and the allocation's changes reach the early binding.
TEST_F(CAudioParamCollectorTest, AnEarlyParameterKeepsItsIdentityAndBindings) {
    CAudioParam* early = c().getParam(CString("plugin.m.gain"));
    const CAudioParamReader* reader = c().findParam(CString("plugin.m.gain"));
    EXPECT_EQ(reader, &early->audioStorage());
    EXPECT_EQ(reader->pick(0, 0), 0.0);  // no definition: the fallback
    CSlot slot;
    const CAudioParamStorage* storage = nullptr;
    c().bindSlot(*early, &storage, &slot.flag, &slot.mask, 2, 0);
    EXPECT_EQ(storage, reader);
    EXPECT_EQ(slot.mask.load(), 0u);  // not valid yet
    EXPECT_FALSE(slot.flag.load());

    CAudioParam& p = t->declare("plugin.m.gain", 8, "0.5");
    EXPECT_EQ(&p, early);
    EXPECT_TRUE(slot.flag.load());
    EXPECT_EQ(slot.mask.load(), ~0u);  // the whole-parameter change
    EXPECT_EQ(reader->pick(2, 0), 0.5);

    // A binding made now starts from the groups the storage has.
    CSlot later, all;
    bind(p, later, 0, 0);
    bind(p, all, -1, -1);
    EXPECT_EQ(later.mask.load(), 1u);
    EXPECT_EQ(all.mask.load(), 1u);  // one group: (1 << 1) - 1
    EXPECT_EQ(c().bindingCount(p), 3);
}

TEST_F(CAudioParamCollectorTest, WhileStoppedChangesOfOnePlaceMerge) {
    CAudioParam& p = t->declare("p", 8, "0, 0, 0, 0, 0, 0");
    t->drain();
    t->setStarted(false);
    change(p, 0, 0, 2, 1.0);
    change(p, 0, 1, 2, 2.0);  // overlaps: one record 0..2, the later value at 1
    change(p, 0, 5, 1, 5.0);  // apart: a record of its own
    change(p, 1, 0, 1, 7.0);  // another group
    CAudioParamChangeList* list = c().takeChanges();
    EXPECT_EQ(records(list), (std::vector<std::vector<double>>{{0, 0, 3, 1, 2, 2}, {0, 5, 1, 5}, {1, 0, 1, 7}}));
    c().applyChanges(list);
    EXPECT_EQ(p.audioStorage().getValue(0, 1, -1), 2.0);
    EXPECT_EQ(p.audioStorage().getValue(0, 5, -1), 5.0);

    // A tail change ends the merged range; a whole-parameter change is a wall nothing merges over.
    change(p, 0, 0, 3, 1.0);
    change(p, 0, 1, 1, 4.0, true);
    CAudioParamLockContext lock(p);
    p.allocate(*p.info(), &lock);  // same definition: no change
    lock.release();
    list = c().takeChanges();
    EXPECT_EQ(records(list), (std::vector<std::vector<double>>{{0, 0, 2, 1, 4}}));
    EXPECT_TRUE(list->head()->record.tail);
    c().applyChanges(list);
    EXPECT_EQ(p.audioStorage().elementCount(0), 2);

    // While blocks run, nothing merges: each change is its own record.
    t->setStarted(true);
    change(p, 1, 0, 2, 1.0);
    change(p, 1, 1, 2, 2.0);
    list = c().takeChanges();
    EXPECT_EQ(list->count(), 2);
    c().applyChanges(list);
}

TEST_F(CAudioParamCollectorTest, ChangesReachTheBindingsOfTheirGroupAndElement) {
    CAudioParam& p = t->declare("p", 8, "0, 0, 0, 0");
    CAudioParam& single = t->declare("s", 1, "0", true);
    t->drain();
    CSlot g0e1, g1e3, g1all, allGroups, onSingle;
    bind(p, g0e1, 0, 1);
    bind(p, g1e3, 1, 3);
    bind(p, g1all, 1, -1);
    bind(p, allGroups, -1, 2);
    bind(single, onSingle, 1, 0);  // group 1 of a single-group parameter
    for (CSlot* s : {&g0e1, &g1e3, &g1all, &allGroups, &onSingle}) s->clear();

    // Three groups within one block: three bits.
    change(p, 0, 1, 1, 1.0);
    change(p, 1, 0, 2, 1.0);
    change(p, 2, 2, 1, 1.0);
    change(single, 0, 0, 1, 1.0);
    t->drain();
    EXPECT_TRUE(g0e1.flag && g0e1.mask == 1u);
    EXPECT_TRUE(!g1e3.flag && g1e3.mask == 0u);  // elements 0..1 of group 1 don't reach element 3
    EXPECT_TRUE(g1all.flag && g1all.mask == 2u);
    EXPECT_TRUE(allGroups.flag && allGroups.mask == 4u);  // only group 2 touched element 2
    EXPECT_TRUE(onSingle.flag && onSingle.mask == 1u);

    // A tail change reaches every element from its start on.
    g1e3.clear();
    change(p, 1, 2, 1, 3.0, true);
    t->drain();
    EXPECT_TRUE(g1e3.flag && g1e3.mask == 2u);

    // The whole parameter: every binding, every bit.
    for (CSlot* s : {&g0e1, &g1e3, &g1all, &allGroups}) s->clear();
    CAudioParamChange whole;
    whole.group = CAudioParamChange::kWholeParam;
    whole.setLayoutOf(p.uiStorage());
    const double zero[1] = {0.0};
    whole.count = 1;
    whole.numbers = zero;
    {
        CAudioParamLockContext lock(p);
        ASSERT_TRUE(p.change(whole, &lock));
    }
    t->drain();
    for (CSlot* s : {&g0e1, &g1e3, &g1all, &allGroups}) EXPECT_TRUE(s->flag && s->mask == ~0u);

    // applyNow, as a caller on the audio thread: into the audio side and the bindings at once.
    g1all.clear();
    CAudioParamUndoContext now;
    now.applyNow = true;
    EXPECT_TRUE(p.setValue(0.75, 1, nullptr, nullptr, now));
    EXPECT_EQ(c().takeChanges(), nullptr);
    EXPECT_TRUE(g1all.flag && g1all.mask == 2u);
    EXPECT_EQ(p.audioStorage().getValue(1, 0, -1), 0.75);
}

TEST_F(CAudioParamCollectorTest, ListenersOfTheGraphBindAndUnbind) {
    CAudioParam& p = t->declare("p", 8, "1");
    const CAudioParamReader* reader = c().findParam(CString("p"));
    std::atomic<bool> flag{false};
    std::atomic<uint32_t> mask{0};
    CAudioParamListener l;
    l.updatePending = &flag;
    l.changedMask = &mask;
    l.group = 3;
    l.allElements = true;
    c().addListener(reader, &l);
    EXPECT_EQ(c().bindingCount(p), 1);
    t->set("p", 2.0, 3);
    t->drain();
    EXPECT_TRUE(flag && mask == 8u);
    c().removeListener(reader, &l);
    EXPECT_EQ(c().bindingCount(p), 0);
    mask = 0;
    t->set("p", 3.0, 3);
    t->drain();
    EXPECT_EQ(mask.load(), 0u);
    EXPECT_EQ(reader->pick(3, 0), 3.0);
}

TEST_F(CAudioParamCollectorTest, HostNotificationsWaitForTheOutermostRelease) {
    CAudioParam& a = t->declare("a", 1, "0");
    CAudioParam& b = t->declare("b", 1, "0");
    CTestBridge bridge;
    {
        CAudioParamLockContext outer(a);
        {
            CAudioParamLockContext inner(b, &outer);
            c().deferHostAutomate(&bridge, 4, 0.25);
        }
        c().deferHostAutomate(&bridge, 5, 0.5);
        EXPECT_TRUE(bridge.heard.empty());
    }
    EXPECT_EQ(bridge.heard, (std::vector<std::pair<int32_t, double>>{{4, 0.25}, {5, 0.5}}));

    // A host that changes a parameter while it is told: its own notification follows, in order,
    // from the same release.
    bridge.heard.clear();
    bridge.onCall = [&] {
        if (bridge.heard.size() > 1) return;
        CAudioParamLockContext again(a);
        c().deferHostAutomate(&bridge, 6, 1.0);
        EXPECT_EQ(bridge.heard.size(), 1u);
    };
    {
        CAudioParamLockContext lock(b);
        c().deferHostAutomate(&bridge, 1, 0.0);
    }
    EXPECT_EQ(bridge.heard, (std::vector<std::pair<int32_t, double>>{{1, 0.0}, {6, 1.0}}));

    // A writer's hold works like a lock; with nothing held a notification goes out at once.
    bridge.onCall = nullptr;
    bridge.heard.clear();
    c().holdHostNotifications();
    c().deferHostAutomate(&bridge, 2, 0.0);
    EXPECT_TRUE(bridge.heard.empty());
    c().releaseHostNotifications();
    c().deferHostAutomate(&bridge, 3, 0.0);
    EXPECT_EQ(bridge.heard.size(), 2u);
}

TEST_F(CAudioParamCollectorTest, BatchesArriveWholeOrMerged) {
    CAudioParam& p = t->declare("p", 8, "0, 0, 0");
    CAudioParam& q = t->declare("q", 8, "0");
    t->setStarted(true);
    t->drain();
    auto makeBatch = [&] {
        auto* batch = new CAudioParamChangeList();
        CAudioParamUndoContext undo;
        undo.batch = batch;
        p.setValue(1.0, 0, nullptr, nullptr, undo);
        q.setValue(2.0, 0, nullptr, nullptr, undo);
        p.setValue(3.0, 0, nullptr, nullptr, undo);
        return batch;
    };
    EXPECT_EQ(c().takeChanges(), nullptr);  // a batch doesn't go out by itself

    change(p, 0, 0, 1, 9.0);
    c().postBatch(makeBatch());  // started: appended as it is
    CAudioParamChangeList* list = c().takeChanges();
    EXPECT_EQ(records(list), (std::vector<std::vector<double>>{{0, 0, 1, 9}, {0, 0, 1, 1}, {0, 0, 1, 2}, {0, 0, 1, 3}}));
    c().applyChanges(list);

    t->setStarted(false);
    change(p, 0, 0, 1, 9.0);
    c().postBatch(makeBatch());  // stopped: each change merged where it can be
    list = c().takeChanges();
    EXPECT_EQ(records(list), (std::vector<std::vector<double>>{{0, 0, 1, 3}, {0, 0, 1, 2}}));
    c().applyChanges(list);
    EXPECT_EQ(p.audioStorage().getValue(0, 0, -1), 3.0);
    EXPECT_EQ(q.audioStorage().getValue(0, 0, -1), 2.0);
}

TEST_F(CAudioParamCollectorTest, RegistriesAreOfferedByPrefixAndResolveDefinitions) {
    std::vector<std::string> log;
    CTestRegistry longEnum("plugin.m.band", true, log), shortPlain("plugin.", false, log), other("plugin.m", false, log);
    c().addRegistry(&longEnum);
    c().addRegistry(&shortPlain);
    c().addRegistry(&other);
    c().getParam(CString("plugin.m.x"));
    c().getParam(CString("plugin.m.band-gain"));
    EXPECT_TRUE(log.empty());  // collecting: nobody is asked yet
    c().finish();
    EXPECT_EQ(log, (std::vector<std::string>{"plugin.m.band:plugin.m.band-gain", "plugin.:plugin.m.x",
                                             "plugin.m:plugin.m.x", "plugin.:active", "plugin.m:active",
                                             "plugin.m.band:active"}));
    log.clear();
    c().getParam(CString("plugin.y"));  // finished: offered at once
    EXPECT_EQ(log, (std::vector<std::string>{"plugin.:plugin.y"}));
    c().removeRegistry(&longEnum);
    c().removeRegistry(&shortPlain);
    c().removeRegistry(&other);

    // Through def-name-remap pairs: "plugin.test-decls.level" finds the declaration at
    // "decls.level" of the shared tree.
    CObject* decls = nullptr;
    ASSERT_EQ(message(shared->addChild(decls, CString("core:object"), CString("decls"), false)), "");
    CAttrMap attrs;
    attrs[CString("converter")].setText(CString("real"));
    attrs[CString("min-values")].setText(CString("0"));
    attrs[CString("max-values")].setText(CString("10"));
    attrs[CString("def-values")].setText(CString("4"));
    CAudioParamDef* def = nullptr;
    ASSERT_EQ(message(decls->createChild(def, CString("audio:param"), CString("level"), false, &attrs)), "");
    CArray<CAudioParamDefResolver::CPair> pairs;
    pairs.add({CString("plugin.nothing"), CString("decls")});
    pairs.add({CString("plugin.test-decls"), CString("decls")});
    CAudioParam* level = c().getParam(CString("plugin.test-decls.level"));
    EXPECT_TRUE(c().resolveDefinition(*level, pairs));
    EXPECT_EQ(level->info(), &def->info());
    EXPECT_EQ(level->getValue(0, 0, -1), 4.0);
    EXPECT_FALSE(c().resolveDefinition(*c().getParam(CString("plugin.test-decls.none")), pairs));
}

TEST_F(CAudioParamCollectorTest, RemapDefinitionsReadPairsOrAList) {
    CObject* root = CObject::newRoot();
    auto make = [&](const char* name, std::vector<std::pair<const char*, const char*>> attrs, const char* content) {
        CObject* obj = nullptr;
        EXPECT_EQ(root->addChild(obj, CString("audio:param-remap"), CString(name), false), nullptr);
        for (auto& [k, v] : attrs) obj->setAttr(CString(k), CString(v), false);
        std::string m = message(obj->init());
        if (!m.empty()) return std::make_pair(m, static_cast<CAudioParamRemapDef*>(nullptr));
        if (content) {
            CAttrMap value;
            value[CString("value")].setText(CString(content));
            CObject* child = nullptr;
            EXPECT_EQ(message(obj->createChild(child, CString("core:object"), CString("content"), false, nullptr, &value)),
                      "");
        }
        m = message(obj->initChilds());
        return std::make_pair(m, dynamic_cast<CAudioParamRemapDef*>(obj));
    };
    auto pairs = [](const CAudioParamRemapDef* d) {
        std::string s;
        for (const auto& r : d->remaps()) s += str(r.orig) + ">" + str(r.target) + ";";
        return s;
    };
    auto one = make("one", {{"orig", "routing"}, {"new", "^io-params.in-routing"}}, nullptr);
    ASSERT_EQ(one.first, "");
    EXPECT_EQ(pairs(one.second), "routing>^io-params.in-routing;");
    auto list = make("list", {}, " enable = ^bypass-enable;\t\r\nindex= /plugin.modMain.lp-oversampling-enable ;");
    ASSERT_EQ(list.first, "");
    EXPECT_EQ(pairs(list.second), "enable>^bypass-enable;index>/plugin.modMain.lp-oversampling-enable;");
    EXPECT_EQ(make("none", {}, nullptr).first, "No remappings defined.");
    EXPECT_EQ(make("empty", {}, " ; ").first, "No remappings defined.");
    EXPECT_EQ(make("bad", {}, "a = b; broken").first, "Invalid remapping string 'broken' defined.");
    EXPECT_EQ(make("half", {{"orig", "a"}}, nullptr).first, "Invalid remapping string 'a=' defined.");
    root->destroy();
}

// A process made with the collector enters its remaps, then allocates its declarations under
// its path, plain scopes included, before its module binds.
TEST_F(CAudioParamCollectorTest, AProcessInstantiatesItsParameterSide) {
    CObject* defs = CObject::newRoot();
    auto param = [](const char* name, const char* defValue) {
        return CDefNode{"audio:param", name, {{"converter", "real"}, {"min-values", "0"}, {"max-values", "10"},
                                              {"def-values", defValue}}, {}};
    };
    CDefNode root{"audio:process-def",
                  "main",
                  {{"is-auto-links", "true"}},
                  {param("level", "2"),
                   CDefNode{"core:object", "comp-params", {}, {param("attack", "3")}},
                   CDefNode{"test:gain",
                            "g",
                            {},
                            {CDefNode{"audio:param-remap", "r", {{"orig", "gain"}, {"new", "^level"}}, {}},
                             param("gain", "5"),
                             CDefNode{"audio:param-alloc", "a", {{"param-name", "gain"}, {"index", "0"}}, {}}}}}};
    auto* def = dynamic_cast<CAudioProcessDefBase*>(buildDef(defs, root));
    ASSERT_NE(def, nullptr);
    CSampleBufferPool pool;
    CAudioProcessBase* process = nullptr;
    ASSERT_EQ(message(makeProcess(process, def, false, nullptr, &pool, &c(), CString("plugin"), 0, 0)), "");
    EXPECT_EQ(c().getParam(CString("plugin.level"))->getValue(0, 0, -1), 2.0);
    EXPECT_EQ(c().getParam(CString("plugin.comp-params.attack"))->getValue(0, 0, -1), 3.0);
    process->setExternalSources(1);
    CAudioChannel ch;
    ch.index = 0;
    ch.sampleRate = 48000.0;
    ch.buffer = pool.acquire(1);
    ch.buffer->data()[0] = 1.0;
    process->deliver(0, ch, 1);
    process->process();
    ASSERT_EQ(process->outputMask(), 1u);
    EXPECT_EQ(process->output(0).buffer->data()[0], 2.0);  // the alias's gain is the level
    process->releaseOutputs();
    EXPECT_TRUE(c().isRemapped(CString("plugin.g.gain")));
    EXPECT_EQ(c().bindingCount(*c().getParam(CString("plugin.level"))), 1);
    EXPECT_EQ(c().paramCount(), 2);  // "plugin.g.gain" never came to exist
    process->release();
    delete process;
    EXPECT_EQ(c().bindingCount(*c().getParam(CString("plugin.level"))), 0);
    defs->destroy();
}
