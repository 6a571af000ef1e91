#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CAttrValue.h"
#include "Core/CClassDescriptors.h"
#include "Core/CMap.h"
#include "Core/CString.h"

namespace orl {

class CError;
class CEventBus;
class CObjectEventBridge;
class CTemplatePayload;

// A node of a tree of named objects with attributes and children. Objects are created by tag
// through the creator registry, configure themselves from their attributes, and find their
// partners by path. A parent owns its children.
class CObject {
public:
    enum Stage : int32_t {
        kCreated = 0,
        kInitDone = 1,
        kHandlersDone = 2,
        kChildsDone = 3,
        kLoaded = 4,
    };

    CObject();
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    // Virtual operations, in slot order.
    virtual ~CObject();
    // Applies the template's attributes, then the initial attributes, with handlers queued.
    virtual CError* init();
    // Runs the queued handlers, then creates the template's children.
    virtual CError* initAttrHandlers();
    // Called when the children are complete.
    virtual CError* initChilds();
    // Hook: a child was just created below this object.
    virtual CError* onChildCreated(CObject* child);
    virtual void removeChild(CObject* child);
    // Drops what ties this object to others (event registrations, attribute links).
    virtual void release();
    virtual void detach();
    // A linked source changed; sets the attribute with its handler run at once.
    virtual CError* setLinkedAttr(CObject* source, const CString& name, const CString& value);
    // Destroys the child named by the "sender" parameter, on this object's thread.
    virtual CError* releaseChildBridged(CAttrMap& params);

    // The tree that a plain root starts: no parent, its own root.
    static CObject* newRoot(const char* tag = "core:object");
    // The process-wide tree of definitions shared by all instances; null until published.
    static CObject* sharedRoot();
    static void setSharedRoot(CObject* root);

    // Registers a table of creators; a tag that is present already stops the table with an error.
    static CError* registerCreator(const CCreatorRow* rows);
    // Descriptors of plain CObject, and its filling function for derived classes to call first.
    static const CClassDescriptors& objectDescriptors();
    static void fillDescriptors(CClassDescriptors& descriptors);

    // Attributes. A missing attribute reads as false, 0, 0.0 or the empty text.
    const CString& getAttrString(const CString& name) const;
    int32_t getAttrInt(const CString& name) const;
    double getAttrDouble(const CString& name) const;
    bool getAttrBool(const CString& name) const;
    void* getAttrPointer(const CString& name) const;
    bool hasAttr(const CString& name) const;
    const CAttrValue* findAttr(const CString& name) const;
    const CAttrMap& attrs() const { return m_attrs; }

    // Stores text by inference and dispatches the handler: at once, or queued on the pending
    // list. Does nothing on a read-only object or for an empty name.
    CError* setAttr(const CString& name, const CString& text, bool runHandlerNow);
    CError* setAttrPointer(const CString& name, void* value, bool runHandlerNow);
    // Every entry in key order with handlers queued; stops at the first error.
    CError* setAttrs(const CAttrMap& map, bool runPending);
    // Runs the queued handlers, last set first; the first error stops the run.
    CError* runPendingHandlers();

    // Paths: "^" owner, "." child, "/" or nothing the root, "shared::" the shared root,
    // "name#n" a child by index, "name#" the last of that name.
    CObject* findObject(const CString& path) const;
    template <class T>
    CError* findObjectChecked(T*& out, const CString& path) const;
    template <class T>
    CError* findObjectByAttr(const CString& attrName, T*& out) const;

    // Creation without the life-cycle stages.
    CError* addChild(CObject*& outChild, const CString& tag, const CString& name, bool useTemplates);
    // The whole creation: addChild, class check, attributes, init, initAttrHandlers, initChilds.
    template <class T>
    CError* createChild(T*& outChild, const CString& tag, const CString& name, bool mustBeTemplate = false,
                        const CAttrMap* initialAttrs = nullptr, const CAttrMap* extraAttrs = nullptr);
    bool hasTemplate(const CString& name) const;
    // Reads a compiled definition tree (a resource, else a file of that path) into this object.
    CError* loadXMLData(const CString& name, bool runStages);

    // Releases, destroys the children last-created first, detaches and deletes this object.
    void destroy();

    // Live links: after every set of an attribute of this object, the listener's target attribute
    // follows. With an empty attribute name every attribute is forwarded under its own name.
    void addLink(CObject* listener, const CString& sourceAttr, const CString& targetAttr);
    bool hasLinkTo(const CObject* listener) const;
    int32_t incomingLinkCount() const;

    // Events. A listener names one of its own events as the procedure to run when the sender,
    // known by full name, fires. Without a bus (the shared tree) nothing is registered or fired.
    void listenObject(const CString& senderFullName, const CString& eventName, const CString& procName);
    void unlistenObject(const CString& senderFullName, const CString& eventName);
    CError* fireEvent(const CString& eventName, bool forceBridge = false);
    CError* fireEvent(const CString& eventName, CAttrMap& params, bool forceBridge = false);
    // Asks the thread that owns target to run one of target's events.
    static void postEvent(CObject* target, const CString& senderFullName, const CString& eventName, CAttrMap& params);
    // The bridge of the first ancestor (or this object) that has one, and its thread.
    CObjectEventBridge* ownerBridge(uint32_t* thread) const;
    // Marks this subtree as owned by a thread that the bridge posts to.
    void setEventBridge(CObjectEventBridge* bridge, uint32_t thread);
    CEventBus* bus() const { return m_bus; }
    // Gives a root its own event bus, which it deletes with itself.
    void attachNewBus();

    // Runs one of this object's events directly on the calling thread.
    CError* runEvent(const CString& eventName);
    CError* runEvent(const CString& eventName, CAttrMap& params);

    // Templates: an object with a payload is a run-time template; the parent lists it by name.
    void setTemplatePayload(CTemplatePayload* payload);
    CTemplatePayload* templatePayload() const { return m_templatePayload; }
    void addRuntimeTemplate(CObject* child);
    CObject* templateLink() const { return m_templateLink; }

    // Attributes that init applies after the template's; not owned.
    void setInitialAttrs(const CAttrMap* attrs) { m_initialAttrs = attrs; }

    CObject* parent() const { return m_parent; }
    CObject* root() const { return m_root; }
    int32_t childCount() const { return m_children.count(); }
    CObject* child(int32_t i) const { return m_children[i]; }
    const CString& baseName() const { return m_baseName; }
    int32_t nameIndex() const { return m_nameIndex; }
    const CString& fullName() const { return getAttrString(fullNameKey()); }
    const CString& tag() const { return m_tag; }
    int32_t objectId() const { return m_objectId; }
    int32_t stage() const { return m_stage; }
    void setStage(int32_t stage) { m_stage = stage; }
    bool isReadOnly() const { return m_readOnly; }
    void setReadOnly(bool readOnly) { m_readOnly = readOnly; }
    const CClassDescriptors* descriptors() const { return m_descriptors; }

    static void* operator new(size_t size);
    static void operator delete(void* p);

    // The name of the attribute that holds an object's path from its root.
    static const CString& fullNameKey();

private:
    using TCastCheck = bool (*)(CObject*);
    CError* findChecked(CObject*& out, const CString& path, TCastCheck check) const;
    CError* findByAttr(CObject*& out, const CString& attrName, TCastCheck check) const;
    CError* createChildChecked(CObject*& out, const CString& tag, const CString& name, bool mustBeTemplate,
                               const CAttrMap* initialAttrs, const CAttrMap* extraAttrs, TCastCheck check);
    // Walks a path; on failure tells the last object reached and where the walk stopped.
    CObject* walkPath(const CString& path, const CObject** lastReached, int32_t* stopPos) const;
    CString describePath(const CString& path) const;
    CObject* findChildByComponent(const CString& component) const;
    CObject* findTemplate(const CString& name) const;
    void assignName(const CString& name);
    CError* dispatchAttr(const CString& name, CAttrValue& value, bool runHandlerNow);
    CError* storeText(const CString& name, const CString& text, bool runHandlerNow);
    // Expressions in attribute text, resolved once as the attribute is set.
    CString resolveAttrText(const CString& name, const CString& text);
    CString evaluateExpression(const CString& name, const CString& expression, const CString& fallback);
    CString lookupAttr(const CString& name, const CString& expression, const CString& fallback, bool searching) const;
    CString makeLink(const CString& name, const CString& linkText);
    void dropListens();
    CError* forwardToLinks(const CString& name, const CAttrValue& value);
    void dropLinks();
    struct CTies;
    CTies* ties();

    const CClassDescriptors* m_descriptors;
    CAttrMap m_attrs;
    CAttrValue* m_pendingHead = nullptr;
    CArray<CObject*, 8> m_children;
    CObjectEventBridge* m_eventBridge = nullptr;
    int32_t m_stage = kCreated;
    bool m_readOnly = false;
    CTemplatePayload* m_templatePayload = nullptr;
    const CAttrMap* m_initialAttrs = nullptr;
    CObject* m_templateLink = nullptr;
    CMap<CString, CMap<int32_t, CObject*>> m_childrenByName;
    CEventBus* m_bus = nullptr;
    CObject* m_parent = nullptr;
    CObject* m_root;
    int32_t m_objectId = -1;
    CString m_tag;
    CMap<CString, CObject*> m_runtimeTemplates;
    uint32_t m_threadId = 0;
    bool m_hasNoBridge = true;
    // Outgoing links, incoming link sources and event registrations; made on first use.
    CTies* m_ties = nullptr;
    CString m_baseName;
    int32_t m_nameIndex = 0;
};

template <class T>
CError* CObject::findObjectChecked(T*& out, const CString& path) const {
    CObject* found = nullptr;
    CError* err = findChecked(found, path, [](CObject* o) { return dynamic_cast<T*>(o) != nullptr; });
    out = err ? nullptr : dynamic_cast<T*>(found);
    return err;
}

template <class T>
CError* CObject::findObjectByAttr(const CString& attrName, T*& out) const {
    CObject* found = nullptr;
    CError* err = findByAttr(found, attrName, [](CObject* o) { return dynamic_cast<T*>(o) != nullptr; });
    out = err ? nullptr : dynamic_cast<T*>(found);
    return err;
}

template <class T>
CError* CObject::createChild(T*& outChild, const CString& tag, const CString& name, bool mustBeTemplate,
                             const CAttrMap* initialAttrs, const CAttrMap* extraAttrs) {
    CObject* created = nullptr;
    CError* err = createChildChecked(created, tag, name, mustBeTemplate, initialAttrs, extraAttrs,
                                     [](CObject* o) { return dynamic_cast<T*>(o) != nullptr; });
    outChild = created ? dynamic_cast<T*>(created) : nullptr;
    return err;
}

}  // namespace orl
