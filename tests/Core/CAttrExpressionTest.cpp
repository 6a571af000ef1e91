#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

std::vector<std::string> g_widths;

class CTestLinked : public CObject {
public:
    static CError* onWidth(CObject*, CAttrValue& v) {
        g_widths.push_back(v.getString().narrowed().c8());
        return nullptr;
    }
    static void fill(CClassDescriptors& d) {
        CObject::fillDescriptors(d);
        d.attrHandlers[CString("width")] = &onWidth;
    }
};

const CCreatorRow kRows[] = {
    {"test:linked", &createObjectOf<CTestLinked>, &CTestLinked::fill},
    {nullptr, nullptr, nullptr},
};
[[maybe_unused]] const bool g_reg = registerCreatorTable(kRows);

class CAttrExpressionTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_widths.clear();
        shared = CObject::newRoot();
        CObject::setSharedRoot(shared);
        root = CObject::newRoot();
    }
    void TearDown() override {
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
    CObject* add(CObject* parent, const char* name, const char* tag = "core:object") {
        CObject* o = nullptr;
        deleteError(parent->addChild(o, CString(tag), CString(name), false));
        return o;
    }
    void set(CObject* o, const char* name, const char* text) { deleteError(o->setAttr(CString(name), CString(text), true)); }
    std::string get(CObject* o, const char* name) { return o->getAttrString(CString(name)).narrowed().c8(); }

    CObject* shared = nullptr;
    CObject* root = nullptr;
};

}  // namespace

TEST_F(CAttrExpressionTest, LookupForms) {
    CObject* ui = add(root, "ui");
    CObject* style = add(ui, "style");
    CObject* win = add(ui, "win");
    CObject* button = add(win, "button");
    CObject* project = add(shared, "project");
    set(style, "button-image-set", "knobs");
    set(ui, "title", "Main");
    set(win, "size", "12");
    set(project, "app-full-name", "Tamberlo 3");

    set(button, "a", "{size}");  // ancestors are searched
    EXPECT_EQ(get(button, "a"), "12");
    EXPECT_EQ(button->findAttr(CString("a"))->type(), CAttrValue::kInt);
    set(button, "b", "{@size?none}");  // this object only
    EXPECT_EQ(get(button, "b"), "none");
    set(button, "title", "{?Untitled}");  // the attribute being set, from an ancestor
    EXPECT_EQ(get(button, "title"), "Main");
    set(button, "is-on", "{?false}");
    EXPECT_EQ(button->findAttr(CString("is-on"))->type(), CAttrValue::kBool);
    set(button, "c", "{/ui.style button-image-set}");
    EXPECT_EQ(get(button, "c"), "knobs");
    set(button, "d", "{/^ title?Untitled}");  // the parent has none, its parent has
    EXPECT_EQ(get(button, "d"), "Main");
    set(button, "e", "{@/^ title?Untitled}");  // only the parent itself
    EXPECT_EQ(get(button, "e"), "Untitled");
    set(button, "size", "{/^}");  // the attribute of the name being set, at a path
    EXPECT_EQ(get(button, "size"), "12");
    set(button, "f", "{/shared::project app-full-name}");
    EXPECT_EQ(get(button, "f"), "Tamberlo 3");
    set(button, "g", "{/no.such x?dflt}");
    EXPECT_EQ(get(button, "g"), "dflt");
    set(button, "h", "{full-name}.main.alpha");  // expression and literal text
    EXPECT_EQ(get(button, "h"), "ui.win.button.main.alpha");
}

TEST_F(CAttrExpressionTest, OrderNestingAndLiteralBraces) {
    CObject* o = add(root, "o");
    set(o, "x", "X");
    set(o, "y", "Y");
    set(o, "path", "ui");
    set(o, "r", "a{x}b{y}c");
    EXPECT_EQ(get(o, "r"), "aXbYc");
    // {y} goes first and brings in "{x}", which is scanned again.
    deleteError(o->setLinkedAttr(nullptr, CString("y"), CString("{x}")));
    set(o, "r", "a{y}b");
    EXPECT_EQ(get(o, "r"), "aXb");
    set(o, "r", "{/{path} nothing?inner-first}");
    EXPECT_EQ(get(o, "r"), "inner-first");
    set(o, "r", "keep { this");
    EXPECT_EQ(get(o, "r"), "keep { this");
    set(o, "r", "{x} and {");  // the last "{" has no "}": the rest stays literal
    EXPECT_EQ(get(o, "r"), "{x} and {");
    set(o, "r", "trailing {");
    EXPECT_EQ(get(o, "r"), "trailing {");

    // An expression that yields itself stops after a bounded number of steps.
    deleteError(o->setLinkedAttr(nullptr, CString("self"), CString("{self}")));
    set(o, "r", "{self}");
    EXPECT_EQ(get(o, "r"), "{self}");
}

TEST_F(CAttrExpressionTest, LiveLinksFollowTheirSourceAndEndWithEitherSide) {
    CObject* parent = add(root, "parent");
    CObject* child = add(parent, "child", "test:linked");
    set(child, "width", "{*/^ width}");  // the parent has no width yet
    EXPECT_EQ(get(child, "width"), "");
    EXPECT_TRUE(parent->hasLinkTo(child));
    set(parent, "width", "120");  // the child follows at once, its handler run
    EXPECT_EQ(get(child, "width"), "120");
    EXPECT_EQ(g_widths, (std::vector<std::string>{"", "120"}));
    set(parent, "height", "5");  // not linked
    EXPECT_FALSE(child->hasAttr(CString("height")));

    set(child, "w2", "{*/^}");  // fewer than two pieces: no link, empty value
    EXPECT_EQ(get(child, "w2"), "");
    set(child, "w3", "{*/parent.child width}");  // a link to itself is not made
    EXPECT_EQ(get(child, "w3"), "");
    EXPECT_EQ(child->incomingLinkCount(), 1);

    // A link by child name: "style" under the nearest ancestor that has one.
    CObject* style = add(root, "style");
    set(style, "colour", "red");
    CObject* other = add(parent, "other");
    set(other, "tint", "{*style colour}");
    EXPECT_EQ(get(other, "tint"), "red");
    set(style, "colour", "blue");
    EXPECT_EQ(get(other, "tint"), "blue");

    // The listener goes first: the source no longer points at it.
    other->destroy();
    EXPECT_FALSE(style->hasLinkTo(other));
    set(style, "colour", "green");
    // The source goes first: the listener keeps its value and no dangling link.
    style->destroy();
    set(parent, "width", "7");
    EXPECT_EQ(get(child, "width"), "7");
    parent->release();
    EXPECT_EQ(child->incomingLinkCount(), 0);
    set(parent, "width", "8");
    EXPECT_EQ(get(child, "width"), "7");
}

TEST_F(CAttrExpressionTest, ALoopOfLinksEnds) {
    CObject* a = add(root, "a");
    CObject* b = add(root, "b");
    set(a, "x", "{*/b x}");
    set(b, "x", "{*/a x}");
    set(a, "x", "1");  // a -> b -> a -> ... stops at the depth limit instead of overflowing
    EXPECT_EQ(get(b, "x"), "1");
    EXPECT_EQ(get(a, "x"), "1");
}
