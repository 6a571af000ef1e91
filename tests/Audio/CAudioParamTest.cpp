#include "Audio/CAudioParam.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "Audio/CAudioParamBatchList.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeListener.h"
#include "Audio/CAudioParamChangeSink.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamEnumRegistry.h"
#include "Audio/CAudioParamFilterInput.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamLockObserver.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamUndoSink.h"
#include "Audio/Converters/CAudioParamConverter.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CError.h"
#include "Core/CMemoryReader.h"
#include "Core/CObject.h"
#include "Core/COutputStream.h"
#include "tests/Support/CTestText.h"
#include "tests/Support/CByteSink.h"

using namespace orl;

namespace {

using test::str;
using test::message;

using test::CByteSink;

using Numbers = std::vector<double>;
using Attrs = std::vector<std::pair<const char*, const char*>>;

Numbers groupOf(const CAudioParamStorage& s, int32_t g) {
    const double* p = s.groupNumbers(g);
    return p ? Numbers(p, p + s.elementCount(g) * s.elementSize()) : Numbers();
}

// What the parameter hands on, in the order it does so.
struct CTrace : CAudioParamChangeSink,
                CAudioParamChangeListener,
                CAudioParamFilterInput,
                CAudioParamEnumRegistry,
                CAudioParamBatchList,
                CAudioParamUndoSink,
                CAudioParamLockObserver {
    void postChange(CAudioParam& param, const CAudioParamChange& r, bool applyNow) override {
        events.push_back(applyNow ? "post-now" : "post");
        posted.emplace_back(r.clone());
        // What the audio thread would do later.
        if (applyNow) param.audioStorage().apply(r);
    }
    void onParamChanged(const void* source, CAudioParam& param, const CAudioParamChange& r,
                        CAudioParamLockContext& lock, const CAudioParamUndoContext&) override {
        events.push_back("listener");
        sources.push_back(source);
        EXPECT_TRUE(lock.covers(param));
        EXPECT_EQ(&lock.param(), &param);
        (void)r;
    }
    void feed(CAudioParam&, const CAudioParamChange&, CAudioParamLockContext&, const CAudioParamUndoContext&) override {
        events.push_back("filter");
    }
    void onParamChanged(CAudioParam&, const CAudioParamChange&, CAudioParamLockContext&,
                        const CAudioParamUndoContext&) override {
        events.push_back("registry");
    }
    void append(CAudioParam&, CAudioParamChange* r) override {
        events.push_back("batch");
        batch.emplace_back(r);
    }
    void snapshotBefore(const CAudioParam& param, const CAudioParamChange& r) override {
        before.push_back(groupOf(param.uiStorage(), r.group));
    }
    void snapshotAfter(const CAudioParam& param, const CAudioParamChange& r) override {
        after.push_back(groupOf(param.uiStorage(), r.group));
    }
    void lockTaken() override { ++taken; }
    void lockReleased() override { ++released; }

    std::vector<std::string> events;
    std::vector<std::unique_ptr<CAudioParamChange>> posted;
    std::vector<std::unique_ptr<CAudioParamChange>> batch;
    std::vector<const void*> sources;
    std::vector<Numbers> before;
    std::vector<Numbers> after;
    int taken = 0;
    int released = 0;
};

// The shared converters from the shared definitions, and parameter declarations below a root of
// their own.
class CAudioParamTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CConverterRegistration::ensureCreatorsRegistered());
        ASSERT_TRUE(CAudioParamRegistration::ensureCreatorsRegistered());
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        ASSERT_EQ(message(shared->loadXMLData("SharedData.xml", true)), "");
        root = CObject::newRoot();
    }
    void TearDown() override {
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }

    // Declares a parameter; the message of a failed init goes to *error.
    CAudioParamDef* define(const char* name, const Attrs& attrs, std::string* error = nullptr) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        CAudioParamDef* def = nullptr;
        const std::string m = message(root->createChild(def, CString("audio:param"), CString(name), false, &map));
        if (error) {
            *error = m;
        } else {
            EXPECT_EQ(m, "");
        }
        return def;
    }

    // Eight numbers 1..8 in one element each, like an input routing.
    const CAudioParamInfo& routing(bool storable = true) {
        CAudioParamDef* def = define(storable ? "routing" : "meter",
                                     {{"converter", "real"},
                                      {"min-values", "0"},
                                      {"max-values", "64"},
                                      {"def-values", "1, 2, 3, 4, 5, 6, 7, 8"},
                                      {"is-storable", storable ? "true" : ""}});
        return def->info();
    }
    const CAudioParamInfo& names() {
        return define("names", {{"data-type", "string"}, {"converter", "text"}, {"def-values", "L;R"}})->info();
    }

    CObject* shared = nullptr;
    CObject* root = nullptr;
};

}  // namespace

TEST_F(CAudioParamTest, DeclarationsReadEveryAttribute) {
    const CAudioParamInfo& r = routing();
    EXPECT_EQ(str(r.name), "routing");
    ASSERT_NE(r.converter(0), nullptr);
    EXPECT_EQ(static_cast<const CObject*>(r.converter(0)), shared->findObject(CString("audio.paramcvt.real")));
    ASSERT_TRUE(r.defaultData.isValid());
    EXPECT_EQ(r.defaultData.defaultCount(), 8);
    EXPECT_EQ(groupOf(r.defaultData, 0), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(r.defaultData.getValue(5, 9, -1.0), 1.0);  // no element 9 anywhere: default 0

    // The info record's own flags and ranges are covered where it is filled; here what the
    // declaration adds: the second converter by its shared path and the defaults' storage.
    const CAudioParamInfo& band = define("band", {{"element-size", "2"},
                                                  {"converter", "gain"},
                                                  {"converter2", "shared::audio.paramcvt.ratio"},
                                                  {"min-values", "-24 1:1"},
                                                  {"max-values", "24 6:1"},
                                                  {"def-values", "0 2:1; -6 1:1"}})
                                       ->info();
    EXPECT_EQ(static_cast<const CObject*>(band.converter(1)), shared->findObject(CString("audio.paramcvt.ratio")));
    EXPECT_EQ(band.defaultData.defaultCount(), 2);
    EXPECT_DOUBLE_EQ(band.defaultData.getNumber(0, 0, 1, 0.0), 0.5);
    EXPECT_NEAR(band.defaultData.getNumber(0, 1, 0, 0.0), std::pow(10.0, -6.0 / 20.0), 1e-15);

    const CAudioParamInfo& n = names();
    EXPECT_EQ(n.dataType, CAudioParamInfo::kString);
    CString text;
    EXPECT_TRUE(n.defaultData.getText(0, 1, text));
    EXPECT_EQ(str(text), "R");

    std::string error;
    define("bad4", {{"converter", "nope"}, {"min-values", "0"}, {"max-values", "1"}, {"def-values", "0"}}, &error);
    EXPECT_EQ(error, "Audio parameter converter 'nope' not found.");
}

TEST_F(CAudioParamTest, InfoRoundTripsThroughItsStoredForm) {
    const CAudioParamInfo& band = define("band", {{"element-size", "2"},
                                                  {"converter", "enum"},
                                                  {"converter2", "percent"},
                                                  {"min-values", "0 0"},
                                                  {"max-values", "2 100"},
                                                  {"def-values", "1 50, 2 25"},
                                                  {"state-names", "Lo-shelf|Lo-shlf;Peak;High shelf"},
                                                  {"switch-values", "0"},
                                                  {"switch-names", "Off"},
                                                  {"is-storable", "true"},
                                                  {"visual-name", "Band"},
                                                  {"param-registry", "^bands"}})
                                       ->info();
    CByteSink sink;
    ASSERT_EQ(message(band.save(sink)), "");

    CAudioParamInfo back;
    CMemoryReader reader(sink.bytes.data(), static_cast<uint32_t>(sink.bytes.size()));
    ASSERT_EQ(message(back.load(reader, root, CString(CAudioParamDef::kConverterBase))), "");
    EXPECT_EQ(reader.position(), sink.bytes.size());
    EXPECT_EQ(back.name, band.name);
    EXPECT_EQ(back.visualName, band.visualName);
    EXPECT_EQ(back.registryPath, band.registryPath);
    EXPECT_EQ(back.elementSize, 2);
    EXPECT_TRUE(back.storable && back.global && !back.persistent && !back.singleGroup);
    EXPECT_EQ(back.converter(0), band.converter(0));
    EXPECT_EQ(back.converter(1), band.converter(1));
    EXPECT_EQ(back.maximum(0), 2.0);
    EXPECT_EQ(back.maximum(1), 1.0);
    ASSERT_EQ(back.stateNames.count(), 3);
    EXPECT_EQ(str(back.shortStateNames[0]), "Lo-shlf");
    EXPECT_EQ(str(back.stateNames[2]), "High shelf");
    ASSERT_EQ(back.switchNames.count(), 1);
    EXPECT_EQ(str(back.switchNames[0]), "Off");
    EXPECT_EQ(Numbers(back.defaultNumbers.begin(), back.defaultNumbers.end()), (Numbers{1, 0.5, 2, 0.25}));
    EXPECT_EQ(groupOf(back.defaultData, 0), groupOf(band.defaultData, 0));
    EXPECT_EQ(back.defaultData.defaultCount(), 2);

    // Strings keep their default texts; without a place to look converters up, only their names.
    CByteSink textSink;
    ASSERT_EQ(message(names().save(textSink)), "");
    CAudioParamInfo texts;
    CMemoryReader textReader(textSink.bytes.data(), static_cast<uint32_t>(textSink.bytes.size()));
    ASSERT_EQ(message(texts.load(textReader)), "");
    EXPECT_EQ(texts.converter(0), nullptr);
    EXPECT_EQ(str(texts.converterNames[0]), "text");
    ASSERT_EQ(texts.defaultTexts.count(), 2);
    EXPECT_EQ(str(texts.defaultTexts[1]), "R");

    std::vector<uint8_t> version = sink.bytes;
    version[0] = 3;
    CMemoryReader versionReader(version.data(), static_cast<uint32_t>(version.size()));
    EXPECT_EQ(message(texts.load(versionReader)), "Unsupported data set version 3.");
    for (size_t cut = 0; cut < sink.bytes.size(); cut += 7) {
        CMemoryReader part(sink.bytes.data(), static_cast<uint32_t>(cut));
        EXPECT_NE(message(texts.load(part)), "") << "cut at " << cut;
    }
    EXPECT_EQ(str(texts.name), "names");  // failed loads left it alone
}

TEST_F(CAudioParamTest, ChangesReachTheUiSideThenTheSinkRegistryListenersAndFilters) {
    CTrace trace;
    CAudioParam param(CString("plugin.routing"));
    param.setLockObserver(&trace);
    EXPECT_FALSE(param.setValue(1.0, 0, nullptr, nullptr));  // no definition yet: no layout
    EXPECT_EQ(param.getValue(0, 0, -1.0), -1.0);

    // Without a sink every change goes straight to the audio side, allocation included.
    param.allocate(routing(), nullptr);
    EXPECT_EQ(groupOf(param.audioStorage(), 0), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(groupOf(param.defaultStorage(), 0), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));
    int source = 0;
    ASSERT_TRUE(param.setValue(0.5, 1, &source, nullptr));
    EXPECT_EQ(param.audioStorage().getValue(1, 0, -1.0), 0.5);
    EXPECT_EQ(trace.taken, trace.released);

    param.setChangeSink(&trace);
    param.setEnumRegistry(&trace);
    param.addListener(&trace);
    param.addFilter(&trace);
    ASSERT_TRUE(param.setValue(0.25, 0, &source, nullptr));
    EXPECT_EQ(trace.events, (std::vector<std::string>{"post", "registry", "listener", "filter"}));
    EXPECT_EQ(trace.sources, (std::vector<const void*>{&source}));
    EXPECT_EQ(param.getValue(0, 0, -1.0), 0.25);
    EXPECT_EQ(param.audioStorage().getValue(0, 0, -1.0), 1.0);  // waits for the audio thread
    ASSERT_EQ(trace.posted.size(), 1u);
    EXPECT_EQ(trace.posted[0]->numbers[0], 0.25);

    // Padded: one change from the group's end, the missing elements with their defaults.
    CAudioParamChange r;
    r.setLayoutOf(param.uiStorage());
    r.group = 1;
    r.start = 3;
    r.count = 1;
    r.addNumber(-4.0);
    CAudioParamUndoContext now;
    now.applyNow = true;
    ASSERT_TRUE(param.change(r, nullptr, now));
    ASSERT_EQ(trace.posted.size(), 2u);
    EXPECT_EQ(trace.posted[1]->start, 1);
    EXPECT_EQ(trace.posted[1]->count, 3);
    EXPECT_EQ(groupOf(param.uiStorage(), 1), (Numbers{0.5, 2, 3, -4}));
    EXPECT_EQ(groupOf(param.audioStorage(), 1), (Numbers{0.5, 2, 3, -4}));

    // A batch takes a clone instead of the sink; the undo record sees the group around it.
    CAudioParamUndoContext undo;
    undo.batch = &trace;
    undo.undoRecord = &trace;
    trace.events.clear();
    ASSERT_TRUE(param.setValue(9.0, 1, &source, nullptr, undo));
    EXPECT_EQ(trace.events, (std::vector<std::string>{"batch", "registry", "listener", "filter"}));
    ASSERT_EQ(trace.batch.size(), 1u);
    EXPECT_EQ(trace.batch[0]->numbers[0], 9.0);
    EXPECT_EQ(trace.before, (std::vector<Numbers>{{0.5, 2, 3, -4}}));
    EXPECT_EQ(trace.after, (std::vector<Numbers>{{9, 2, 3, -4}}));

    // A change of another layout is refused before anyone hears of it.
    trace.events.clear();
    r.elementSize = 2;
    r.addNumber(1.0);
    EXPECT_FALSE(param.change(r, nullptr));
    EXPECT_TRUE(trace.events.empty());

    // A parameter that isn't storable makes no undo snapshot; allocating again with the same
    // definition changes nothing.
    CAudioParam meter(CString("plugin.meter"));
    meter.allocate(routing(false), nullptr);
    meter.addListener(&trace);
    ASSERT_TRUE(meter.setValue(3.0, 0, nullptr, nullptr, undo));
    EXPECT_EQ(trace.before.size(), 1u);
    trace.events.clear();
    meter.allocate(*meter.info(), nullptr);
    EXPECT_TRUE(trace.events.empty());

    // One lock for a context and everything done under it.
    const int takenBefore = trace.taken;
    {
        CAudioParamLockContext lock(param);
        ASSERT_TRUE(param.setValue(7.0, 0, &source, &lock));
        ASSERT_TRUE(param.setValue(6.0, 0, &source, &lock));
        EXPECT_EQ(trace.taken, takenBefore + 1);
    }
    EXPECT_EQ(trace.released, trace.taken);
}

TEST_F(CAudioParamTest, ResetToAllGroupsOneGroupOrOneElement) {
    CAudioParam param(CString("plugin.routing"));
    param.reset(-1, -1, nullptr);  // no definition: nothing
    param.allocate(routing(), nullptr);
    CTrace trace;
    param.addListener(&trace);
    ASSERT_TRUE(param.setValue(99.0, 0, nullptr, nullptr));
    CAudioParamChange r;
    r.setLayoutOf(param.uiStorage());
    r.group = 1;
    r.count = 3;
    for (double v : {5.0, 6.0, 7.0}) r.addNumber(v);
    ASSERT_TRUE(param.change(r, nullptr));
    r.group = 2;
    ASSERT_TRUE(param.change(r, nullptr));
    const CAudioParamStorage& ui = param.uiStorage();

    // One element: the defaults storage has no group 1, so the UI side's default of element 1.
    param.reset(1, 1, nullptr);
    EXPECT_EQ(groupOf(ui, 1), (Numbers{5, 2, 7}));
    // Missing elements first come back one by one.
    param.reset(1, 5, nullptr);
    EXPECT_EQ(groupOf(ui, 1), (Numbers{5, 2, 7, 4, 5, 6}));
    // With useFirstElement the value is the defaults' first.
    param.reset(1, 3, nullptr, CAudioParamUndoContext(), true);
    EXPECT_EQ(groupOf(ui, 1), (Numbers{5, 2, 7, 1, 5, 6}));
    param.reset(0, 0, nullptr);
    EXPECT_EQ(ui.getValue(0, 0, -1.0), 1.0);

    // One group: what the defaults hold for it, here nothing.
    param.reset(2, -1, nullptr);
    EXPECT_EQ(ui.elementCount(2), 0);
    EXPECT_EQ(ui.getValue(2, 1, -1.0), 2.0);

    // All groups, and a group beyond the table does nothing.
    const size_t heard = trace.events.size();
    param.reset(7, 0, nullptr);
    EXPECT_EQ(trace.events.size(), heard);
    param.reset(-1, 0, nullptr);
    EXPECT_EQ(groupOf(ui, 0), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(ui.elementCount(1), 0);
    EXPECT_EQ(groupOf(param.audioStorage(), 0), groupOf(ui, 0));
    EXPECT_EQ(param.audioStorage().elementCount(1), 0);
}

TEST_F(CAudioParamTest, StringsAndStoredValuesThroughTheParameter) {
    const CAudioParamInfo& info = names();
    const CAudioParamDef* blob = define("blob", {{"data-type", "raw"}, {"converter", "text"}, {"def-values", "ab"}});
    const int32_t liveBefore = CAudioParamDataItem::liveCount();
    {
        CAudioParam param(CString("plugin.names"));
        param.allocate(info, nullptr);
        EXPECT_FALSE(param.setValue(1.0, 0, nullptr, nullptr));
        EXPECT_FALSE(param.setRaw(0, 0, "x", 1, nullptr, nullptr));  // a string parameter takes no raw data
        ASSERT_TRUE(param.setString(0, 3, CString("Aux"), nullptr, nullptr));
        ASSERT_TRUE(param.setString(1, 0, CString(""), nullptr, nullptr));
        CString text;
        std::vector<std::string> texts;
        for (int32_t e = 0; e < 4; ++e) {
            EXPECT_TRUE(param.getString(text, 0, e));
            texts.push_back(str(text));
        }
        EXPECT_EQ(texts, (std::vector<std::string>{"L", "R", "L", "Aux"}));
        EXPECT_TRUE(param.getString(text, 1, 0));
        EXPECT_EQ(text.length(), 0);
        param.reset(0, 3, nullptr);
        EXPECT_TRUE(param.getString(text, 0, 3));
        EXPECT_EQ(str(text), "L");  // no default element 3 anywhere: default element 0
        EXPECT_EQ(param.uiStorage().data().count(), 5);

        // The stored value goes into another parameter of the definition, and not into one of
        // another type.
        CByteSink sink;
        ASSERT_EQ(message(param.save(sink, -1)), "");
        CAudioParam copy(CString("plugin.copy"));
        copy.allocate(info, nullptr);
        CMemoryReader reader(sink.bytes.data(), static_cast<uint32_t>(sink.bytes.size()));
        ASSERT_EQ(message(copy.load(reader, -1, nullptr, nullptr)), "");
        EXPECT_TRUE(copy.getString(text, 0, 3));
        EXPECT_EQ(str(text), "L");
        EXPECT_EQ(copy.uiStorage().elementCount(1), 1);
        EXPECT_EQ(copy.audioStorage().elementCount(0), 4);

        CAudioParam numeric(CString("plugin.routing"));
        numeric.allocate(routing(), nullptr);
        reader.setData(sink.bytes.data(), static_cast<uint32_t>(sink.bytes.size()));
        EXPECT_EQ(message(numeric.load(reader, -1, nullptr, nullptr)),
                  "Unsupported storage format (esize=1, dtype=1; should be: esize=1, dtype=0).");
        EXPECT_EQ(groupOf(numeric.uiStorage(), 0), (Numbers{1, 2, 3, 4, 5, 6, 7, 8}));

        // Raw data: the default is the bytes of its text.
        CAudioParam raw(CString("plugin.blob"));
        raw.allocate(blob->info(), nullptr);
        const uint8_t bytes[] = {7, 0, 9};
        ASSERT_TRUE(raw.setRaw(0, 1, bytes, 3, nullptr, nullptr));
        int32_t id = 0;
        ASSERT_TRUE(CAudioParamData::idOf(raw.audioStorage().getValue(0, 0, 0.0), id));
        const CByteBuffer* first = raw.audioStorage().data().getRaw(id);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(first->data()), first->size()), "ab");
        EXPECT_EQ(raw.audioStorage().elementCount(0), 2);
    }
    EXPECT_EQ(CAudioParamDataItem::liveCount(), liveBefore);
}
