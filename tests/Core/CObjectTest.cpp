#include "Core/CObject.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Core/CError.h"
#include "Core/CTemplatePayload.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;

std::vector<std::string> g_calls;

// A class that records its handlers, its life cycle and its destruction.
class CTestRecorder : public CObject {
public:
    ~CTestRecorder() override { g_calls.push_back("~" + str(fullName())); }

    CError* init() override {
        g_calls.push_back("init " + str(fullName()) + " children=" + std::to_string(childCount()));
        return CObject::init();
    }
    CError* initChilds() override {
        g_calls.push_back("initChilds " + str(fullName()) + " children=" + std::to_string(childCount()));
        return CObject::initChilds();
    }

    static CError* onWidth(CObject* o, CAttrValue& v) {
        g_calls.push_back("width=" + str(v.getString()) + " children=" + std::to_string(o->childCount()));
        return nullptr;
    }
    static CError* onHeight(CObject*, CAttrValue& v) {
        g_calls.push_back("height=" + str(v.getString()));
        return nullptr;
    }
    static CError* onBroken(CObject* o, CAttrValue& v) {
        g_calls.push_back("broken=" + str(v.getString()));
        return ORL_ERROR(nullptr, o->fullName(), "Broken value %1.", v.getString());
    }
    static CError* ping(CObject* o) {
        g_calls.push_back("ping " + str(o->fullName()));
        return nullptr;
    }
    static void fill(CClassDescriptors& d) {
        CObject::fillDescriptors(d);
        d.attrHandlers[CString("width")] = &onWidth;
        d.attrHandlers[CString("height")] = &onHeight;
        d.attrHandlers[CString("broken")] = &onBroken;
        CEventEntry e;
        e.proc = &ping;
        d.events[CString("ping")] = e;
    }
};

class CTestOther : public CObject {};

const CCreatorRow kTestCreators[] = {
    {"test:recorder", []() -> CObject* { return new CTestRecorder(); }, &CTestRecorder::fill},
    {"test:other", []() -> CObject* { return new CTestOther(); }, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

[[maybe_unused]] const bool g_registered = [] {
    CError* err = CObject::registerCreator(kTestCreators);
    deleteError(err);
    return err == nullptr;
}();

// A template made in code: a class tag, attributes for the instance and children to create.
class CTestPayload : public CTemplatePayload {
public:
    CTestPayload(const char* classTag, CAttrMap attrs, std::vector<std::string> children)
        : m_classTag(classTag), m_attrs(std::move(attrs)), m_children(std::move(children)) {}
    const CString& classTag() const override { return m_classTag; }
    CError* applyAttributes(CObject* instance) override {
        for (const auto& [k, v] : m_attrs) {
            if (CError* err = instance->setAttr(k, v.getString(), false)) return ORL_PASS(err, instance->fullName());
        }
        return nullptr;
    }
    CError* createChildren(CObject* instance) override {
        for (const auto& name : m_children) {
            CObject* child = nullptr;
            if (CError* err = instance->createChild(child, CString("test:recorder"), CString(name.c_str())))
                return ORL_PASS(err, instance->fullName());
        }
        return nullptr;
    }

private:
    CString m_classTag;
    CAttrMap m_attrs;
    std::vector<std::string> m_children;
};

CAttrMap attrs(std::initializer_list<std::pair<const char*, const char*>> list) {
    CAttrMap m;
    for (auto& [k, v] : list) m[CString(k)].setText(CString(v));
    return m;
}

CObject* add(CObject* parent, const char* name, const char* tag = "core:object") {
    CObject* child = nullptr;
    CError* err = parent->addChild(child, CString(tag), CString(name), false);
    EXPECT_EQ(err, nullptr);
    deleteError(err);
    return child;
}

class CObjectTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        root = CObject::newRoot();
        // Instance trees are built while the shared tree exists; without it, finished
        // objects are taken for shared definitions and become read-only.
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
    }
    void TearDown() override {
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
    CObject* root = nullptr;
    CObject* shared = nullptr;
};

}  // namespace

TEST_F(CObjectTest, NamesGetIndicesAndFullNames) {
    CObject* x = add(root, "x");
    EXPECT_EQ(x->fullName(), "x");
    CObject* a = add(x, "item");
    CObject* b = add(x, "item");
    CObject* c = add(x, "item");
    EXPECT_EQ(a->fullName(), "x.item");
    EXPECT_EQ(b->fullName(), "x.item#1");
    EXPECT_EQ(c->fullName(), "x.item#2");
    EXPECT_EQ(root->findObject(CString("x.item")), a);
    EXPECT_EQ(root->findObject(CString("x.item#")), c);
    EXPECT_EQ(root->findObject(CString("x.item#1")), b);

    // A wanted index that is free is kept; a taken one moves past the highest, not into a gap.
    CObject* five = add(x, "item#5");
    EXPECT_EQ(five->nameIndex(), 5);
    EXPECT_EQ(add(x, "item#5")->nameIndex(), 6);
    b->destroy();
    EXPECT_EQ(root->findObject(CString("x.item#1")), nullptr);
    EXPECT_EQ(add(x, "item")->fullName(), "x.item#7");

    // A text behind "#" that isn't a number asks for index 0; hex indices parse.
    CObject* y = add(x, "thing#zz");
    EXPECT_EQ(y->nameIndex(), 0);
    EXPECT_EQ(add(x, "thing#0x10")->nameIndex(), 16);
    EXPECT_EQ(root->findObject(CString("x.thing#16"))->nameIndex(), 16);

    // The empty name is allowed.
    CObject* blank = add(x, "");
    EXPECT_EQ(blank->fullName(), "x.");
    EXPECT_EQ(x->getAttrString(CObject::fullNameKey()), "x");
}

TEST_F(CObjectTest, EveryPathForm) {
    CObject* audio = add(root, "audio");
    CObject* flt = add(audio, "flt");
    CObject* lp = add(flt, "firlp");
    CObject* sib = add(audio, "hs_rbj2");
    CObject* sharedAudio = add(shared, "audio");
    CObject* sharedFlt = add(sharedAudio, "flt");

    EXPECT_EQ(root->findObject(CString("audio.flt.firlp")), lp);
    EXPECT_EQ(root->findObject(CString("/audio.flt")), flt);
    EXPECT_EQ(lp->findObject(CString("audio.flt")), flt);  // from the root of the tree
    EXPECT_EQ(flt->findObject(CString(".firlp")), lp);
    EXPECT_EQ(flt->findObject(CString("^hs_rbj2")), sib);
    EXPECT_EQ(lp->findObject(CString("^^hs_rbj2")), sib);
    EXPECT_EQ(lp->findObject(CString("^")), flt);
    EXPECT_EQ(lp->findObject(CString("^^")), audio);
    EXPECT_EQ(flt->findObject(CString("..firlp")), lp);
    EXPECT_EQ(lp->findObject(CString("^.firlp")), lp);
    EXPECT_EQ(flt->findObject(CString("/")), root);
    EXPECT_EQ(lp->findObject(CString("shared::audio.flt")), sharedFlt);
    EXPECT_EQ(lp->findObject(CString("shared::")), shared);

    EXPECT_EQ(root->findObject(CString("")), nullptr);
    EXPECT_EQ(root->findObject(CString("^")), nullptr);
    EXPECT_EQ(lp->findObject(CString("^^^^x")), nullptr);
    EXPECT_EQ(root->findObject(CString("audio.nothing")), nullptr);
    EXPECT_EQ(root->findObject(CString("audio.flt#x")), nullptr);
    // Malformed paths give null or a harmless object, never a crash.
    for (const char* bad : {"#", "##", "a#", ".#.", "^^^^^^^^^^", "....", "/.^.^", "shared:", "audio.flt.firlp.#-1"}) {
        CObject* found = lp->findObject(CString(bad));
        EXPECT_TRUE(found == nullptr || found == root || found == lp || found == audio || found == flt) << bad;
    }
    // Without a published shared root, a tree (the one loading to become shared) answers its
    // own "shared::" paths; what neither has stays unresolved.
    CObject::setSharedRoot(nullptr);
    EXPECT_EQ(lp->findObject(CString("shared::audio")), audio);
    EXPECT_EQ(lp->findObject(CString("shared::audio.none")), nullptr);
    CObject::setSharedRoot(shared);
}

TEST_F(CObjectTest, CheckedLookupsReportWhatTheyCouldResolve) {
    CObject* plugin = add(root, "plugin");
    CObject* other = add(plugin, "other", "test:other");
    CTestOther* out = nullptr;
    CError* err = plugin->findObjectChecked(out, CString("plugin.other"));
    EXPECT_EQ(err, nullptr);
    EXPECT_EQ(out, other);

    CTestRecorder* rec = nullptr;
    err = plugin->findObjectChecked(rec, CString("plugin.missing.deeper"));
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(rec, nullptr);
    EXPECT_EQ(err->line(0), "Unable to find object 'plugin.missing.deeper' ('plugin.missing.deeper')");
    EXPECT_TRUE(err->line(1).startsWith("Core/CObject( "));
    EXPECT_EQ(err->line(1).substring(err->line(1).length() - 10), " // plugin");
    deleteError(err);

    err = plugin->findObjectChecked(rec, CString(".other"));
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Incompatible type of object '.other' ('plugin.other')");
    deleteError(err);

    ASSERT_EQ(plugin->setAttr(CString("target"), CString("^nowhere.x"), true), nullptr);
    err = plugin->findObjectByAttr(CString("target"), out);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Name attribute 'target' refers to a non-existent object '^nowhere.x' ('nowhere.x')");
    deleteError(err);
    err = plugin->findObjectByAttr(CString("unset"), out);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Object name attribute 'unset' cannot be empty.");
    deleteError(err);
    ASSERT_EQ(plugin->setAttr(CString("target"), CString(".other"), true), nullptr);
    EXPECT_EQ(plugin->findObjectByAttr(CString("target"), out), nullptr);
    EXPECT_EQ(out, other);
    err = plugin->findObjectByAttr(CString("target"), rec);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Name attribute 'target' refers to object '.other' ('plugin.other') of incompatible type.");
    deleteError(err);
}

TEST_F(CObjectTest, HandlersRunOnceLastSetFirstAndStopAtTheFirstError) {
    CObject* obj = add(root, "r", "test:recorder");
    ASSERT_EQ(obj->setAttr(CString("width"), CString("1"), false), nullptr);
    ASSERT_EQ(obj->setAttr(CString("height"), CString("2"), false), nullptr);
    ASSERT_EQ(obj->setAttr(CString("width"), CString("3"), false), nullptr);
    ASSERT_EQ(obj->setAttr(CString("nohandler"), CString("x"), false), nullptr);
    EXPECT_TRUE(g_calls.empty());
    ASSERT_EQ(obj->runPendingHandlers(), nullptr);
    // width was queued first and set again: once, with its last value, after height.
    EXPECT_EQ(g_calls, (std::vector<std::string>{"height=2", "width=3 children=0"}));
    EXPECT_EQ(obj->getAttrString(CString("nohandler")), "x");

    // Run at once.
    g_calls.clear();
    ASSERT_EQ(obj->setAttr(CString("height"), CString("9"), true), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"height=9"}));

    // The first error stops the run; what was behind stays unhandled but can be queued again.
    g_calls.clear();
    ASSERT_EQ(obj->setAttr(CString("width"), CString("5"), false), nullptr);
    ASSERT_EQ(obj->setAttr(CString("broken"), CString("b"), false), nullptr);
    ASSERT_EQ(obj->setAttr(CString("height"), CString("6"), false), nullptr);
    CError* err = obj->runPendingHandlers();
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Broken value b.");
    EXPECT_EQ(err->lineCount(), 3);  // message, handler frame, the run's frame
    deleteError(err);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"height=6", "broken=b"}));
    g_calls.clear();
    ASSERT_EQ(obj->setAttr(CString("width"), CString("7"), false), nullptr);
    ASSERT_EQ(obj->runPendingHandlers(), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"width=7 children=0"}));

    // setAttrs goes in key order and runs the list on request.
    g_calls.clear();
    ASSERT_EQ(obj->setAttrs(attrs({{"width", "10"}, {"height", "20"}}), true), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"width=10 children=0", "height=20"}));
    EXPECT_EQ(obj->getAttrInt(CString("width")), 10);
    EXPECT_EQ(obj->getAttrInt(CString("missing")), 0);
    EXPECT_EQ(obj->getAttrString(CString("missing")), "");
    EXPECT_FALSE(obj->getAttrBool(CString("missing")));

    // An empty name is ignored.
    EXPECT_EQ(obj->setAttr(CString(""), CString("x"), true), nullptr);
    EXPECT_FALSE(obj->hasAttr(CString("")));
}

TEST_F(CObjectTest, ReadOnlyObjectsIgnoreSetsAndRefuseChildren) {
    CObject* obj = add(root, "frozen");
    ASSERT_EQ(obj->setAttr(CString("a"), CString("1"), true), nullptr);
    obj->setReadOnly(true);
    EXPECT_EQ(obj->setAttr(CString("a"), CString("2"), true), nullptr);
    EXPECT_EQ(obj->getAttrInt(CString("a")), 1);
    CObject* child = nullptr;
    CError* err = obj->addChild(child, CString("core:object"), CString("c"), false);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(child, nullptr);
    EXPECT_EQ(err->line(0), "Error adding child to read-only object.");
    deleteError(err);

    // Objects finished while there is no shared tree are shared definitions: read-only.
    CObject::setSharedRoot(nullptr);
    CObject* def = add(root, "def");
    ASSERT_EQ(def->initChilds(), nullptr);
    EXPECT_TRUE(def->isReadOnly());
    CObject::setSharedRoot(shared);
    ASSERT_EQ(def->initChilds(), nullptr);
    EXPECT_FALSE(def->isReadOnly());
}

TEST_F(CObjectTest, CreatorsAndClassChecks) {
    static const CCreatorRow duplicate[] = {
        {"test:fresh-one", []() -> CObject* { return new CTestOther(); }, &CObject::fillDescriptors},
        {"test:recorder", []() -> CObject* { return new CTestOther(); }, &CObject::fillDescriptors},
        {"test:fresh-two", []() -> CObject* { return new CTestOther(); }, &CObject::fillDescriptors},
        {nullptr, nullptr, nullptr},
    };
    CError* err = CObject::registerCreator(duplicate);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Creator for 'test:recorder' has already been registered.");
    deleteError(err);
    // Rows before the duplicate are in; the rest of the table is not.
    EXPECT_NE(dynamic_cast<CTestOther*>(add(root, "f1", "test:fresh-one")), nullptr);
    CObject* two = add(root, "f2", "test:fresh-two");
    EXPECT_EQ(dynamic_cast<CTestOther*>(two), nullptr);
    EXPECT_EQ(two->tag(), "test:fresh-two");
    EXPECT_NE(dynamic_cast<CTestRecorder*>(add(root, "rec", "test:recorder")), nullptr);

    CTestOther* wrong = nullptr;
    err = root->createChild(wrong, CString("test:recorder"), CString("w"));
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(wrong, nullptr);
    EXPECT_EQ(err->line(0), "Object of invalid class created (child tag 'test:recorder', child name 'w').");
    deleteError(err);
    EXPECT_EQ(root->findObject(CString("w")), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"~w"}));

    err = root->createChild(wrong, CString("nothing-here"), CString("t"), true);
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Run-time template 'nothing-here' does not exist.");
    deleteError(err);
}

TEST_F(CObjectTest, LifeCycleOrderWithTemplates) {
    // A template on the shared root, found from any instance tree.
    CObject* tmpl = add(shared, "panel", "template");
    tmpl->setTemplatePayload(new CTestPayload("test:recorder", attrs({{"width", "100"}, {"height", "50"}}), {"a", "b"}));
    shared->addRuntimeTemplate(tmpl);
    CObject* plugin = add(root, "plugin");
    EXPECT_TRUE(plugin->hasTemplate(CString("panel")));
    EXPECT_FALSE(plugin->hasTemplate(CString("nope")));

    CAttrMap initial = attrs({{"width", "200"}});
    CAttrMap extra = attrs({{"extra", "1"}});
    CTestRecorder* panel = nullptr;
    CError* err = plugin->createChild(panel, CString("panel"), CString("p"), true, &initial, &extra);
    ASSERT_EQ(err, nullptr);
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->tag(), "test:recorder");
    EXPECT_EQ(panel->templateLink(), tmpl);
    EXPECT_EQ(panel->getAttrInt(CString("width")), 200);  // initial attributes override the template's
    EXPECT_EQ(panel->getAttrInt(CString("height")), 50);
    EXPECT_EQ(panel->getAttrInt(CString("extra")), 1);
    EXPECT_EQ(panel->stage(), CObject::kChildsDone);
    EXPECT_FALSE(panel->isReadOnly());
    // Handlers run after init and before any child exists; children are complete before the
    // parent's initChilds.
    EXPECT_EQ(g_calls, (std::vector<std::string>{
                           "init plugin.p children=0", "width=200 children=0", "height=50",
                           "init plugin.p.a children=0", "initChilds plugin.p.a children=0",
                           "init plugin.p.b children=0", "initChilds plugin.p.b children=0",
                           "initChilds plugin.p children=2"}));

    // A template nearer in the tree wins over the shared one.
    CObject* local = add(plugin, "panel", "template");
    local->setTemplatePayload(new CTestPayload("test:other", CAttrMap(), {}));
    plugin->addRuntimeTemplate(local);
    CObject* second = nullptr;
    ASSERT_EQ(plugin->createChild(second, CString("panel"), CString("q"), true), nullptr);
    EXPECT_NE(dynamic_cast<CTestOther*>(second), nullptr);
    local->destroy();  // removing a template child removes it from the templates
    ASSERT_EQ(plugin->createChild(second, CString("panel"), CString("r"), true), nullptr);
    EXPECT_NE(dynamic_cast<CTestRecorder*>(second), nullptr);
}

TEST_F(CObjectTest, DestroyGoesLastCreatedFirstAndEventsFindTheirTarget) {
    CObject* box = add(root, "box", "test:recorder");
    add(box, "one", "test:recorder");
    CObject* two = add(box, "two", "test:recorder");
    add(two, "inner", "test:recorder");
    add(box, "three", "test:recorder");

    // The bridged release destroys the named child, and nothing outside the object.
    CAttrMap params = attrs({{"sender", "box.two"}});
    ASSERT_EQ(box->runEvent(CString("release-child-bridged"), params), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"~box.two.inner", "~box.two"}));
    EXPECT_EQ(box->childCount(), 2);
    params = attrs({{"sender", "box"}});
    ASSERT_EQ(box->runEvent(CString("release-child-bridged"), params), nullptr);
    params = attrs({{"sender", "no.such"}});
    ASSERT_EQ(box->runEvent(CString("release-child-bridged"), params), nullptr);
    EXPECT_EQ(g_calls.size(), 2u);

    g_calls.clear();
    ASSERT_EQ(box->runEvent(CString("ping")), nullptr);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"ping box"}));
    CError* err = box->runEvent(CString("pong"));
    ASSERT_NE(err, nullptr);
    EXPECT_EQ(err->line(0), "Unknown event 'pong'.");
    deleteError(err);

    g_calls.clear();
    box->destroy();
    EXPECT_EQ(g_calls, (std::vector<std::string>{"~box.three", "~box.one", "~box"}));
    EXPECT_EQ(root->childCount(), 0);
    EXPECT_EQ(root->findObject(CString("box")), nullptr);
}
