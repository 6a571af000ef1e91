#include <benchmark/benchmark.h>

#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

// A tree with a style object, a window and a button, as attribute expressions see them.
struct CBenchTree {
    CObject* shared = CObject::newRoot();
    CObject* root;
    CObject* button = nullptr;
    CBenchTree() {
        CObject::setSharedRoot(shared);
        root = CObject::newRoot();
        root->attachNewBus();
        CObject *ui = nullptr, *style = nullptr, *win = nullptr;
        deleteError(root->addChild(ui, CString("ui:ui-event-bridge"), CString("ui"), false));
        deleteError(ui->addChild(style, CString("core:object"), CString("style"), false));
        deleteError(ui->addChild(win, CString("core:object"), CString("win"), false));
        deleteError(win->addChild(button, CString("core:object"), CString("button"), false));
        deleteError(style->setAttr(CString("button-image-set"), CString("knobs"), true));
        deleteError(win->setAttr(CString("title"), CString("Main"), true));
    }
    ~CBenchTree() {
        root->destroy();
        CObject::setSharedRoot(nullptr);
        shared->destroy();
    }
};

void BM_SetAttrPlain(benchmark::State& state) {
    CBenchTree tree;
    const CString name("width"), value("120");
    for (auto _ : state) deleteError(tree.button->setAttr(name, value, true));
}
BENCHMARK(BM_SetAttrPlain);

void BM_SetAttrWithExpressions(benchmark::State& state) {
    CBenchTree tree;
    const CString name("image"), value("{/ui.style button-image-set}-{title?Untitled}");
    for (auto _ : state) deleteError(tree.button->setAttr(name, value, true));
}
BENCHMARK(BM_SetAttrWithExpressions);

class CBenchListener : public CObject {
public:
    int64_t count = 0;
    static CError* onEvent(CObject* o, CAttrMap&) {
        ++static_cast<CBenchListener*>(o)->count;
        return nullptr;
    }
    static void fill(CClassDescriptors& d) {
        CObject::fillDescriptors(d);
        CEventEntry e;
        e.procWithParams = &onEvent;
        e.takesParams = true;
        d.events[CString("on-event")] = e;
    }
};

const CCreatorRow kRows[] = {
    {"bench:listener", &createObjectOf<CBenchListener>, &CBenchListener::fill},
    {nullptr, nullptr, nullptr},
};

// One sender, ten listeners owned by this thread: the firing thread runs them all itself.
void BM_FireEventTenListeners(benchmark::State& state) {
    static const bool registered = registerCreatorTable(kRows);
    (void)registered;
    CBenchTree tree;
    CObject* ui = tree.root->findObject(CString("ui"));
    for (int i = 0; i < 10; ++i) {
        CObject* l = nullptr;
        deleteError(ui->addChild(l, CString("bench:listener"), CString("l"), false));
        l->listenObject(CString("ui.win.button"), CString("clicked"), CString("on-event"));
    }
    const CString event("clicked");
    for (auto _ : state) {
        CAttrMap params;
        deleteError(tree.button->fireEvent(event, params));
    }
}
BENCHMARK(BM_FireEventTenListeners);

}  // namespace
