#pragma once
#include "Core/CAttrValue.h"
#include "Core/CMap.h"
#include "Core/CString.h"

namespace orl {

class CObject;
class CError;

// Attribute map of an object or of an event's parameters: name to value, in name order.
using CAttrMap = CMap<CString, CAttrValue>;

using TEventProc = CError* (*)(CObject* object);
using TEventProcWithParams = CError* (*)(CObject* object, CAttrMap& params);

// One row of a class's event table: the procedure to run, with or without a parameter map.
struct CEventEntry {
    TEventProc proc = nullptr;
    TEventProcWithParams procWithParams = nullptr;
    bool takesParams = false;
};

// What a class wants to hear of: handlers by attribute name and events by name. Shared by all
// instances of a class and kept for the life of the process.
struct CClassDescriptors {
    CMap<CString, TAttrHandler> attrHandlers;
    CMap<CString, CEventEntry> events;
};

// Fills a class's descriptors: calls its base class's filling function first, then adds rows.
using TDescriptorFiller = void (*)(CClassDescriptors& descriptors);
// Allocates and constructs an object of a class, nothing else.
using TCreator = CObject* (*)();

// The creator of a class with a default constructor.
template <class T>
CObject* createObjectOf() {
    return new T();
}

// A row of a creator table; a table ends at a row with a null creator.
struct CCreatorRow {
    const char* tag;
    TCreator creator;
    TDescriptorFiller filler;
};

// Registers a table of creators, logging what fails; true when the whole table is in. A file
// with a table calls it from a function-local static, so that the table is registered once
// whether the first caller is a static initialiser or a constructor.
bool registerCreatorTable(const CCreatorRow* rows);

}  // namespace orl
