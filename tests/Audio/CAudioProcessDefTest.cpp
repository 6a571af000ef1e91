#include "Audio/CAudioProcessDef.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;

using TAttrs = std::vector<std::pair<const char*, const char*>>;

using test::message;

// The message of an invalid-value error, `what` filled in.
std::string invalid(const char* format, const char* what) { return str(CString::format(format, what)); }

// Which of the values meet the state's condition on its parameter, as a string of 1s and 0s.
std::string holds(const CAudioProcessBypassStateDef* s, std::initializer_list<double> values) {
    std::string bits;
    for (const double v : values) bits += s->paramHolds(v) ? '1' : '0';
    return bits;
}

class CAudioProcessDefTest : public ::testing::Test {
protected:
    void SetUp() override {
        root = CObject::newRoot();
        CObject* plugin = nullptr;
        ASSERT_EQ(root->addChild(plugin, CString("core:object"), CString("plugin"), false), nullptr);
        main = open(plugin, "audio:process-def", "modMain", {});
    }
    void TearDown() override { root->destroy(); }

    // A parent whose children are added by hand: created and initialised up to its children.
    CAudioProcessDef* open(CObject* parent, const char* tag, const char* name, const TAttrs& attrs) {
        CObject* obj = nullptr;
        EXPECT_EQ(parent->addChild(obj, CString(tag), CString(name), false), nullptr);
        for (auto& [k, v] : attrs) obj->setAttr(CString(k), CString(v), false);
        EXPECT_EQ(message(obj->init()), "");
        EXPECT_EQ(message(obj->initAttrHandlers()), "");
        return dynamic_cast<CAudioProcessDef*>(obj);
    }

    // A complete child by the whole creation; the error message, or "" on success.
    template <class T>
    std::string make(T*& out, CObject* parent, const char* tag, const char* name, const TAttrs& attrs) {
        CAttrMap m;
        for (auto& [k, v] : attrs) m[CString(k)].setText(CString(v));
        return message(parent->createChild(out, CString(tag), CString(name), false, nullptr, &m));
    }
    std::string tryMake(const char* tag, const TAttrs& attrs) {
        CObject* out = nullptr;
        return make(out, main, tag, "x", attrs);
    }

    CObject* root = nullptr;
    CAudioProcessDef* main = nullptr;
};

}  // namespace

TEST_F(CAudioProcessDefTest, AttributesAndTheirDefaults) {
    CAudioProcessDef* def = nullptr;
    ASSERT_EQ(make(def, main, "audio:process-def", "plain", {}), "");
    EXPECT_FALSE(def->isSmoothUpdate() || def->isStacked() || def->isChannelStack() || def->isMultiband() ||
                 def->isTerminalWhole() || def->isPrototype() || def->isOutOfOrder() || def->isCompInput() ||
                 def->isAutoLinks());
    EXPECT_EQ(def->stackIndexShift(), 0);
    // Empty values count as absent; unknown combination modes sum.
    const TAttrs blanks{{"bypass-state-id", ""}, {"xfade-length", ""}, {"input-combo-mode", "median"}};
    for (const TAttrs& attrs : {TAttrs{}, blanks}) {
        ASSERT_EQ(make(def, main, "audio:process-def", "blank", attrs), "");
        EXPECT_EQ(def->bypassStateId(), -1);
        EXPECT_DOUBLE_EQ(def->xfadeLength(), 0.015);
        EXPECT_EQ(def->inputComboMode(), EInputComboMode::kSum);
    }

    ASSERT_EQ(make(def, main, "audio:process-def", "full",
                   {{"is-smooth-update", "true"}, {"is-stacked", "1"}, {"is-channel-stack", "true"},
                    {"stack-param", "groups"}, {"stack-index-shift", "0x2"}, {"is-terminal-whole", "true"},
                    {"is-prototype", "true"}, {"is-outoforder", "true"}, {"bypass-state-id", "0"},
                    {"is-comp-input", "true"}, {"input-combo-mode", "max"}, {"xfade-length", "0.005"},
                    {"is-auto-links", "true"}}),
              "");
    EXPECT_TRUE(def->isSmoothUpdate() && def->isStacked() && def->isChannelStack() && def->isTerminalWhole() &&
                def->isPrototype() && def->isOutOfOrder() && def->isCompInput() && def->isAutoLinks());
    EXPECT_EQ(str(def->stackParam()), "groups");
    EXPECT_EQ(def->stackIndexShift(), 2);
    EXPECT_EQ(def->bypassStateId(), 0);  // 0 is a state, not "none"
    EXPECT_EQ(def->inputComboMode(), EInputComboMode::kMax);
    EXPECT_DOUBLE_EQ(def->xfadeLength(), 0.005);
    ASSERT_EQ(make(def, main, "audio:process-def", "avg", {{"input-combo-mode", "avg"}}), "");
    EXPECT_EQ(def->inputComboMode(), EInputComboMode::kAvg);
    ASSERT_EQ(make(def, main, "audio:process-def", "mb",
                   {{"is-multiband", "true"}, {"multiband-freq-param", "f"}, {"multiband-count-param", "n"}}),
              "");
    EXPECT_EQ(str(def->multibandFreqParam()), "f");

    CAudioParamAllocDef* alloc = nullptr;
    ASSERT_EQ(make(alloc, main, "audio:param-alloc", "a",
                   {{"param-name", "ratio"}, {"index", "4"}, {"use-all-groups", "true"}, {"is-smooth-update", "1"}}),
              "");
    EXPECT_EQ(str(alloc->paramName()), "ratio");
    EXPECT_EQ(alloc->index(), 4);
    EXPECT_TRUE(alloc->useAllGroups() && alloc->isSmoothUpdate());
    EXPECT_FALSE(alloc->useAllElements());
}

// Each malformed value fails the creation with its own message; the attributes a setting makes
// optional are not judged without it.
TEST_F(CAudioProcessDefTest, InvalidValuesFailWithTheirMessage) {
    struct SCase {
        const char* tag;
        TAttrs attrs;
        std::string message;
    };
    const char* const def = "audio:process-def";
    const char* const link = "audio:process-link";
    const char* const state = "audio:process-bypass-state";
    const char* const shift = "Invalid stack index shift value '%s' specified.";
    const char* const range = "Invalid 'range' attribute value '%s' specified.";
    const char* const port = "Invalid port in the '%s' attribute value '%s' specified.";
    std::vector<SCase> cases{
        {def, {{"stack-index-shift", "-1"}}, invalid(shift, "-1")},
        {def, {{"stack-index-shift", "1.5"}}, invalid(shift, "1.5")},
        {def, {{"is-multiband", "true"}, {"multiband-count-param", "n"}}, "No 'multiband-freq-param' attribute defined."},
        {def, {{"is-multiband", "true"}, {"multiband-freq-param", "f"}}, "No 'multiband-count-param' attribute defined."},
        {def, {{"is-multiband", "false"}}, ""},
        {"audio:param-alloc", {{"index", "1"}}, "Invalid parameter name specified."},
        {"audio:param-alloc", {{"param-name", "r"}, {"index", "-2"}}, "Invalid parameter's 'r' index '-2' specified."},
        {link, {{"dst", "a"}}, "No 'src' attribute defined."},
        {link, {{"src", "a"}, {"dst", ""}}, "No 'dst' attribute defined."},
        {link, {{"src", "/1"}, {"dst", "a"}}, "Invalid process in the 'src' attribute value '/1' specified."},
        {link, {{"src", "a"}, {"dst", "/0"}}, "Invalid process in the 'dst' attribute value '/0' specified."},
        {link, {{"src", "a"}, {"dst", "b"}, {"state-id", "-2"}}, "Invalid state identifier '-2' specified."},
        {link, {{"src", "a"}, {"dst", "b"}, {"state-id", "one"}}, "Invalid state identifier 'one' specified."},
        {state, {{"value", "1"}}, "Invalid parameter name specified."},
        {state, {{"param", "p"}, {"value", "5"}, {"range", "[0.5;(1]"}}, invalid(range, "[0.5;(1]")},
        {state, {{"param", "p"}, {"and-param", "q"}, {"and-range", "[x;1]"}}, 
         "Invalid 'and-range' attribute value '[x;1]' specified."},
        {state, {{"param", "p"}, {"and-range", "[x;1]"}}, ""},
    };
    // An empty port, a sign, a bad digit, a second port, a number out of range; on either end.
    for (const char* bad : {"a/", "a/-1", "a/0x", "a/1/2", "a/99999999999"}) {
        cases.push_back({link, {{"src", bad}, {"dst", "b"}}, str(CString::format(port, "src", bad))});
        cases.push_back({link, {{"src", "b"}, {"dst", bad}}, str(CString::format(port, "dst", bad))});
    }
    // No ends, a missing bracket, a step that is not positive, a bad number, too many fields.
    for (const char* bad : {"[;]", "[0;1", "[0;1;0]", "[a;1]", "[0;1;2;3]"})
        cases.push_back({state, {{"param", "p"}, {"range", bad}}, invalid(range, bad)});
    for (const SCase& c : cases) EXPECT_EQ(tryMake(c.tag, c.attrs), c.message) << c.tag << " " << c.attrs[0].second;
}

TEST_F(CAudioProcessDefTest, LinksParseEndpointsStatesAndBypassLists) {
    struct SCase {
        const char *src, *dst, *srcName;
        int32_t srcPort;
        const char* dstName;
        int32_t dstPort;
    };
    CAudioProcessLinkDef* link = nullptr;
    for (const SCase& c : {SCase{"*", "*", "*", 0, "*", 0}, SCase{"modStatsWaveIn/1", "a", "modStatsWaveIn", 1, "a", 0},
                           SCase{"a/0x1F", "*/0X2", "a", 31, "*", 2}, SCase{"a/007", "b/3", "a", 7, "b", 3}}) {
        ASSERT_EQ(make(link, main, "audio:process-link", "l", {{"src", c.src}, {"dst", c.dst}}), "") << c.src;
        EXPECT_EQ(str(link->srcName()), c.srcName);
        EXPECT_EQ(link->srcPort(), c.srcPort);
        EXPECT_EQ(str(link->dstName()), c.dstName);
        EXPECT_EQ(link->dstPort(), c.dstPort);
        EXPECT_EQ(link->stateId(), -1);
        EXPECT_TRUE(link->bypassStateIds().isEmpty());
    }
    // Only whole non-negative numbers count in the bypass list.
    ASSERT_EQ(make(link, main, "audio:process-link", "l",
                   {{"src", "a"}, {"dst", "b"}, {"state-id", "2"}, {"bypass-state-id", " 52 -1 x 0  0x10 3.5 7 "}}),
              "");
    EXPECT_EQ(link->stateId(), 2);
    const CArray<int32_t>& ids = link->bypassStateIds();
    ASSERT_EQ(ids.count(), 4);
    EXPECT_TRUE(ids[0] == 52 && ids[1] == 0 && ids[2] == 16 && ids[3] == 7) << ids[0] << " " << ids[1] << " " << ids[2];
}

TEST_F(CAudioProcessDefTest, BypassStateConditions) {
    CAudioProcessBypassStateDef* s = nullptr;
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "s", {{"id", "31"}, {"param", "mid-side-bypass"}}), "");
    EXPECT_EQ(s->id(), 31);
    // The default value 1.0 is met within 0.1 either side, ends included.
    EXPECT_EQ(holds(s, {0.9, 1.0, 1.1, 0.89, 1.11, 0.0}), "111000");
    // Without an and-param its value plays no part.
    EXPECT_TRUE(s->isActive(1.0, 0.0));
    EXPECT_FALSE(s->isActive(0.0, 1.0));

    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "inv", {{"param", "p"}, {"value", "0"}, {"is-inverted", "true"}}),
              "");
    EXPECT_FALSE(s->isActive(0.05, 0));
    EXPECT_TRUE(s->isActive(0.2, 0));

    // The range replaces the value; [ ] closed, ( ) open, in steps of 0.01 unless given. Values
    // round onto the grid: 0.4951 onto the closed lower end, 2.5 away from zero to 3.
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"value", "5"}, {"range", "[0.5;1)"}}),
              "");
    EXPECT_EQ(holds(s, {5.0, 0.5, 0.994, 0.7, 0.4951, 0.494, 0.996, 1.0}), "01111000");
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"range", "(2;;1)"}}), "");
    EXPECT_EQ(holds(s, {2.4, 1.0, 2.5, 1e9}), "0011");
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"range", "[;-1]"}}), "");
    EXPECT_EQ(holds(s, {-1.004, -1e9, -0.99}), "110");

    // A second parameter with its own condition.
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "and",
                   {{"param", "p"}, {"and-param", "q"}, {"and-value", "0"}, {"and-range", "[2;3]"}}),
              "");
    EXPECT_TRUE(s->isActive(1.0, 2.5));
    EXPECT_FALSE(s->isActive(1.0, 0.0));
    EXPECT_FALSE(s->isActive(0.0, 2.5));
}

TEST_F(CAudioProcessDefTest, NamesResolveAgainstTheDefinition) {
    const std::pair<const char*, const char*> cases[] = {
        {"^io-params.in-routing", "plugin.modMain.io-params.in-routing"}, {"^^x", "plugin.x"}, {"^^^^x", "x"},
        {"^", "plugin.modMain"}, {"/abs.name", "abs.name"}, {"/^x", "^x"}, {"gain", "plugin.modMain.modInRouter.gain"},
        {"", ""}};
    for (const auto& [name, full] : cases)
        EXPECT_EQ(str(CDefNameResolver::resolve(CString("plugin.modMain.modInRouter"), CString(name))), full) << name;
    EXPECT_EQ(str(CDefNameResolver::resolve(CString(), CString("gain"))), "gain");

    CAudioProcessDef* router = open(main, "audio:process-def", "modInRouter", {});
    EXPECT_EQ(str(router->resolveName(CString("^io-params.in-routing"))), "plugin.modMain.io-params.in-routing");
    // States resolve against the definition that holds them.
    CAudioProcessBypassStateDef* s = nullptr;
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "s", {{"param", "bypass-enable"}, {"and-param", "/g.solo"}}),
              "");
    EXPECT_EQ(str(s->paramName()), "plugin.modMain.bypass-enable");
    EXPECT_EQ(str(s->andParamName()), "g.solo");
    CAudioProcessLinkStateDef* ls = nullptr;
    ASSERT_EQ(make(ls, router, "audio:process-link-state", "ls", {{"param", "^mode"}}), "");
    EXPECT_EQ(str(ls->paramName()), "plugin.modMain.mode");
    EXPECT_EQ(message(router->initChilds()), "");
}

TEST_F(CAudioProcessDefTest, ChildrenAreSortedByClass) {
    CAudioProcessDef *first = nullptr, *second = nullptr;
    CAudioProcessLinkDef *always = nullptr, *stateOne = nullptr, *alwaysToo = nullptr;
    CAudioProcessLinkStateDef* ls = nullptr;
    CAudioProcessBypassStateDef* bs = nullptr;
    CAudioParamAllocDef *slot3 = nullptr, *slot0 = nullptr, *slot3Again = nullptr;
    CObject *scope = nullptr, *param = nullptr, *remap = nullptr;
    ASSERT_EQ(make(second, main, "audio:process-def", "b", {}), "");
    ASSERT_EQ(make(always, main, "audio:process-link", "l", {{"src", "*"}, {"dst", "b"}}), "");
    ASSERT_EQ(make(slot3, main, "audio:param-alloc", "p3", {{"param-name", "x"}, {"index", "3"}}), "");
    ASSERT_EQ(make(stateOne, main, "audio:process-link", "l", {{"src", "b"}, {"dst", "a"}, {"state-id", "1"}}), "");
    ASSERT_EQ(make(first, main, "audio:process-def", "a", {}), "");
    ASSERT_EQ(make(bs, main, "audio:process-bypass-state", "s", {{"param", "p"}}), "");
    ASSERT_EQ(make(scope, main, "core:object", "io-params", {}), "");
    ASSERT_EQ(make(remap, main, "audio:param-remap", "gain", {{"orig", "gain"}, {"new", "^gain"}}), "");
    ASSERT_EQ(make(ls, main, "audio:process-link-state", "ls", {{"param", "mode"}}), "");
    ASSERT_EQ(make(slot0, main, "audio:param-alloc", "p0", {{"param-name", "y"}}), "");
    ASSERT_EQ(make(slot3Again, main, "audio:param-alloc", "p3b", {{"param-name", "z"}, {"index", "3"}}), "");
    ASSERT_EQ(make(alwaysToo, main, "audio:process-link", "l", {{"src", "a"}, {"dst", "*"}}), "");
    ASSERT_EQ(message(main->initChilds()), "");

    // In definition order, not by name.
    ASSERT_EQ(main->childDefs().count(), 2);
    EXPECT_TRUE(main->childDefs()[0] == second && main->childDefs()[1] == first);
    const auto& links = main->linksByState();
    ASSERT_EQ(links.size(), 2u);
    ASSERT_TRUE(links.at(-1).count() == 2 && links.at(1).count() == 1);
    EXPECT_TRUE(links.at(-1)[0] == always && links.at(-1)[1] == alwaysToo && links.at(1)[0] == stateOne);
    ASSERT_TRUE(main->linkStates().count() == 1 && main->bypassStates().count() == 1 && main->nameScopes().count() == 1);
    EXPECT_TRUE(main->linkStates()[0] == ls && main->bypassStates()[0] == bs && main->nameScopes()[0] == scope);
    ASSERT_EQ(main->paramAllocs().size(), 2u);
    EXPECT_EQ(main->paramAllocs().begin()->second, slot0);
    EXPECT_EQ(main->paramAlloc(3), slot3);  // the first binding of a slot stays
    EXPECT_EQ(main->paramAlloc(1), nullptr);
    ASSERT_EQ(main->paramRemaps().count(), 1);
    EXPECT_TRUE(static_cast<const CObject*>(main->paramRemaps()[0].def) == remap && main->paramRemaps()[0].scope.isEmpty());

    // Anything else below a subgraph is refused; the frame names the child.
    // (The finished tree is read-only, having no shared root to belong to: the next one stands beside it.)
    CAudioProcessDef* bad = open(main->parent(), "audio:process-def", "bad", {});
    ASSERT_EQ(make(param, bad, "ui:view", "v", {}), "");
    CError* err = bad->initChilds();
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(str(err->line(0)), "Audio process def of invalid class supplied.");
    EXPECT_NE(str(err->text()).find("plugin.bad.v"), std::string::npos);
    deleteError(err);
}
