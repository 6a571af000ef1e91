#include "Core/CDefinitionLoader.h"

#include <cstring>

#include "Core/CDefCursor.h"
#include "Core/CDefStringTable.h"
#include "Core/CDefTemplatePayload.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CObject.h"
#include "Core/CPoolAllocator.h"
#include "Core/CResourceReader.h"

namespace orl {

namespace {

const CString& falseText() {
    static const CString text("false");
    return text;
}

CError* badStringId(const CObject* target, uint32_t id, const CDefStringTable* strings) {
    return ORL_ERROR(nullptr, target->fullName(),
                     "@orlstr_CDefinitionLoader_load_BadStringId Invalid string id %1 (the tree has %2 strings).",
                     CString::fromInt(id), CString::fromInt(strings->count()));
}

}  // namespace

CError* CDefinitionLoader::load(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic,
                                bool runStages, bool hasPrefix, bool skipAttrs, bool attrsOnly) {
    return loadNode(target, cursor, strings, isStatic, runStages, hasPrefix, skipAttrs, attrsOnly, 0);
}

CError* CDefinitionLoader::loadNode(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic,
                                    bool runStages, bool hasPrefix, bool skipAttrs, bool attrsOnly, int depth) {
    const CString& where = target->fullName();
    if (depth > kMaxDepth) {
        return ORL_ERROR(nullptr, where, "@orlstr_CDefinitionLoader_load_TooDeep Definition tree nested deeper than %1.",
                         CString::fromInt(kMaxDepth));
    }
    uint8_t kind = 0;
    if ((hasPrefix && !cursor.skip(4)) || !cursor.read8(kind)) return ORL_PASS(cursor.error(where), where);
    if (kind == 1) {
        // A template is only ever a child. One at the top of a fragment would make its instance a
        // template of itself, and instantiating it would never end.
        if (hasPrefix) {
            return ORL_ERROR(nullptr, where,
                             "@orlstr_CDefinitionLoader_load_TemplateAtTop A fragment must begin with a plain node.");
        }
        return loadTemplate(target, cursor, strings, isStatic);
    }
    if (kind != 0) {
        return ORL_ERROR(nullptr, where, "@orlstr_CDefinitionLoader_load_BadKind Invalid node kind %1.",
                         CString::fromInt(kind));
    }

    uint16_t attrCount = 0;
    if (!cursor.read16(attrCount)) return ORL_PASS(cursor.error(where), where);
    if (skipAttrs) {
        if (!cursor.skip(4u * attrCount)) return ORL_PASS(cursor.error(where), where);
    } else {
        for (uint32_t i = 0; i < attrCount; ++i) {
            uint16_t key = 0;
            uint16_t value = 0;
            if (!cursor.read16(key) || !cursor.read16(value)) return ORL_PASS(cursor.error(where), where);
            if (!strings->has(key)) return badStringId(target, key, strings);
            if (!strings->has(value)) return badStringId(target, value, strings);
            // "false" and "" read the same as a missing attribute, so neither is stored.
            const CString& text = strings->get(value);
            if (text.isEmpty() || text == falseText()) continue;
            if (CError* err = target->setAttr(strings->get(key), text, false)) return ORL_PASS(err, where);
        }
    }

    if (runStages) {
        CError* err = target->init();
        if (!err) err = target->initAttrHandlers();
        if (err) return ORL_PASS(err, target->fullName());
    }
    if (!attrsOnly) {
        uint16_t childCount = 0;
        if (!cursor.read16(childCount)) return ORL_PASS(cursor.error(where), where);
        for (uint32_t i = 0; i < childCount; ++i) {
            uint16_t tag = 0;
            uint16_t name = 0;
            if (!cursor.read16(tag) || !cursor.read16(name)) return ORL_PASS(cursor.error(where), where);
            if (!strings->has(tag)) return badStringId(target, tag, strings);
            if (!strings->has(name)) return badStringId(target, name, strings);
            // The tree was expanded when it was compiled: no template search here.
            CObject* child = nullptr;
            CError* err = target->addChild(child, strings->get(tag), strings->get(name), false);
            if (!err) err = loadNode(child, cursor, strings, isStatic, true, false, false, false, depth + 1);
            if (err) {
                if (child) child->destroy();
                return ORL_PASS(err, target->fullName());
            }
            if (child->templatePayload()) target->addRuntimeTemplate(child);
        }
    } else if (!runStages) {
        return nullptr;
    }
    if (runStages) {
        if (CError* err = target->initChilds()) return ORL_PASS(err, target->fullName());
        target->setStage(CObject::kLoaded);
    }
    return nullptr;
}

CError* CDefinitionLoader::loadTemplate(CObject* target, CDefCursor& cursor, CDefStringTable* strings, bool isStatic) {
    const CString& where = target->fullName();
    uint16_t classTag = 0;
    uint32_t length = 0;
    if (!cursor.read16(classTag) || !cursor.read32(length)) return ORL_PASS(cursor.error(where), where);
    if (!strings->has(classTag)) return badStringId(target, classTag, strings);
    const uint8_t* fragment = cursor.position();
    if (!cursor.skip(length)) return ORL_PASS(cursor.error(where), where);
    target->setTemplatePayload(new CDefTemplatePayload(strings, strings->get(classTag), fragment, length, isStatic));
    // A template is a prototype: it gets no init and none of its attributes.
    CError* err = target->initAttrHandlers();
    if (!err) err = target->initChilds();
    return err ? ORL_PASS(err, target->fullName()) : nullptr;
}

CError* CDefinitionLoader::loadTree(CObject* target, const uint8_t* data, uint32_t size, bool isStatic,
                                    bool runStages) {
    const CString& where = target->fullName();
    CDefCursor head(data, size);
    uint32_t count = 0;
    uint32_t stringBytes = 0;
    if (!head.read32(count) || !head.read32(stringBytes) || !head.skip(stringBytes)) {
        return ORL_PASS(head.error(where), where);
    }
    uint8_t* copy = nullptr;
    const uint8_t* stringPart = data + 8;
    if (!isStatic) {
        copy = static_cast<uint8_t*>(CPoolAllocator::allocate(stringBytes ? stringBytes : 1));
        std::memcpy(copy, stringPart, stringBytes);
        stringPart = copy;
    }
    CDefStringTable* strings = nullptr;
    if (CError* err = CDefStringTable::create(strings, stringPart, count, stringBytes, copy)) {
        return ORL_PASS(err, where);
    }
    CDefCursor cursor(data + 8 + stringBytes, size - 8 - stringBytes);
    CError* err = load(target, cursor, strings, isStatic, runStages, true, false, false);
    // Templates that were made hold their own references.
    strings->release();
    return err ? ORL_PASS(err, where) : nullptr;
}

CError* CDefinitionLoader::loadXMLData(CObject* target, const CString& name, bool runStages) {
    const int64_t started = CHighResTime::counter();
    CResourceReader reader;
    if (CError* err = reader.open(name)) return ORL_PASS(err, target->fullName());

    CError* err = nullptr;
    if (const uint8_t* direct = reader.getDirectPointer()) {
        int32_t size = 0;
        err = reader.getSizeInt(size);
        if (!err) err = loadTree(target, direct, static_cast<uint32_t>(size), true, runStages);
    } else {
        // A tree from a file: read it whole; templates copy what they keep.
        int32_t size = 0;
        int32_t position = 0;
        err = reader.getSizeInt(size);
        if (!err) err = reader.getPositionInt(position);
        if (!err) {
            const uint32_t bytes = static_cast<uint32_t>(size - position);
            uint8_t* buffer = static_cast<uint8_t*>(CPoolAllocator::allocate(bytes ? bytes : 1));
            err = reader.read(buffer, bytes);
            if (!err) err = loadTree(target, buffer, bytes, false, runStages);
            CPoolAllocator::release(buffer);
        }
    }
    if (err) return ORL_PASS(err, target->fullName());

    if (CLog::isEnabled()) {
        const CString& fullName = target->fullName();
        CLog::logf("loadXMLData \"%s\" init time: %.4f s @ %.4f s%s%s", name.narrowed().c8(),
                   CHighResTime::secondsSince(started), CHighResTime::secondsSinceStart(),
                   fullName.isEmpty() ? "" : " // ", fullName.narrowed().c8());
    }
    return nullptr;
}

}  // namespace orl
