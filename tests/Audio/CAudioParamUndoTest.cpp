#include "Audio/CAudioParamUndo.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Audio/CAudioParamChangeList.h"
#include "Audio/CAudioParamChangeListener.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioUndoGroupSnapshot.h"
#include "Audio/CAudioUndoHistory.h"
#include "Audio/CAudioUndoParamEntry.h"
#include "Audio/CAudioUndoRecord.h"
#include "tests/Support/CTestCollector.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

using test::str;
using test::message;

// Which batch each change went into (null: it went out on its own).
struct CBatchSpy : CAudioParamChangeListener {
    void onParamChanged(const void*, CAudioParam&, const CAudioParamChange&, CAudioParamLockContext&,
                        const CAudioParamUndoContext& undo) override {
        batches.push_back(undo.batch);
    }
    std::vector<const CAudioParamBatchList*> batches;
};

// Counts what the interface base would send to its clients.
class CCountingUndo : public CAudioParamUndo {
public:
    void onUndoHistoryChanged() override { ++changed; }
    int changed = 0;
};

class CAudioParamUndoTest : public ::testing::Test {
protected:
    void SetUp() override {
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        ASSERT_EQ(message(shared->loadXMLData(CString("SharedData.xml"), true)), "");
        t = std::make_unique<CTestCollector>();
        decls = CObject::newRoot();
        undo.setCollector(&t->collector());
    }
    void TearDown() override {
        undo.clearHistory();
        t.reset();
        decls->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }

    // A numeric parameter ("real", defaults per element) or, with text set, a string one.
    CAudioParam& declare(const char* fullName, const char* storage, const char* defValues = "0",
                         bool text = false) {
        CAttrMap map;
        if (text) {
            map[CString("data-type")].setText(CString("string"));
            map[CString("converter")].setText(CString("text"));
        } else {
            map[CString("converter")].setText(CString("real"));
            map[CString("min-values")].setText(CString("-1000"));
            map[CString("max-values")].setText(CString("1000"));
        }
        map[CString("def-values")].setText(CString(defValues));
        if (std::string(storage) == "storable") map[CString("is-storable")].setText(CString("true"));
        if (std::string(storage) == "persistent") map[CString("is-persistent")].setText(CString("true"));
        std::string local = fullName;
        for (char& ch : local) ch = ch == '.' ? '_' : ch;
        CAudioParamDef* def = nullptr;
        EXPECT_EQ(message(decls->createChild(def, CString("audio:param"), CString(local.c_str()), false, &map)), "");
        CAudioParam* p = t->collector().getParam(CString(fullName));
        t->collector().allocateParam(*p, def->info());
        t->drain();
        return *p;
    }

    // A step of value changes as the UI makes them, each (parameter, group, value).
    struct Set {
        CAudioParam* param;
        int32_t group;
        double value;
    };
    void step(const char* name, std::vector<Set> sets, bool coalesce = false, int32_t id = -1) {
        CAudioUndoRecord* record = undo.createRecord(CString(name), coalesce, id);
        CAudioParamUndoContext ctx;
        ctx.undoRecord = record;
        for (const Set& s : sets) EXPECT_TRUE(s.param->setValue(s.value, s.group, nullptr, nullptr, ctx));
        undo.submit(record);
        t->drain();
    }
    void step(const char* name, CAudioParam& p, double value) { step(name, {{&p, 0, value}}); }

    std::vector<std::string> names() {
        CArray<CString> list;
        int32_t position = -1;
        undo.getHistoryNames(list, position);
        std::vector<std::string> out;
        for (const CString& n : list) out.push_back(str(n));
        out.push_back("@" + std::to_string(position));
        return out;
    }
    void moveTo(int32_t position) {
        undo.setPosition(position, true);
        t->drain();
    }

    CObject* shared = nullptr;
    CObject* decls = nullptr;
    std::unique_ptr<CTestCollector> t;
    CCountingUndo undo;
};

}  // namespace

TEST_F(CAudioParamUndoTest, SubmitCutsTheRedoTailKeepsTheMaximumAndIgnoresEmptySteps) {
    CAudioParam& gain = declare("plugin.m.gain", "storable");
    CAudioParam& meter = declare("plugin.m.meter", "");
    CAudioParam& bypass = declare("plugin.m.bypass", "persistent");

    step("one", gain, 1);
    step("two", gain, 2);
    step("three", gain, 3);
    EXPECT_EQ(undo.changed, 3);
    moveTo(1);
    EXPECT_EQ(gain.getValue(0, 0, -1), 1.0);
    EXPECT_EQ(gain.audioStorage().getValue(0, 0, -1), 1.0);
    EXPECT_EQ(undo.changed, 4);

    // A parameter that is neither storable nor persistent takes part in no step, and a record
    // without snapshots leaves the list and its redo tail alone, unannounced.
    step("meter", meter, 7);
    EXPECT_EQ(meter.getValue(0, 0, -1), 7.0);
    undo.submit(undo.createRecord(CString("empty")));
    EXPECT_EQ(names(), (std::vector<std::string>{"Undo history start", "one", "two", "three", "@1"}));
    EXPECT_EQ(undo.changed, 4);

    // The same position, or one outside the list, is no move and is not announced.
    undo.setPosition(1, true);
    undo.setPosition(4, true);
    undo.setPosition(-1, true);
    EXPECT_EQ(undo.changed, 4);
    EXPECT_EQ(undo.position(), 1);
    undo.setPosition(2, false);  // a move without notify
    EXPECT_EQ(undo.changed, 4);
    EXPECT_EQ(gain.getValue(0, 0, -1), 2.0);
    undo.setPosition(1, true);

    // A persistent parameter does make a step, and a new step drops both redo records.
    step("bypass", bypass, 1);
    EXPECT_EQ(names(), (std::vector<std::string>{"Undo history start", "one", "bypass", "@2"}));
    moveTo(0);
    EXPECT_EQ(gain.getValue(0, 0, -1), 0.0);
    EXPECT_EQ(bypass.getValue(0, 0, -1), 0.0);
    moveTo(2);  // redo over two records at once
    EXPECT_EQ(gain.getValue(0, 0, -1), 1.0);
    EXPECT_EQ(bypass.getValue(0, 0, -1), 1.0);

    // 33 steps with the maximum of 32: the oldest goes, the position stays at the end.
    undo.clearHistory();
    undo.setMaxCount(32);
    for (int i = 1; i <= 33; ++i) step(("s" + std::to_string(i)).c_str(), gain, 100 + i);
    const std::vector<std::string> list = names();
    ASSERT_EQ(list.size(), 34u);  // 33 names and the position
    EXPECT_EQ(list[0], "Undo history start");
    EXPECT_EQ(list[1], "s2");
    EXPECT_EQ(list[32], "s33");
    EXPECT_EQ(list[33], "@32");
    EXPECT_EQ(undo.count(), 32);
    moveTo(0);  // back to the state before s2, which is s1's result
    EXPECT_EQ(gain.getValue(0, 0, -1), 101.0);
}

TEST_F(CAudioParamUndoTest, CoalescedDragsMergeIntoOneStep) {
    CAudioParam& knob = declare("plugin.m.thresh", "storable", "-10");
    CAudioParam& other = declare("plugin.m.ratio", "storable", "2");
    step("first", other, 3);

    // A drag is many changes in one record; a second drag of the same knob with the same id
    // extends the first step.
    step("Threshold", {{&knob, 0, -12}, {&knob, 0, -14}}, true, 5);
    step("Threshold", {{&knob, 0, -16}, {&knob, 0, -18}}, true, 5);
    EXPECT_EQ(names(), (std::vector<std::string>{"Undo history start", "first", "Threshold", "@2"}));
    EXPECT_EQ(undo.changed, 2);
    moveTo(1);
    EXPECT_EQ(knob.getValue(0, 0, 0), -10.0);
    EXPECT_EQ(knob.audioStorage().getValue(0, 0, 0), -10.0);
    EXPECT_EQ(other.getValue(0, 0, 0), 3.0);
    moveTo(2);
    EXPECT_EQ(knob.getValue(0, 0, 0), -18.0);

    // Another id, another group, or a step that isn't marked: separate steps.
    step("Threshold", {{&knob, 0, -20}}, true, 6);
    step("Threshold", {{&knob, 1, -20}}, true, 6);
    step("Threshold", {{&knob, 1, -22}}, false, 6);
    EXPECT_EQ(undo.count(), 5);
    // After an undo a coalescing step merges with the step before the position; the list and
    // the position stay, redo tail included.
    moveTo(4);
    step("Threshold", {{&knob, 1, -24}}, true, 6);
    EXPECT_EQ(undo.count(), 5);
    EXPECT_EQ(undo.position(), 4);
    EXPECT_EQ(knob.getValue(1, 0, 0), -24.0);
    moveTo(3);
    EXPECT_EQ(knob.getValue(1, 0, 0), -10.0);  // back before the merged group-1 steps
    EXPECT_EQ(knob.getValue(0, 0, 0), -20.0);
}

TEST_F(CAudioParamUndoTest, StringValuesSurviveInSnapshots) {
    CAudioParam& label = declare("plugin.m.label", "storable", "L", true);
    {
        CAudioUndoRecord* record = undo.createRecord(CString("Rename"));
        CAudioParamUndoContext ctx;
        ctx.undoRecord = record;
        ASSERT_TRUE(label.setString(0, 0, CString("Kick"), nullptr, nullptr, ctx));
        ASSERT_TRUE(label.setString(0, 0, CString("Snare"), nullptr, nullptr, ctx));
        ASSERT_EQ(record->snapshotCount(), 1);
        // One item per state: the "after" of the first change was replaced, and its item freed.
        const CAudioUndoGroupSnapshot* snap = record->findEntry(label.name())->snapshot(0);
        EXPECT_EQ(snap->data().count(), 2);
        undo.submit(record);
        t->drain();
    }
    // Outside the history: the storage drops the items that the step named.
    ASSERT_TRUE(label.setString(0, 0, CString("Hat"), nullptr, nullptr));
    t->drain();
    CString text;
    moveTo(0);
    ASSERT_TRUE(label.getString(text, 0, 0));
    EXPECT_EQ(str(text), "L");
    CString audioText;
    ASSERT_TRUE(label.audioStorage().getText(0, 0, audioText));
    EXPECT_EQ(str(audioText), "L");
    moveTo(1);
    ASSERT_TRUE(label.getString(text, 0, 0));
    EXPECT_EQ(str(text), "Snare");
    ASSERT_TRUE(label.audioStorage().getText(0, 0, audioText));
    EXPECT_EQ(str(audioText), "Snare");
}

TEST_F(CAudioParamUndoTest, UndoOfAMultiParameterStepReachesTheAudioSideAsOneBatch) {
    CAudioParam& a = declare("plugin.m.a", "storable", "1");
    CAudioParam& b = declare("plugin.m.b", "storable", "2");
    CAudioParam& c = declare("plugin.m.c", "persistent", "3");
    step("Preset", {{&a, 0, 10}, {&b, 0, 20}, {&c, 0, 30}, {&c, 1, 31}});
    t->setStarted(true);
    CBatchSpy spy;
    for (CAudioParam* p : {&a, &b, &c}) p->addListener(&spy);

    undo.setPosition(0, true);
    // All changes of the step went into one and the same batch.
    ASSERT_EQ(spy.batches.size(), 4u);
    EXPECT_NE(spy.batches[0], nullptr);
    for (const CAudioParamBatchList* batch : spy.batches) EXPECT_EQ(batch, spy.batches[0]);
    // Nothing reaches the audio side before the audio thread takes the list.
    EXPECT_EQ(a.audioStorage().getValue(0, 0, 0), 10.0);
    EXPECT_EQ(c.audioStorage().getValue(1, 0, 0), 31.0);
    CAudioParamChangeList* list = t->collector().takeChanges();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(t->collector().takeChanges(), nullptr);
    std::set<std::string> seen;
    int32_t entries = 0;
    const CAudioUndoRecord* source = nullptr;
    for (auto* e = list->head(); e; e = e->next, ++entries) {
        seen.insert(str(e->param->name()) + "/" + std::to_string(e->record.group));
        EXPECT_TRUE(e->record.tail);
        if (!source) source = static_cast<const CAudioUndoRecord*>(e->record.source);
        EXPECT_EQ(e->record.source, source);  // every change names the step it came from
    }
    EXPECT_NE(source, nullptr);
    EXPECT_EQ(entries, 4);
    EXPECT_EQ(seen, (std::set<std::string>{"plugin.m.a/0", "plugin.m.b/0", "plugin.m.c/0", "plugin.m.c/1"}));
    EXPECT_EQ(b.audioStorage().getValue(0, 0, 0), 20.0);
    t->collector().applyChanges(list);
    EXPECT_EQ(a.audioStorage().getValue(0, 0, 0), 1.0);
    EXPECT_EQ(b.audioStorage().getValue(0, 0, 0), 2.0);
    EXPECT_EQ(c.audioStorage().getValue(0, 0, 0), 3.0);
    // Group 1 had no element before the step: undo empties it, and reads fall back to defaults.
    EXPECT_EQ(c.uiStorage().elementCount(1), 0);
    EXPECT_EQ(c.audioStorage().elementCount(1), 0);

    undo.setPosition(1, true);
    list = t->collector().takeChanges();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->count(), 4);
    t->collector().applyChanges(list);
    EXPECT_EQ(c.audioStorage().getValue(1, 0, 0), 31.0);
    EXPECT_EQ(a.audioStorage().getValue(0, 0, 0), 10.0);
    for (CAudioParam* p : {&a, &b, &c}) p->removeListener(&spy);
}

TEST_F(CAudioParamUndoTest, HistoriesExchangeAndCloneDeeply) {
    CAudioParam& gain = declare("plugin.m.gain", "storable");
    step("one", gain, 1);
    step("two", gain, 2);

    // A program change: the list goes away with its program and an empty one takes its place.
    CAudioUndoHistory* kept = nullptr;
    CAudioUndoHistory* incoming = nullptr;
    const int before = undo.changed;
    undo.exchangeHistory(kept, incoming);
    EXPECT_EQ(undo.changed, before + 1);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->count(), 2);
    EXPECT_EQ(undo.count(), 0);
    EXPECT_EQ(undo.cloneHistory(), nullptr);
    EXPECT_EQ(names(), (std::vector<std::string>{"Undo history start", "@0"}));
    step("other", gain, 5);

    // Back to the first program: its list is restored, and the one left goes out.
    CAudioUndoHistory* copy = kept->clone();
    CAudioUndoHistory* otherProgram = kept;  // what outOld held is freed by the exchange
    kept = nullptr;
    undo.exchangeHistory(kept, otherProgram);
    EXPECT_EQ(otherProgram, nullptr);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(str(kept->record(0)->name()), "other");
    EXPECT_EQ(names(), (std::vector<std::string>{"Undo history start", "one", "two", "@2"}));
    moveTo(1);
    EXPECT_EQ(gain.getValue(0, 0, -1), 1.0);

    // The copy taken before is independent: it is still at 2, and it undoes with the original
    // gone.
    EXPECT_EQ(copy->position(), 2);
    undo.exchangeHistory(kept, copy);  // frees the "other" history
    EXPECT_EQ(copy, nullptr);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->position(), 1);
    delete kept;
    kept = nullptr;
    EXPECT_EQ(undo.position(), 2);
    moveTo(0);
    EXPECT_EQ(gain.getValue(0, 0, -1), 0.0);
    EXPECT_EQ(gain.audioStorage().getValue(0, 0, -1), 0.0);
    moveTo(2);
    EXPECT_EQ(gain.getValue(0, 0, -1), 2.0);

    // The entry keeps the elements that the host was told of, also through a copy.
    CAudioUndoRecord record(CString("r"));
    CAudioParamUndoContext ctx;
    ctx.undoRecord = &record;
    gain.setValue(3, 0, nullptr, nullptr, ctx);
    CAudioUndoParamEntry* entry = record.findEntry(gain.name());
    ASSERT_NE(entry, nullptr);
    entry->addTold(CAudioUndoParamEntry::toldKey(0, 1));
    std::unique_ptr<CAudioUndoRecord> twin(record.clone());
    EXPECT_TRUE(twin->findEntry(gain.name())->hasTold(256 * 0 + 1));
    EXPECT_FALSE(twin->findEntry(gain.name())->hasTold(0));
    EXPECT_EQ(twin->snapshotCount(), 1);
}

TEST_F(CAudioParamUndoTest, InitReadsTheMaximum) {
    CAudioParamUndo u;
    EXPECT_EQ(u.maxCount(), 32);
    ASSERT_EQ(message(u.setAttr(CString("undo-count-max"), CString("0"), false)), "");
    ASSERT_EQ(message(u.init()), "");
    EXPECT_EQ(u.maxCount(), 1);
    EXPECT_EQ(u.collector(), nullptr);
}
