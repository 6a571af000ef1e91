#include "Audio/CAudioProcessDef.h"

#include <gtest/gtest.h>

#include <string>

#include "Audio/CAudioParamAllocDef.h"
#include "Audio/CAudioProcessBypassStateDef.h"
#include "Audio/CAudioProcessLinkDef.h"
#include "Audio/CAudioProcessLinkStateDef.h"
#include "Audio/CDefNameResolver.h"
#include "Core/CError.h"

using namespace orl;

namespace {

using TAttrs = std::initializer_list<std::pair<const char*, const char*>>;

std::string str(const CString& s) { return s.narrowed().c8(); }

CAttrMap toMap(TAttrs list) {
    CAttrMap m;
    for (auto& [k, v] : list) m[CString(k)].setText(CString(v));
    return m;
}

// The first line of an error (its message), or "" for success; the error is consumed.
std::string message(CError* err) {
    std::string text = err ? str(err->line(0)) : "";
    deleteError(err);
    return text;
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
    template <class T = CAudioProcessDef>
    T* open(CObject* parent, const char* tag, const char* name, TAttrs attrs) {
        CObject* obj = nullptr;
        EXPECT_EQ(parent->addChild(obj, CString(tag), CString(name), false), nullptr);
        for (auto& [k, v] : attrs) obj->setAttr(CString(k), CString(v), false);
        EXPECT_EQ(message(obj->init()), "");
        EXPECT_EQ(message(obj->initAttrHandlers()), "");
        return dynamic_cast<T*>(obj);
    }

    // A complete child by the whole creation; the error message, or "" on success.
    template <class T>
    std::string make(T*& out, CObject* parent, const char* tag, const char* name, TAttrs attrs) {
        CAttrMap m = toMap(attrs);
        return message(parent->createChild(out, CString(tag), CString(name), false, nullptr, &m));
    }
    template <class T = CObject>
    std::string tryMake(CObject* parent, const char* tag, TAttrs attrs) {
        T* out = nullptr;
        return make(out, parent, tag, "x", attrs);
    }

    CObject* root = nullptr;
    CAudioProcessDef* main = nullptr;
};

}  // namespace

TEST_F(CAudioProcessDefTest, AttributesAndTheirDefaults) {
    CAudioProcessDef* plain = nullptr;
    ASSERT_EQ(make(plain, main, "audio:process-def", "plain", {}), "");
    EXPECT_FALSE(plain->isSmoothUpdate() || plain->isStacked() || plain->isChannelStack() || plain->isMultiband() ||
                 plain->isTerminalWhole() || plain->isPrototype() || plain->isOutOfOrder() || plain->isCompInput() ||
                 plain->isAutoLinks());
    EXPECT_EQ(plain->bypassStateId(), -1);
    EXPECT_DOUBLE_EQ(plain->xfadeLength(), 0.015);
    EXPECT_EQ(plain->stackIndexShift(), 0);
    EXPECT_EQ(plain->inputComboMode(), EInputComboMode::kSum);

    CAudioProcessDef* full = nullptr;
    ASSERT_EQ(make(full, main, "audio:process-def", "full",
                   {{"is-smooth-update", "true"}, {"is-stacked", "1"}, {"is-channel-stack", "true"},
                    {"stack-param", "groups"}, {"stack-index-shift", "0x2"}, {"is-terminal-whole", "true"},
                    {"is-prototype", "true"}, {"is-outoforder", "true"}, {"bypass-state-id", "0"},
                    {"is-comp-input", "true"}, {"input-combo-mode", "max"}, {"xfade-length", "0.005"},
                    {"is-auto-links", "true"}}),
              "");
    EXPECT_TRUE(full->isSmoothUpdate() && full->isStacked() && full->isChannelStack() && full->isTerminalWhole() &&
                full->isPrototype() && full->isOutOfOrder() && full->isCompInput() && full->isAutoLinks());
    EXPECT_EQ(str(full->stackParam()), "groups");
    EXPECT_EQ(full->stackIndexShift(), 2);
    EXPECT_EQ(full->bypassStateId(), 0);  // 0 is a state, not "none"
    EXPECT_EQ(full->inputComboMode(), EInputComboMode::kMax);
    EXPECT_DOUBLE_EQ(full->xfadeLength(), 0.005);

    // Empty values count as absent; unknown combination modes sum.
    CAudioProcessDef* blank = nullptr;
    ASSERT_EQ(make(blank, main, "audio:process-def", "blank",
                   {{"bypass-state-id", ""}, {"xfade-length", ""}, {"input-combo-mode", "median"}}),
              "");
    EXPECT_EQ(blank->bypassStateId(), -1);
    EXPECT_DOUBLE_EQ(blank->xfadeLength(), 0.015);
    EXPECT_EQ(blank->inputComboMode(), EInputComboMode::kSum);
    CAudioProcessDef* avg = nullptr;
    ASSERT_EQ(make(avg, main, "audio:process-def", "avg", {{"input-combo-mode", "avg"}}), "");
    EXPECT_EQ(avg->inputComboMode(), EInputComboMode::kAvg);

    CAudioParamAllocDef* alloc = nullptr;
    ASSERT_EQ(make(alloc, main, "audio:param-alloc", "a",
                   {{"param-name", "ratio"}, {"index", "4"}, {"use-all-groups", "true"}, {"is-smooth-update", "1"}}),
              "");
    EXPECT_EQ(str(alloc->paramName()), "ratio");
    EXPECT_EQ(alloc->index(), 4);
    EXPECT_TRUE(alloc->useAllGroups() && alloc->isSmoothUpdate());
    EXPECT_FALSE(alloc->useAllElements());
}

TEST_F(CAudioProcessDefTest, InvalidDefinitionValuesFailInit) {
    const char* shiftError = "Invalid stack index shift value '%s' specified.";
    for (const char* bad : {"-1", "abc", "1.5"}) {
        EXPECT_EQ(tryMake(main, "audio:process-def", {{"stack-index-shift", bad}}), str(CString::format(shiftError, bad)));
    }
    EXPECT_EQ(tryMake(main, "audio:process-def", {{"is-multiband", "true"}, {"multiband-count-param", "n"}}),
              "No 'multiband-freq-param' attribute defined.");
    EXPECT_EQ(tryMake(main, "audio:process-def", {{"is-multiband", "true"}, {"multiband-freq-param", "f"}}),
              "No 'multiband-count-param' attribute defined.");
    CAudioProcessDef* mb = nullptr;
    ASSERT_EQ(make(mb, main, "audio:process-def", "mb",
                   {{"is-multiband", "true"}, {"multiband-freq-param", "f"}, {"multiband-count-param", "n"}}),
              "");
    EXPECT_EQ(str(mb->multibandFreqParam()), "f");
    // Without the frame its parameters aren't needed.
    EXPECT_EQ(tryMake(main, "audio:process-def", {{"is-multiband", "false"}}), "");

    EXPECT_EQ(tryMake(main, "audio:param-alloc", {{"index", "1"}}), "Invalid parameter name specified.");
    EXPECT_EQ(tryMake(main, "audio:param-alloc", {{"param-name", "ratio"}, {"index", "-2"}}),
              "Invalid parameter's 'ratio' index '-2' specified.");
}

TEST_F(CAudioProcessDefTest, LinksParseEndpointsStatesAndBypassLists) {
    struct Case {
        const char *src, *dst, *srcName;
        int32_t srcPort;
        const char* dstName;
        int32_t dstPort;
    };
    for (const Case& c : {Case{"*", "*", "*", 0, "*", 0}, Case{"modStatsWaveIn/1", "a/0", "modStatsWaveIn", 1, "a", 0},
                          Case{"a/0x1F", "b/0X2", "a", 31, "b", 2}, Case{"a/007", "*/3", "a", 7, "*", 3}}) {
        CAudioProcessLinkDef* link = nullptr;
        ASSERT_EQ(make(link, main, "audio:process-link", "l", {{"src", c.src}, {"dst", c.dst}}), "") << c.src;
        EXPECT_EQ(str(link->srcName()), c.srcName);
        EXPECT_EQ(link->srcPort(), c.srcPort);
        EXPECT_EQ(str(link->dstName()), c.dstName);
        EXPECT_EQ(link->dstPort(), c.dstPort);
        EXPECT_EQ(link->stateId(), -1);
        EXPECT_TRUE(link->bypassStateIds().isEmpty());
    }

    EXPECT_EQ(tryMake(main, "audio:process-link", {{"dst", "a"}}), "No 'src' attribute defined.");
    EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", "a"}, {"dst", ""}}), "No 'dst' attribute defined.");
    EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", "/1"}, {"dst", "a"}}),
              "Invalid process in the 'src' attribute value '/1' specified.");
    EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", "a"}, {"dst", "/0"}}),
              "Invalid process in the 'dst' attribute value '/0' specified.");
    for (const char* badPort : {"a/", "a/-1", "a/x", "a/0x", "a/1/2", "a/#3", "a/99999999999"}) {
        EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", badPort}, {"dst", "b"}}),
                  str(CString::format("Invalid port in the 'src' attribute value '%s' specified.", badPort)));
        EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", "b"}, {"dst", badPort}}),
                  str(CString::format("Invalid port in the 'dst' attribute value '%s' specified.", badPort)));
    }
    for (const char* badState : {"-2", "one"}) {
        EXPECT_EQ(tryMake(main, "audio:process-link", {{"src", "a"}, {"dst", "b"}, {"state-id", badState}}),
                  str(CString::format("Invalid state identifier '%s' specified.", badState)));
    }

    CAudioProcessLinkDef* link = nullptr;
    ASSERT_EQ(make(link, main, "audio:process-link", "l",
                   {{"src", "a"}, {"dst", "b"}, {"state-id", "2"}, {"bypass-state-id", " 52 -1 x 0  0x10 3.5 7 "}}),
              "");
    EXPECT_EQ(link->stateId(), 2);
    const CArray<int32_t>& ids = link->bypassStateIds();
    ASSERT_EQ(ids.count(), 4);
    EXPECT_EQ(ids[0], 52);
    EXPECT_EQ(ids[1], 0);
    EXPECT_EQ(ids[2], 16);
    EXPECT_EQ(ids[3], 7);
}

TEST_F(CAudioProcessDefTest, BypassStateConditions) {
    CAudioProcessBypassStateDef* s = nullptr;
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "s", {{"id", "31"}, {"param", "mid-side-bypass"}}), "");
    EXPECT_EQ(s->id(), 31);
    // The default value 1.0 is met within 0.1 either side, ends included.
    EXPECT_TRUE(s->paramHolds(0.9) && s->paramHolds(1.1) && s->paramHolds(1.0));
    EXPECT_FALSE(s->paramHolds(0.89) || s->paramHolds(1.11) || s->paramHolds(0.0));
    // Without an and-param its value plays no part.
    EXPECT_TRUE(s->isActive(1.0, 0.0));
    EXPECT_FALSE(s->isActive(0.0, 1.0));

    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "inv", {{"param", "p"}, {"value", "0"}, {"is-inverted", "true"}}),
              "");
    EXPECT_FALSE(s->isActive(0.05, 0));
    EXPECT_TRUE(s->isActive(0.2, 0));

    // The range replaces the value; [ ] closed, ( ) open, in steps of 0.01 unless given.
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"value", "5"}, {"range", "[0.5;(1]"}}),
              "Invalid 'range' attribute value '[0.5;(1]' specified.");
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"value", "5"}, {"range", "[0.5;1)"}}),
              "");
    EXPECT_FALSE(s->paramHolds(5.0));
    EXPECT_TRUE(s->paramHolds(0.5) && s->paramHolds(0.994) && s->paramHolds(0.7));
    EXPECT_FALSE(s->paramHolds(0.494) || s->paramHolds(0.996) || s->paramHolds(1.0));
    EXPECT_TRUE(s->paramHolds(0.4951));  // rounds onto the closed lower end

    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"range", "(2;;1)"}}), "");
    EXPECT_FALSE(s->paramHolds(2.4) || s->paramHolds(1.0));
    EXPECT_TRUE(s->paramHolds(2.5) && s->paramHolds(1e9));  // 2.5 rounds away from zero to 3

    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "r", {{"param", "p"}, {"range", "[;-1]"}}), "");
    EXPECT_TRUE(s->paramHolds(-1.004) && s->paramHolds(-1e9));
    EXPECT_FALSE(s->paramHolds(-0.99));

    for (const char* bad : {"[;]", "[0;1", "0;1]", "[0;1;0]", "[0;1;-1]", "[a;1]", "[0;1;2;3]", "[01]x"}) {
        EXPECT_EQ(tryMake(main, "audio:process-bypass-state", {{"param", "p"}, {"range", bad}}),
                  str(CString::format("Invalid 'range' attribute value '%s' specified.", bad)));
    }

    // A second parameter with its own condition; its range is judged only when it is named.
    ASSERT_EQ(make(s, main, "audio:process-bypass-state", "and",
                   {{"param", "p"}, {"and-param", "q"}, {"and-value", "0"}, {"and-range", "[2;3]"}}),
              "");
    EXPECT_TRUE(s->isActive(1.0, 2.5));
    EXPECT_FALSE(s->isActive(1.0, 0.0));
    EXPECT_FALSE(s->isActive(0.0, 2.5));
    EXPECT_EQ(tryMake(main, "audio:process-bypass-state", {{"param", "p"}, {"and-param", "q"}, {"and-range", "[x;1]"}}),
              "Invalid 'and-range' attribute value '[x;1]' specified.");
    EXPECT_EQ(tryMake(main, "audio:process-bypass-state", {{"param", "p"}, {"and-range", "[x;1]"}}), "");
    EXPECT_EQ(tryMake(main, "audio:process-bypass-state", {{"value", "1"}}), "Invalid parameter name specified.");
}

TEST_F(CAudioProcessDefTest, NamesResolveAgainstTheDefinition) {
    const CString base("plugin.modMain.modInRouter");
    auto resolve = [&](const char* name) { return str(CDefNameResolver::resolve(base, CString(name))); };
    EXPECT_EQ(resolve("^io-params.in-routing"), "plugin.modMain.io-params.in-routing");
    EXPECT_EQ(resolve("^^x"), "plugin.x");
    EXPECT_EQ(resolve("^^^^x"), "x");
    EXPECT_EQ(resolve("^"), "plugin.modMain");
    EXPECT_EQ(resolve("/abs.name"), "abs.name");
    EXPECT_EQ(resolve("/^x"), "^x");
    EXPECT_EQ(resolve("gain"), "plugin.modMain.modInRouter.gain");
    EXPECT_EQ(resolve(""), "");
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
    CAudioProcessDef* first = nullptr;
    CAudioProcessDef* second = nullptr;
    CAudioProcessLinkDef *always = nullptr, *stateOne = nullptr, *alwaysToo = nullptr;
    CAudioProcessLinkStateDef* ls = nullptr;
    CAudioProcessBypassStateDef* bs = nullptr;
    CAudioParamAllocDef *slot3 = nullptr, *slot0 = nullptr, *slot3Again = nullptr;
    CObject *scope = nullptr, *param = nullptr;
    ASSERT_EQ(make(second, main, "audio:process-def", "b", {}), "");
    ASSERT_EQ(make(always, main, "audio:process-link", "l", {{"src", "*"}, {"dst", "b"}}), "");
    ASSERT_EQ(make(slot3, main, "audio:param-alloc", "p3", {{"param-name", "x"}, {"index", "3"}}), "");
    ASSERT_EQ(make(stateOne, main, "audio:process-link", "l", {{"src", "b"}, {"dst", "a"}, {"state-id", "1"}}), "");
    ASSERT_EQ(make(first, main, "audio:process-def", "a", {}), "");
    ASSERT_EQ(make(bs, main, "audio:process-bypass-state", "s", {{"param", "p"}}), "");
    ASSERT_EQ(make(scope, main, "core:object", "io-params", {}), "");
    ASSERT_EQ(make(param, main, "audio:param", "gain", {}), "");  // parameter side, no class yet
    ASSERT_EQ(make(ls, main, "audio:process-link-state", "ls", {{"param", "mode"}}), "");
    ASSERT_EQ(make(slot0, main, "audio:param-alloc", "p0", {{"param-name", "y"}}), "");
    ASSERT_EQ(make(slot3Again, main, "audio:param-alloc", "p3b", {{"param-name", "z"}, {"index", "3"}}), "");
    ASSERT_EQ(make(alwaysToo, main, "audio:process-link", "l", {{"src", "a"}, {"dst", "*"}}), "");
    ASSERT_EQ(message(main->initChilds()), "");

    ASSERT_EQ(main->childDefs().count(), 2);
    EXPECT_EQ(main->childDefs()[0], second);  // definition order, not by name
    EXPECT_EQ(main->childDefs()[1], first);
    const auto& links = main->linksByState();
    ASSERT_EQ(links.size(), 2u);
    ASSERT_EQ(links.at(-1).count(), 2);
    EXPECT_EQ(links.at(-1)[0], always);
    EXPECT_EQ(links.at(-1)[1], alwaysToo);
    ASSERT_EQ(links.at(1).count(), 1);
    EXPECT_EQ(links.at(1)[0], stateOne);
    ASSERT_EQ(main->linkStates().count(), 1);
    EXPECT_EQ(main->linkStates()[0], ls);
    ASSERT_EQ(main->bypassStates().count(), 1);
    EXPECT_EQ(main->bypassStates()[0], bs);
    ASSERT_EQ(main->paramAllocs().size(), 2u);
    EXPECT_EQ(main->paramAllocs().begin()->second, slot0);
    EXPECT_EQ(main->paramAlloc(3), slot3);  // the first binding of a slot stays
    EXPECT_EQ(main->paramAlloc(1), nullptr);
    ASSERT_EQ(main->nameScopes().count(), 1);
    EXPECT_EQ(main->nameScopes()[0], scope);

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
