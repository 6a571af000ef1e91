#include "Core/CObject.h"

#include <atomic>

#include "Core/CCreatorRegistry.h"
#include "Core/CDefinitionLoader.h"
#include "Core/CError.h"
#include "Core/CEventBus.h"
#include "Core/CObjectEventBridge.h"
#include "Core/CLog.h"
#include "Core/CPoolAllocator.h"
#include "Core/CStdEventBridge.h"
#include "Core/CTemplatePayload.h"

namespace orl {

namespace {

std::atomic<CObject*> g_sharedRoot{nullptr};

// An expression that keeps producing expressions, or a loop of links, ends here instead of
// hanging: a definition can't be trusted to be free of either.
constexpr int32_t kMaxResolveSteps = 256;
constexpr int32_t kMaxResolvedLength = 65536;
constexpr int32_t kMaxLinkDepth = 32;
thread_local int32_t t_linkDepth = 0;

const CString& senderKey() {
    static const CString k("sender");
    return k;
}

CError* releaseChildBridgedProc(CObject* object, CAttrMap& params) { return object->releaseChildBridged(params); }

CObject* createPlainObject() { return new CObject(); }
CObject* createEventBridge() { return new CStdEventBridge(); }

const CCreatorRow kCoreCreators[] = {
    {"core:object", &createPlainObject, &CObject::fillDescriptors},
    {"ui:ui-event-bridge", &createEventBridge, &CObject::fillDescriptors},
    {nullptr, nullptr, nullptr},
};

// The core's own tags are registered while the library loads, like every other table.
[[maybe_unused]] const bool g_coreRegistered = [] {
    if (CError* err = CObject::registerCreator(kCoreCreators)) {
        logError(err);
        deleteError(err);
    }
    return true;
}();

}  // namespace

const CString& CObject::fullNameKey() {
    static const CString k("full-name");
    return k;
}

void CObject::fillDescriptors(CClassDescriptors& descriptors) {
    CEventEntry entry;
    entry.procWithParams = &releaseChildBridgedProc;
    entry.takesParams = true;
    descriptors.events[CString("release-child-bridged")] = entry;
}

const CClassDescriptors& CObject::objectDescriptors() {
    static const CClassDescriptors* d = [] {
        auto* descriptors = new CClassDescriptors();
        fillDescriptors(*descriptors);
        return descriptors;
    }();
    return *d;
}

void* CObject::operator new(size_t size) { return CPoolAllocator::allocate(size); }
void CObject::operator delete(void* p) { CPoolAllocator::release(p); }

struct CObject::CTies {
    // Listener to (source attribute to target attribute); an empty map forwards everything.
    CMap<CObject*, CMap<CString, CString>> outgoing;
    CSet<CObject*> incoming;
    // What this object listens to: sender full name, then event names.
    CMap<CString, CSet<CString>> listens;

    static void* operator new(size_t size) { return CPoolAllocator::allocate(size); }
    static void operator delete(void* p) { CPoolAllocator::release(p); }
};

CObject::CObject() : m_descriptors(&objectDescriptors()), m_root(this) {}

CObject::~CObject() {
    // Children left by a plain delete are still owned here.
    while (m_children.count() > 0) m_children.last()->destroy();
    dropListens();
    dropLinks();
    delete m_ties;
    delete m_templatePayload;
    if (m_root == this) delete m_bus;
}

CObject* CObject::newRoot(const char* tag) {
    auto* root = new CObject();
    root->m_tag = tag;
    return root;
}

CObject* CObject::sharedRoot() { return g_sharedRoot.load(std::memory_order_acquire); }
void CObject::setSharedRoot(CObject* root) { g_sharedRoot.store(root, std::memory_order_release); }

CError* CObject::registerCreator(const CCreatorRow* rows) {
    CError* err = CCreatorRegistry::registerCreators(rows);
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

// ---- attributes ----

const CAttrValue* CObject::findAttr(const CString& name) const {
    auto it = m_attrs.find(name);
    return it == m_attrs.end() ? nullptr : &it->second;
}

bool CObject::hasAttr(const CString& name) const { return findAttr(name) != nullptr; }

const CString& CObject::getAttrString(const CString& name) const {
    const CAttrValue* v = findAttr(name);
    return v ? v->getString() : CString::empty();
}

int32_t CObject::getAttrInt(const CString& name) const {
    const CAttrValue* v = findAttr(name);
    return v ? v->getInt() : 0;
}

double CObject::getAttrDouble(const CString& name) const {
    const CAttrValue* v = findAttr(name);
    return v ? v->getDouble() : 0.0;
}

bool CObject::getAttrBool(const CString& name) const {
    const CAttrValue* v = findAttr(name);
    return v ? v->getBool() : false;
}

void* CObject::getAttrPointer(const CString& name) const {
    const CAttrValue* v = findAttr(name);
    return v ? v->getPointer() : nullptr;
}

CError* CObject::setAttr(const CString& name, const CString& text, bool runHandlerNow) {
    if (m_readOnly || name.isEmpty()) return nullptr;
    // Most values hold no expression and go straight to the store.
    if (text.find(u'{') < 0) return storeText(name, text, runHandlerNow);
    return storeText(name, resolveAttrText(name, text), runHandlerNow);
}

CError* CObject::storeText(const CString& name, const CString& text, bool runHandlerNow) {
    auto it = m_attrs.try_emplace(name).first;
    it->second.setText(text);
    if (CError* err = dispatchAttr(it->first, it->second, runHandlerNow)) return err;
    return forwardToLinks(it->first, it->second);
}

// ---- expressions and links ----

CString CObject::resolveAttrText(const CString& name, const CString& text) {
    CString result = text;
    for (int32_t step = 0;; ++step) {
        // The last "{" first: inner expressions resolve before outer ones, and text that a
        // result brings in is scanned again.
        const int32_t open = result.findLast(u'{');
        if (open < 0 || open == result.length() - 1) break;
        const int32_t close = result.find(u'}', open);
        if (close < 0) break;
        if (step == kMaxResolveSteps || result.length() > kMaxResolvedLength) {
            CLog::logContext(fullName(), "Expression in attribute '%s' does not come to an end",
                             name.narrowed().c8());
            break;
        }
        const CString inner = result.substring(open + 1, close - open - 1);
        const int32_t question = inner.find(u'?');
        const CString expression = question < 0 ? inner : inner.substring(0, question);
        const CString fallback = question < 0 ? CString() : inner.substring(question + 1);
        CString next = result.substring(0, open);
        next.append(evaluateExpression(name, expression, fallback));
        next.append(result.substring(close + 1));
        result = static_cast<CString&&>(next);
    }
    return result;
}

CString CObject::evaluateExpression(const CString& name, const CString& expression, const CString& fallback) {
    if (expression.isEmpty()) return lookupAttr(name, name, fallback, true);
    switch (expression.at(0)) {
        case u'@': return lookupAttr(name, expression.substring(1), fallback, false);
        case u'*': return makeLink(name, expression.substring(1));
        default: return lookupAttr(name, expression, fallback, true);
    }
}

CString CObject::lookupAttr(const CString& name, const CString& expression, const CString& fallback,
                            bool searching) const {
    const CObject* object = this;
    CString attr = expression;
    if (!expression.isEmpty() && expression.at(0) == u'/') {
        const int32_t blank = expression.find(u' ');
        const CString path = blank < 0 ? expression.substring(1) : expression.substring(1, blank - 1);
        attr = blank < 0 ? name : expression.substring(blank + 1);
        object = findObject(path);
        if (!object) return fallback;
    }
    for (const CObject* o = object; o; o = searching ? o->m_parent : nullptr) {
        if (const CAttrValue* value = o->findAttr(attr)) return value->getString();
    }
    return fallback;
}

CString CObject::makeLink(const CString& name, const CString& linkText) {
    CArray<CString> pieces;
    linkText.split(u' ', true, true, pieces);
    if (pieces.count() < 2) return CString();
    CObject* source = nullptr;
    if (pieces[0].at(0) == u'/') {
        source = findObject(pieces[0].substring(1));
    } else {
        for (CObject* o = this; o && !source; o = o->m_parent) {
            auto it = o->m_childrenByName.find(pieces[0]);
            if (it != o->m_childrenByName.end() && !it->second.empty()) source = it->second.begin()->second;
        }
    }
    if (!source || source->m_readOnly || source == this) return CString();
    source->addLink(this, pieces[1], name);
    const CAttrValue* value = source->findAttr(pieces[1]);
    if (!value || pieces[1] == "scheme") return CString();
    return value->getString();
}

CObject::CTies* CObject::ties() {
    if (!m_ties) m_ties = new CTies();
    return m_ties;
}

void CObject::addLink(CObject* listener, const CString& sourceAttr, const CString& targetAttr) {
    if (!listener || listener == this) return;
    auto& record = ties()->outgoing[listener];
    if (!sourceAttr.isEmpty()) record[sourceAttr] = targetAttr;
    listener->ties()->incoming.insert(this);
}

bool CObject::hasLinkTo(const CObject* listener) const {
    return m_ties && m_ties->outgoing.count(const_cast<CObject*>(listener)) > 0;
}

int32_t CObject::incomingLinkCount() const { return m_ties ? static_cast<int32_t>(m_ties->incoming.size()) : 0; }

CError* CObject::forwardToLinks(const CString& name, const CAttrValue& value) {
    if (!m_ties || m_ties->outgoing.empty()) return nullptr;
    if (t_linkDepth >= kMaxLinkDepth) {
        CLog::logContext(fullName(), "Attribute links of '%s' nest too deep; a loop of links?", name.narrowed().c8());
        return nullptr;
    }
    ++t_linkDepth;
    CError* err = nullptr;
    const CString text = value.getString();
    for (auto& [listener, record] : m_ties->outgoing) {
        if (record.empty()) {
            err = listener->setLinkedAttr(this, name, text);
        } else {
            auto target = record.find(name);
            if (target != record.end()) err = listener->setLinkedAttr(this, target->second, text);
        }
        if (err) break;
    }
    --t_linkDepth;
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

void CObject::dropLinks() {
    if (!m_ties) return;
    for (CObject* source : m_ties->incoming) {
        if (source->m_ties) source->m_ties->outgoing.erase(this);
    }
    for (auto& [listener, record] : m_ties->outgoing) {
        if (listener->m_ties) listener->m_ties->incoming.erase(this);
    }
    m_ties->incoming.clear();
    m_ties->outgoing.clear();
}

CError* CObject::setAttrPointer(const CString& name, void* value, bool runHandlerNow) {
    if (m_readOnly || name.isEmpty()) return nullptr;
    auto it = m_attrs.try_emplace(name).first;
    it->second.setPointer(value);
    return dispatchAttr(it->first, it->second, runHandlerNow);
}

CError* CObject::dispatchAttr(const CString& name, CAttrValue& value, bool runHandlerNow) {
    if (!value.isHandlerResolved()) {
        auto h = m_descriptors->attrHandlers.find(name);
        value.resolveHandler(h == m_descriptors->attrHandlers.end() ? nullptr : h->second);
    }
    if (TAttrHandler handler = value.handler()) {
        if (runHandlerNow) {
            if (CError* err = handler(this, value)) return ORL_PASS(err, fullName());
        } else if (!value.isQueued()) {
            // Pushed at the head: the list runs last-set first.
            value.setNextPending(m_pendingHead);
            value.setQueued(true);
            m_pendingHead = &value;
        }
    }
    return nullptr;
}

CError* CObject::runPendingHandlers() {
    if (m_readOnly) return nullptr;
    CAttrValue* value = m_pendingHead;
    m_pendingHead = nullptr;
    while (value) {
        CAttrValue* next = value->nextPending();
        value->setNextPending(nullptr);
        value->setQueued(false);
        if (CError* err = value->handler()(this, *value)) {
            // The load of this object ends here; what was behind stays unhandled but can be
            // queued again by a later set.
            for (CAttrValue* rest = next; rest;) {
                CAttrValue* after = rest->nextPending();
                rest->setNextPending(nullptr);
                rest->setQueued(false);
                rest = after;
            }
            return ORL_PASS(err, fullName());
        }
        value = next;
    }
    return nullptr;
}

CError* CObject::setAttrs(const CAttrMap& map, bool runPending) {
    for (const auto& [name, value] : map) {
        CError* err = value.type() == CAttrValue::kPointer ? setAttrPointer(name, value.getPointer(), false)
                                                           : setAttr(name, value.getString(), false);
        if (err) return ORL_PASS(err, fullName());
    }
    if (runPending) {
        if (CError* err = runPendingHandlers()) return ORL_PASS(err, fullName());
    }
    return nullptr;
}

CError* CObject::setLinkedAttr(CObject* /*source*/, const CString& name, const CString& value) {
    if (m_readOnly || name.isEmpty()) return nullptr;
    // The value was resolved at its source; it is stored as it stands.
    return storeText(name, value, true);
}

// ---- paths ----

CObject* CObject::findChildByComponent(const CString& component) const {
    int32_t hash = component.find(u'#');
    CString base = hash < 0 ? component : component.substring(0, hash);
    auto byName = m_childrenByName.find(base);
    if (byName == m_childrenByName.end() || byName->second.empty()) return nullptr;
    const auto& byIndex = byName->second;
    if (hash < 0) return byIndex.begin()->second;
    CString indexText = component.substring(hash + 1);
    if (indexText.isEmpty()) return byIndex.rbegin()->second;
    int32_t index;
    if (!indexText.toInt(index)) return nullptr;
    auto it = byIndex.find(index);
    return it == byIndex.end() ? nullptr : it->second;
}

CObject* CObject::walkPath(const CString& path, const CObject** lastReached, int32_t* stopPos) const {
    const int32_t length = path.length();
    if (length == 0) return nullptr;
    const CObject* current = this;
    int32_t pos = 0;
    const char16_t first = path.at(0);
    if (first == u'.' || first == u'^') {
        current = this;
    } else if (path.startsWith("shared::")) {
        current = sharedRoot();
        pos = 8;
    } else {
        current = m_root;
        if (first == u'/') pos = 1;
    }
    while (current && pos < length) {
        if (lastReached) *lastReached = current;
        if (stopPos) *stopPos = pos;
        const char16_t c = path.at(pos);
        if (c == u'^') {
            current = current->m_parent;
            ++pos;
        } else if (c == u'.') {
            ++pos;  // an empty component is skipped
        } else {
            int32_t end = path.find(u'.', pos);
            if (end < 0) end = length;
            current = current->findChildByComponent(path.substring(pos, end - pos));
            pos = end;
        }
    }
    if (current && lastReached) *lastReached = current;
    return const_cast<CObject*>(current);
}

CObject* CObject::findObject(const CString& path) const {
    CObject* found = walkPath(path, nullptr, nullptr);
    if (found || !path.startsWith("shared::") || m_root == sharedRoot()) return found;
    // A tree that is loading to become the shared one refers to itself as shared before it is
    // published: what the shared root lacks is looked for from this object's own root.
    CString own("/");
    own.append(path.substring(8));
    return walkPath(own, nullptr, nullptr);
}

// For messages: the full name of the object that the path reached, and what was left of the
// path where the walk stopped.
CString CObject::describePath(const CString& path) const {
    const CObject* last = nullptr;
    int32_t stop = 0;
    CObject* found = walkPath(path, &last, &stop);
    if (found) return found->fullName();
    if (!last) return CString::empty();
    CString out = last->fullName();
    CString rest = path.substring(stop);
    if (!rest.isEmpty()) {
        if (!out.isEmpty() && rest.at(0) != u'.' && rest.at(0) != u'^') out.append(u'.');
        out.append(rest);
    }
    return out;
}

CError* CObject::findChecked(CObject*& out, const CString& path, TCastCheck check) const {
    out = findObject(path);
    if (!out) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_findObjectChecked_FindError Unable to find object '%1' ('%2')", path,
                         describePath(path));
    }
    if (!check(out)) {
        out = nullptr;
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_findObjectChecked_CastError Incompatible type of object '%1' ('%2')", path,
                         describePath(path));
    }
    return nullptr;
}

CError* CObject::findByAttr(CObject*& out, const CString& attrName, TCastCheck check) const {
    out = nullptr;
    const CString& path = getAttrString(attrName);
    if (path.isEmpty()) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_findObjectByAttr_AttrEmpty Object name attribute '%1' cannot be empty.",
                         attrName);
    }
    out = findObject(path);
    if (!out) {
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_findObjectByAttr_FindError Name attribute '%1' refers to a non-existent "
                         "object '%2' ('%3')",
                         attrName, path, describePath(path));
    }
    if (!check(out)) {
        out = nullptr;
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_findObjectByAttr_CastError Name attribute '%1' refers to object '%2' "
                         "('%3') of incompatible type.",
                         attrName, path, describePath(path));
    }
    return nullptr;
}

// ---- children ----

void CObject::assignName(const CString& name) {
    int32_t hash = name.find(u'#');
    int32_t index = 0;
    if (hash < 0) {
        m_baseName = name;
    } else {
        m_baseName = name.substring(0, hash);
        if (!name.substring(hash + 1).toInt(index)) index = 0;
    }
    if (m_parent) {
        auto& byIndex = m_parent->m_childrenByName[m_baseName];
        // A taken index moves past the highest in use, never into a gap.
        if (byIndex.count(index)) index = byIndex.rbegin()->first + 1;
        byIndex[index] = this;
    }
    m_nameIndex = index;

    CString full;
    if (m_parent && !m_parent->fullName().isEmpty()) {
        full = m_parent->fullName();
        full.append(u'.');
    }
    full.append(m_baseName);
    if (index != 0) {
        full.append(u'#');
        full.append(CString::fromInt(index));
    }
    m_attrs[fullNameKey()].setString(full);
}

CObject* CObject::findTemplate(const CString& name) const {
    for (const CObject* o = this; o; o = o->m_parent) {
        auto it = o->m_runtimeTemplates.find(name);
        if (it != o->m_runtimeTemplates.end()) return it->second;
    }
    if (const CObject* shared = sharedRoot()) {
        auto it = shared->m_runtimeTemplates.find(name);
        if (it != shared->m_runtimeTemplates.end()) return it->second;
    }
    return nullptr;
}

bool CObject::hasTemplate(const CString& name) const { return findTemplate(name) != nullptr; }

CError* CObject::loadXMLData(const CString& name, bool runStages) {
    return CDefinitionLoader::loadXMLData(this, name, runStages);
}

void CObject::setTemplatePayload(CTemplatePayload* payload) {
    if (payload != m_templatePayload) delete m_templatePayload;
    m_templatePayload = payload;
}

void CObject::addRuntimeTemplate(CObject* child) {
    CString key = child->m_baseName;
    if (child->m_nameIndex != 0) {
        key.append(u'#');
        key.append(CString::fromInt(child->m_nameIndex));
    }
    m_runtimeTemplates[key] = child;
}

CError* CObject::addChild(CObject*& outChild, const CString& tag, const CString& name, bool useTemplates) {
    outChild = nullptr;
    if (m_readOnly) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CObject_addChild_ReadOnly Error adding child to read-only object.");
    }
    CObject* templ = useTemplates ? findTemplate(tag) : nullptr;
    const CString& classTag = templ ? templ->m_templatePayload->classTag() : tag;

    CObject* child;
    const CClassDescriptors* descriptors;
    if (const CCreatorRegistry::Entry* entry = CCreatorRegistry::find(classTag)) {
        child = entry->creator();
        descriptors = entry->descriptors;
    } else {
        child = new CObject();
        descriptors = &objectDescriptors();
        // Templates and content records are plain data by design; anything else is a tag that
        // no class claims.
        if (classTag != "template" && classTag != "content") {
            CLog::logf("Creating CObject '%s' (tag '%s')", name.narrowed().c8(), classTag.narrowed().c8());
        }
    }
    child->m_descriptors = descriptors;
    child->m_parent = this;
    child->m_bus = m_bus;
    child->m_objectId = m_bus ? m_bus->takeObjectId() : -1;
    child->m_root = m_root;
    child->m_tag = classTag;
    child->m_templateLink = templ;
    child->assignName(name);
    m_children.add(child);
    outChild = child;
    if (CError* err = onChildCreated(child)) return ORL_PASS(err, fullName());
    return nullptr;
}

CError* CObject::createChildChecked(CObject*& out, const CString& tag, const CString& name, bool mustBeTemplate,
                                    const CAttrMap* initialAttrs, const CAttrMap* extraAttrs, TCastCheck check) {
    out = nullptr;
    if (mustBeTemplate && !hasTemplate(tag)) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CObject_createChild_NoTemplate Run-time template '%1' does not exist.",
                         tag);
    }
    CObject* child = nullptr;
    if (CError* err = addChild(child, tag, name, true)) {
        out = child;
        return ORL_PASS(err, fullName());
    }
    if (!check(child)) {
        child->destroy();
        return ORL_ERROR(nullptr, fullName(),
                         "@orlstr_CObject_createChild_InvalidObjectClass Object of invalid class created (child tag "
                         "'%1', child name '%2').",
                         tag, name);
    }
    out = child;
    child->m_initialAttrs = initialAttrs;
    CError* err = extraAttrs ? child->setAttrs(*extraAttrs, false) : nullptr;
    if (!err) err = child->init();
    if (!err) err = child->initAttrHandlers();
    if (!err) err = child->initChilds();
    return err ? ORL_PASS(err, child->fullName()) : nullptr;
}

void CObject::removeChild(CObject* child) {
    int32_t at = m_children.indexOf(child);
    if (at >= 0) m_children.removeAt(at);
    auto byName = m_childrenByName.find(child->m_baseName);
    if (byName != m_childrenByName.end()) {
        auto it = byName->second.find(child->m_nameIndex);
        if (it != byName->second.end() && it->second == child) byName->second.erase(it);
        if (byName->second.empty()) m_childrenByName.erase(byName);
    }
    if (child->m_templatePayload) {
        for (auto it = m_runtimeTemplates.begin(); it != m_runtimeTemplates.end();) {
            it = it->second == child ? m_runtimeTemplates.erase(it) : std::next(it);
        }
    }
}

void CObject::detach() {
    if (m_parent) m_parent->removeChild(this);
    m_parent = nullptr;
}

void CObject::release() {
    // Neither end of a link, nor a sender, may keep a pointer to an object that goes.
    dropListens();
    dropLinks();
}

void CObject::destroy() {
    release();
    CArray<CObject*, 8> snapshot(m_children);
    for (int32_t i = snapshot.count() - 1; i >= 0; --i) snapshot[i]->destroy();
    detach();
    delete this;
}

// ---- life cycle ----

CError* CObject::init() {
    if (m_templateLink && m_templateLink->m_templatePayload) {
        if (CError* err = m_templateLink->m_templatePayload->applyAttributes(this)) return ORL_PASS(err, fullName());
    }
    if (m_initialAttrs && !m_readOnly) {
        // Applied after the template's, so that they override them.
        for (const auto& [name, value] : *m_initialAttrs) {
            if (CError* err = setAttr(name, value.getString(), false)) return ORL_PASS(err, fullName());
        }
    }
    m_stage = kInitDone;
    return nullptr;
}

CError* CObject::initAttrHandlers() {
    if (CError* err = runPendingHandlers()) return ORL_PASS(err, fullName());
    m_stage = kHandlersDone;
    if (m_templateLink && m_templateLink->m_templatePayload) {
        if (CError* err = m_templateLink->m_templatePayload->createChildren(this)) return ORL_PASS(err, fullName());
    }
    return nullptr;
}

CError* CObject::initChilds() {
    m_stage = kChildsDone;
    // Objects finished while no shared tree exists are the shared definitions themselves.
    m_readOnly = sharedRoot() == nullptr;
    return nullptr;
}

CError* CObject::onChildCreated(CObject* /*child*/) { return nullptr; }

// ---- events ----

void CObject::attachNewBus() {
    if (m_root != this || m_bus) return;
    m_bus = new CEventBus();
    m_objectId = m_bus->takeObjectId();
}

void CObject::setEventBridge(CObjectEventBridge* bridge, uint32_t thread) {
    m_eventBridge = bridge;
    m_threadId = thread;
    m_hasNoBridge = bridge == nullptr;
}

CObjectEventBridge* CObject::ownerBridge(uint32_t* thread) const {
    for (const CObject* o = this; o; o = o->m_parent) {
        if (!o->m_hasNoBridge) {
            if (thread) *thread = o->m_threadId;
            return o->m_eventBridge;
        }
    }
    return nullptr;
}

void CObject::listenObject(const CString& senderFullName, const CString& eventName, const CString& procName) {
    auto entry = m_descriptors->events.find(procName);
    if (entry == m_descriptors->events.end()) {
        CLog::logContext(fullName(), "Event handler '%s' not found in listenObject().", procName.narrowed().c8());
        return;
    }
    if (!m_bus) return;
    m_bus->listen(senderFullName, eventName, this, entry->second, procName);
    ties()->listens[senderFullName].insert(eventName);
}

void CObject::unlistenObject(const CString& senderFullName, const CString& eventName) {
    if (m_bus) m_bus->unlisten(senderFullName, eventName, this);
    if (!m_ties) return;
    auto it = m_ties->listens.find(senderFullName);
    if (it == m_ties->listens.end()) return;
    it->second.erase(eventName);
    if (it->second.empty()) m_ties->listens.erase(it);
}

void CObject::dropListens() {
    if (!m_ties || !m_bus) return;
    for (const auto& [sender, events] : m_ties->listens) {
        for (const CString& event : events) m_bus->unlisten(sender, event, this);
    }
    m_ties->listens.clear();
}

CError* CObject::fireEvent(const CString& eventName, bool forceBridge) {
    CAttrMap params;
    return fireEvent(eventName, params, forceBridge);
}

CError* CObject::fireEvent(const CString& eventName, CAttrMap& params, bool forceBridge) {
    if (!m_bus) return nullptr;
    CError* err = m_bus->fire(fullName(), eventName, params, forceBridge);
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

void CObject::postEvent(CObject* target, const CString& senderFullName, const CString& eventName, CAttrMap& params) {
    if (!target) return;
    CObjectEventBridge* bridge = target->ownerBridge(nullptr);
    if (!bridge) return;
    params[CString("sender")].setString(senderFullName);
    params[CString("listener")].setString(target->fullName());
    params[CString("listener-id")].setInt(target->objectId());
    params[CString("listener-proc")].setString(eventName);
    if (CError* err = bridge->post(params)) {
        logError(err);
        deleteError(err);
    }
}

CError* CObject::runEvent(const CString& eventName) {
    auto it = m_descriptors->events.find(eventName);
    if (it == m_descriptors->events.end()) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CObject_runEvent_UnknownEvent Unknown event '%1'.", eventName);
    }
    const CEventEntry& entry = it->second;
    CError* err;
    if (entry.takesParams) {
        CAttrMap empty;
        err = entry.procWithParams(this, empty);
    } else {
        err = entry.proc(this);
    }
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

CError* CObject::runEvent(const CString& eventName, CAttrMap& params) {
    auto it = m_descriptors->events.find(eventName);
    if (it == m_descriptors->events.end()) {
        return ORL_ERROR(nullptr, fullName(), "@orlstr_CObject_runEvent_UnknownEvent Unknown event '%1'.", eventName);
    }
    const CEventEntry& entry = it->second;
    CError* err = entry.takesParams ? entry.procWithParams(this, params) : entry.proc(this);
    return err ? ORL_PASS(err, fullName()) : nullptr;
}

CError* CObject::releaseChildBridged(CAttrMap& params) {
    auto it = params.find(senderKey());
    if (it == params.end()) return nullptr;
    CObject* sender = findObject(it->second.getString());
    // Only something below this object may be destroyed on its behalf.
    for (CObject* o = sender ? sender->m_parent : nullptr; o; o = o->m_parent) {
        if (o == this) {
            sender->destroy();
            break;
        }
    }
    return nullptr;
}

}  // namespace orl
