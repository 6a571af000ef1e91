#include "Audio/ParamFilters/CAudioParamFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamBatchList.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamChangeSink.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamLockObserver.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamUndoSink.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/ParamFilters/CAudioParamFilterBypassGroupSolo.h"
#include "Audio/ParamFilters/CAudioParamFilterBypassMS.h"
#include "Audio/ParamFilters/CAudioParamFilterBypassOS.h"
#include "Audio/ParamFilters/CAudioParamFilterDef.h"
#include "Audio/ParamFilters/CAudioParamFilterInvert.h"
#include "Audio/ParamFilters/CAudioParamFilterSlope.h"
#include "Audio/ParamFilters/CParamFilterRegistration.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;
using test::message;

using Numbers = std::vector<double>;
using Attrs = std::vector<std::pair<const char*, const char*>>;

Numbers groupOf(const CAudioParamStorage& s, int32_t g) {
    const double* p = s.groupNumbers(g);
    return p ? Numbers(p, p + s.elementCount(g) * s.elementSize()) : Numbers();
}

double dB(double db) { return std::pow(10.0, db / 20.0); }

// Where a destination's changes go, and what the undo step and the locks hear of.
struct CRecorder : CAudioParamChangeSink, CAudioParamBatchList, CAudioParamUndoSink, CAudioParamLockObserver {
    void postChange(CAudioParam& param, const CAudioParamChange& r, bool applyNow) override {
        posts.push_back({param.name(), applyNow});
        param.audioStorage().apply(r);
    }
    void append(CAudioParam& param, CAudioParamChange* r) override {
        batched.push_back(param.name());
        delete r;
    }
    void snapshotBefore(const CAudioParam& param, const CAudioParamChange&) override {
        snapshots.push_back(param.name());
    }
    void snapshotAfter(const CAudioParam&, const CAudioParamChange&) override {}
    void lockTaken() override { ++open; }
    void lockReleased() override { --open; }

    std::vector<std::pair<CString, bool>> posts;
    std::vector<CString> batched;
    std::vector<CString> snapshots;
    int open = 0;
};

class CAudioParamFilterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CConverterRegistration::ensureCreatorsRegistered());
        ASSERT_TRUE(CAudioParamRegistration::ensureCreatorsRegistered());
        ASSERT_TRUE(CParamFilterRegistration::ensureCreatorsRegistered());
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        ASSERT_EQ(message(shared->loadXMLData("SharedData.xml", true)), "");
        root = CObject::newRoot();
    }
    void TearDown() override {
        for (auto& f : filters) f->detach();
        filters.clear();
        params.clear();
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }

    template <class TDef = CObject>
    TDef* create(const char* tag, const char* name, const Attrs& attrs, std::string* error = nullptr) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        TDef* def = nullptr;
        const std::string m = message(root->createChild(def, CString(tag), CString(name), false, &map));
        if (error) {
            *error = m;
        } else {
            EXPECT_EQ(m, "");
        }
        return def;
    }

    // A parameter of one number per element; allocated unless its definition is left out.
    CAudioParam* param(const char* name, const char* converter, const char* lo, const char* hi, const char* defs,
                       const char* flags = "", bool allocated = true) {
        const std::string f = flags;
        auto* def = create<CAudioParamDef>("audio:param", name,
                                           {{"converter", converter},
                                            {"min-values", lo},
                                            {"max-values", hi},
                                            {"def-values", defs},
                                            {"is-single-group", f.find("sg") != std::string::npos ? "true" : ""},
                                            {"is-single-element", f.find("se") != std::string::npos ? "true" : ""},
                                            {"is-storable", f.find("S") != std::string::npos ? "true" : ""}});
        params.push_back(std::make_unique<CAudioParam>(CString(name)));
        if (allocated && def) params.back()->allocate(def->info(), nullptr);
        return params.back().get();
    }
    CAudioParam* flag(const char* name) { return param(name, "real", "0", "1", "0", "sg se"); }

    template <class TFilter>
    TFilter* filter(std::vector<CAudioParam*> srcs, std::vector<CAudioParam*> dsts, TFilter* f = new TFilter()) {
        filters.emplace_back(f);
        EXPECT_EQ(message(f->init(srcs.data(), static_cast<int32_t>(srcs.size()), dsts.data(),
                                  static_cast<int32_t>(dsts.size()))),
                  "");
        f->attach();
        return f;
    }

    // Replaces group g with the given elements, as a whole-group write from the UI would.
    static void setGroup(CAudioParam& p, int32_t g, const Numbers& values,
                         const CAudioParamUndoContext& undo = CAudioParamUndoContext()) {
        CAudioParamChange r;
        r.setTarget(p.uiStorage(), g, 0, static_cast<int32_t>(values.size()), nullptr);
        r.tail = true;
        r.clearOwnNumbers();
        for (double v : values) r.addNumber(v);
        ASSERT_TRUE(p.change(r, nullptr, undo));
    }
    // The destination's value on both sides: without a change sink they move together.
    static double both(const CAudioParam& p, int32_t g = 0, int32_t e = 0) {
        const double ui = p.uiStorage().getValue(g, e, -1.0);
        EXPECT_EQ(ui, p.audioStorage().getValue(g, e, -2.0)) << str(p.name());
        return ui;
    }

    CObject* shared = nullptr;
    CObject* root = nullptr;
    // Outlives the parameters that report to it, which TearDown ends.
    CRecorder recorder;
    std::vector<std::unique_ptr<CAudioParam>> params;
    std::vector<std::unique_ptr<CAudioParamFilter>> filters;
};

}  // namespace

TEST_F(CAudioParamFilterTest, MidSideBypassOpensOnlyForARealPair) {
    CAudioParam* pairs = param("ms-pairs", "real", "0", "4", "0,0,0,0", "S sg");
    CAudioParam* bypass = flag("mid-side-bypass");
    filter<CAudioParamFilterBypassMS>({pairs}, {bypass});
    EXPECT_EQ(both(*bypass), 1.0);  // attach ran at once: the default 0 became 1

    setGroup(*pairs, 0, {1, 1, 0, 0});
    EXPECT_EQ(both(*bypass), 0.0);
    setGroup(*pairs, 0, {1, 2, 0, 0});
    EXPECT_EQ(both(*bypass), 1.0);
    setGroup(*pairs, 0, {0, 0, 3, 3});  // zeros never pair, equal numbers anywhere do
    EXPECT_EQ(both(*bypass), 0.0);
    setGroup(*pairs, 0, {});
    EXPECT_EQ(both(*bypass), 1.0);
    setGroup(*pairs, 0, {2.6, 0, 3.4, 0});  // rounded before counting: 3 and 3
    EXPECT_EQ(both(*bypass), 0.0);
    setGroup(*pairs, 0, {0.4, 0.3, 2.4, 0});  // 0, 0 and 2: no pair
    EXPECT_EQ(both(*bypass), 1.0);
}

TEST_F(CAudioParamFilterTest, OversamplingBypassFollowsTheEffectiveLevel) {
    CAudioParam* os = param("oversampling", "real", "0", "4", "1", "S sg se");
    CAudioParam* hm = param("host-oversampling-mode", "real", "-3", "3", "0", "sg se");
    CAudioParam* bypass = flag("oversampling-bypass");
    filter<CAudioParamFilterBypassOS>({os, hm}, {bypass});
    EXPECT_EQ(both(*bypass), 1.0);  // 1X with the host's mode 0

    struct Case {
        double os, hm, bypass;
    };
    const Case cases[] = {
        {2, 0, 0.0},   // 2X
        {1, 0, 1.0},   // 1X
        {1, -1, 0.0},  // the host forces level 1 over 1X
        {4, -3, 0.0},  {3, -0.4, 0.0},  // -0.4 rounds to 0: 4X stands
        {0, 0, 1.0},   // automatic, host at level 0
        {0, 2, 0.0},   // automatic, host at level 2
        {1.4, 0, 1.0},  // rounds to 1X
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(os->setValue(c.os, 0, nullptr, nullptr));
        ASSERT_TRUE(hm->setValue(c.hm, 0, nullptr, nullptr));
        EXPECT_EQ(both(*bypass), c.bypass) << "os " << c.os << " hm " << c.hm;
    }

    // An undefined oversampling setting reads as 1X.
    CAudioParam* undefined = param("os2", "real", "0", "4", "3", "sg se", false);
    CAudioParam* hm2 = param("hm2", "real", "-3", "3", "0", "sg se");
    CAudioParam* bypass2 = flag("bypass2");
    filter<CAudioParamFilterBypassOS>({undefined, hm2}, {bypass2});
    EXPECT_EQ(both(*bypass2), 1.0);
    ASSERT_TRUE(hm2->setValue(-2, 0, nullptr, nullptr));
    EXPECT_EQ(both(*bypass2), 0.0);
}

// The two sources of the oversampling bypass changed on two threads at once: each change holds
// its own source and then reaches for the other, so a blocking wait would deadlock. Both threads
// end, and the result matches the final values.
TEST_F(CAudioParamFilterTest, TwoSourcesChangedOnTwoThreadsNeverDeadlock) {
    CAudioParam* os = param("oversampling", "real", "0", "4", "1", "S sg se");
    CAudioParam* hm = param("host-oversampling-mode", "real", "-3", "3", "0", "sg se");
    CAudioParam* bypass = flag("oversampling-bypass");
    filter<CAudioParamFilterBypassOS>({os, hm}, {bypass});
    std::thread ui([os] {
        for (int i = 0; i < 400; ++i) EXPECT_TRUE(os->setValue(i % 2 ? 2.0 : 1.0, 0, nullptr, nullptr));
    });
    std::thread host([hm] {
        for (int i = 0; i < 400; ++i) EXPECT_TRUE(hm->setValue(i % 2 ? 0.0 : -1.0, 0, nullptr, nullptr));
    });
    ui.join();
    host.join();
    // Last values: 2X with the host at mode 0, so not bypassed; one more change settles any
    // feed that was given up at the very end.
    ASSERT_TRUE(hm->setValue(0.0, 0, nullptr, nullptr));
    EXPECT_EQ(both(*bypass), 0.0);
}

TEST_F(CAudioParamFilterTest, GroupSoloBypassLooksAtEveryGroup) {
    CAudioParam* solo = param("channel-group-solo", "real", "0", "1", "0", "S");
    CAudioParam* bypass = flag("group-solo-bypass");
    filter<CAudioParamFilterBypassGroupSolo>({solo}, {bypass});
    EXPECT_EQ(both(*bypass), 1.0);

    ASSERT_TRUE(solo->setValue(1.0, 3, nullptr, nullptr));  // groups 1 and 2 come with no elements
    EXPECT_EQ(solo->uiStorage().groupCount(), 4);
    EXPECT_EQ(both(*bypass), 0.0);
    ASSERT_TRUE(solo->setValue(0.5, 1, nullptr, nullptr));
    ASSERT_TRUE(solo->setValue(0.49, 3, nullptr, nullptr));
    EXPECT_EQ(both(*bypass), 0.0);  // group 1 still solo
    ASSERT_TRUE(solo->setValue(0.0, 1, nullptr, nullptr));
    EXPECT_EQ(both(*bypass), 1.0);
}

TEST_F(CAudioParamFilterTest, InvertMirrorsOnTheConvertersScaleOrDivides) {
    // An uneven gain range shows the converter at work: on a log scale the mirror of v is lo*hi/v.
    CAudioParam* gain = param("key-gain", "gain", "-24", "12", "0");
    CAudioParam* mirrored = param("mirrored", "gain", "-24", "12", "0");
    CAudioParam* divided = param("divided", "gain", "-24", "12", "0");
    filter<CAudioParamFilterInvert>({gain}, {mirrored});
    filter<CAudioParamFilterInvert>({gain}, {divided}, new CAudioParamFilterInvert(true));
    EXPECT_NEAR(both(*mirrored), dB(-12), 1e-12);
    EXPECT_NEAR(both(*divided), 1.0, 1e-15);

    ASSERT_TRUE(gain->setValue(dB(6), 1, nullptr, nullptr));
    EXPECT_NEAR(both(*mirrored, 1), dB(-24 + 12 - 6), 1e-12);
    EXPECT_NEAR(both(*divided, 1), dB(-6), 1e-12);
    EXPECT_NEAR(both(*mirrored, 0), dB(-12), 1e-12);  // the other group is left alone

    // A linear range mirrors around its middle.
    CAudioParam* level = param("level", "real", "0", "10", "3");
    CAudioParam* rest = param("rest", "real", "0", "10", "0");
    filter<CAudioParamFilterInvert>({level}, {rest});
    EXPECT_NEAR(both(*rest), 7.0, 1e-12);

    // Dividing by zero keeps the destination as it was.
    ASSERT_TRUE(gain->setValue(0.0, 1, nullptr, nullptr));
    EXPECT_NEAR(both(*divided, 1), dB(-6), 1e-12);
}

TEST_F(CAudioParamFilterTest, SlopeIsFiveDecibelsPerUnitOverEveryElement) {
    CAudioParam* slope = param("hislope", "real", "0", "6", "0", "S");
    CAudioParam* gain = param("hislope-gain", "gain", "-60", "60", "0");
    filter<CAudioParamFilterSlope>({slope}, {gain});
    EXPECT_EQ(both(*gain), 1.0);

    ASSERT_TRUE(slope->setValue(2.0, 0, nullptr, nullptr));
    EXPECT_NEAR(20 * std::log10(both(*gain)), 10.0, 1e-9);

    // Three elements in, three out; a shorter tail change then shortens the destination.
    setGroup(*slope, 1, {0, 1, 6});
    EXPECT_EQ(groupOf(gain->uiStorage(), 1).size(), 3u);
    EXPECT_NEAR(both(*gain, 1, 1), std::pow(10.0, 0.25), 1e-12);
    EXPECT_NEAR(both(*gain, 1, 2), std::pow(10.0, 1.5), 1e-12);
    setGroup(*slope, 1, {4});
    ASSERT_EQ(groupOf(gain->uiStorage(), 1).size(), 1u);
    EXPECT_EQ(groupOf(gain->audioStorage(), 1).size(), 1u);
    EXPECT_NEAR(both(*gain, 1, 0), 10.0, 1e-12);

    // A source with no storage counts as 1.
    CAudioParam* none = param("none", "real", "0", "6", "0", "", false);
    CAudioParamFilterSlope direct;
    CAudioParamLockContext lock(*none);
    CAudioParamLockContext* locks[] = {&lock};
    double out[CAudioParamFilter::kMaxParams] = {};
    EXPECT_EQ(direct.compute(locks, 0, 0, out), 1);
    EXPECT_NEAR(out[0], std::pow(10.0, 0.25), 1e-15);
}

TEST_F(CAudioParamFilterTest, ChangesTravelThroughChainsAndStopAtLoops) {
    // The detector's emphasis: a slope setting, its gain, and the gain's mirror.
    CAudioParam* slope = param("hislope", "real", "0", "6", "0", "S");
    CAudioParam* gain = param("hislope-gain", "gain", "-60", "60", "0");
    CAudioParam* outgain = param("hislope-outgain", "gain", "-60", "60", "0");
    filter<CAudioParamFilterSlope>({slope}, {gain});
    filter<CAudioParamFilterInvert>({gain}, {outgain});
    ASSERT_TRUE(slope->setValue(3.0, 0, nullptr, nullptr));
    EXPECT_NEAR(20 * std::log10(both(*gain)), 15.0, 1e-9);
    EXPECT_NEAR(20 * std::log10(both(*outgain)), -15.0, 1e-9);

    // Two filters that feed each other: each runs once per change instead of without end.
    CAudioParam* x = param("x", "real", "0.01", "100", "1");
    CAudioParam* y = param("y", "real", "0.01", "100", "1");
    filter<CAudioParamFilterInvert>({x}, {y}, new CAudioParamFilterInvert(true));
    filter<CAudioParamFilterInvert>({y}, {x}, new CAudioParamFilterInvert(true));
    ASSERT_TRUE(x->setValue(4.0, 0, nullptr, nullptr));
    EXPECT_EQ(both(*x), 4.0);
    EXPECT_EQ(both(*y), 0.25);

    // Detached, the source no longer reaches the destination.
    filters.front()->detach();
    ASSERT_TRUE(slope->setValue(1.0, 0, nullptr, nullptr));
    EXPECT_NEAR(20 * std::log10(both(*gain)), 15.0, 1e-9);
}

TEST_F(CAudioParamFilterTest, FeedKeepsBatchAndApplyNowButNotTheUndoRecord) {
    CRecorder& rec = recorder;
    CAudioParam* slope = param("hislope", "real", "0", "6", "0", "S");
    CAudioParam* gain = param("hislope-gain", "gain", "-60", "60", "0", "S");
    CAudioParam* outgain = param("hislope-outgain", "gain", "-60", "60", "0");
    for (CAudioParam* p : {slope, gain, outgain}) p->setLockObserver(&rec);
    gain->setChangeSink(&rec);
    outgain->setChangeSink(&rec);
    filter<CAudioParamFilterSlope>({slope}, {gain});
    filter<CAudioParamFilterInvert>({gain}, {outgain});
    rec.posts.clear();

    CAudioParamUndoContext now;
    now.applyNow = true;
    ASSERT_TRUE(slope->setValue(2.0, 0, nullptr, nullptr, now));
    ASSERT_EQ(rec.posts.size(), 2u);
    EXPECT_EQ(str(rec.posts[0].first), "hislope-gain");
    EXPECT_TRUE(rec.posts[0].second);
    EXPECT_EQ(str(rec.posts[1].first), "hislope-outgain");
    EXPECT_TRUE(rec.posts[1].second);

    CAudioParamUndoContext step;
    step.undoRecord = &rec;
    step.batch = &rec;
    setGroup(*slope, 0, {1.0}, step);
    // Only the change that was made is undone; the storable gain follows it without a record.
    EXPECT_EQ(rec.snapshots, (std::vector<CString>{CString("hislope")}));
    EXPECT_EQ(rec.batched,
              (std::vector<CString>{CString("hislope"), CString("hislope-gain"), CString("hislope-outgain")}));
    EXPECT_EQ(rec.posts.size(), 2u);
    EXPECT_EQ(rec.open, 0);
}

TEST_F(CAudioParamFilterTest, AttachWaitsForASourceWithoutDefinition) {
    CAudioParam* slope = param("hislope", "real", "0", "6", "2", "", false);
    CAudioParam* gain = param("hislope-gain", "gain", "-60", "60", "0");
    filter<CAudioParamFilterSlope>({slope}, {gain});
    EXPECT_EQ(both(*gain), 1.0);  // nothing to compute from yet
    slope->allocate(dynamic_cast<CAudioParamDef*>(root->findObject(CString("hislope")))->info(), nullptr);
    EXPECT_NEAR(both(*gain), std::pow(10.0, 0.5), 1e-12);
}

TEST_F(CAudioParamFilterTest, InitChecksTheCounts) {
    CAudioParam* a = flag("a");
    CAudioParam* b = flag("b");
    CAudioParam* c = flag("c");
    CAudioParamFilterBypassOS os;
    os.setName(CString("plugin.os-filter"));
    CAudioParam* one[] = {a};
    CAudioParam* three[] = {a, b, c};
    CAudioParam* none[] = {nullptr};
    CError* err = os.init(one, 1, one, 1);
    ASSERT_NE(err, nullptr);
    EXPECT_NE(str(err->text()).find("plugin.os-filter"), std::string::npos);
    EXPECT_EQ(message(err), "Not enough source parameters 1 defined in the param filter (required 2).");
    EXPECT_EQ(message(os.init(three, 3, one, 1)), "Too many source parameters 3 defined in the param filter.");
    EXPECT_EQ(message(os.init(three, 2, none, 0)),
              "Not enough destination parameters 0 defined in the param filter (required 1).");
    EXPECT_EQ(message(os.init(three, 2, three, 2)), "Too many destination parameters 2 defined in the param filter.");
    EXPECT_EQ(message(os.init(three, 2, none, 1)),
              "Not enough destination parameters 0 defined in the param filter (required 1).");
    EXPECT_EQ(os.srcCount(), 0);
    EXPECT_EQ(message(os.init(three, 2, three + 2, 1)), "");
    EXPECT_EQ(os.src(1), b);
    EXPECT_EQ(os.dst(0), c);
}

TEST_F(CAudioParamFilterTest, DefinitionsMakeTheirFilters) {
    auto* invert = create<CAudioParamFilterDef>("audio:param-filter-invert", "inv",
                                                {{"src", " hislope-gain ,"}, {"dst", "^out.gain"},
                                                 {"is-division", "true"}});
    ASSERT_NE(invert, nullptr);
    ASSERT_EQ(invert->srcNames().count(), 1);
    EXPECT_EQ(str(invert->srcNames()[0]), "hislope-gain");
    EXPECT_EQ(str(invert->dstNames()[0]), "^out.gain");
    std::unique_ptr<CAudioParamFilter> made(invert->createFilter());
    auto* asInvert = dynamic_cast<CAudioParamFilterInvert*>(made.get());
    ASSERT_NE(asInvert, nullptr);
    EXPECT_TRUE(asInvert->isDivision());
    EXPECT_EQ(made->name(), invert->fullName());

    auto* os = create<CAudioParamFilterDef>("audio:param-filter-bypass-os", "os",
                                            {{"src", "oversampling, host-oversampling-mode"}, {"dst", "bypass"}});
    ASSERT_EQ(os->srcNames().count(), 2);
    EXPECT_EQ(str(os->srcNames()[1]), "host-oversampling-mode");
    made.reset(os->createFilter());
    EXPECT_NE(dynamic_cast<CAudioParamFilterBypassOS*>(made.get()), nullptr);
    EXPECT_EQ(made->getSrcCount(), 2);

    const std::pair<const char*, const std::type_info&> kinds[] = {
        {"audio:param-filter-bypass-group-solo", typeid(CAudioParamFilterBypassGroupSolo)},
        {"audio:param-filter-bypass-ms", typeid(CAudioParamFilterBypassMS)},
        {"audio:param-filter-slope", typeid(CAudioParamFilterSlope)},
        {"audio:param-filter-invert", typeid(CAudioParamFilterInvert)},
    };
    for (const auto& [tag, kind] : kinds) {
        auto* def = create<CAudioParamFilterDef>(tag, "k", {{"src", "a"}, {"dst", "b"}});
        ASSERT_NE(def, nullptr) << tag;
        made.reset(def->createFilter());
        EXPECT_TRUE(typeid(*made) == kind) << tag;
    }
    EXPECT_FALSE(dynamic_cast<CAudioParamFilterInvert*>(made.get())->isDivision());

    std::string error;
    create("audio:param-filter-slope", "nosrc", {{"src", " , "}, {"dst", "b"}}, &error);
    EXPECT_EQ(error, "No source parameters defined.");
    create("audio:param-filter-slope", "nodst", {{"src", "a"}}, &error);
    EXPECT_EQ(error, "No destination parameters defined.");
}
