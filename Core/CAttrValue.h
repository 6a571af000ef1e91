#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

class CObject;
class CError;
class CAttrValue;

// A class's reaction to one of its attributes being set. Returns an error or null.
using TAttrHandler = CError* (*)(CObject* object, CAttrValue& value);

// One attribute's value with cached forms. The value has one type; reading another form
// converts once and keeps the result, so repeated typed reads cost nothing.
class CAttrValue {
public:
    enum Type : uint8_t { kBool = 0, kDouble = 1, kInt = 2, kString = 3, kPointer = 4, kEmpty = 5 };
    enum Flag : uint8_t {
        kBoolValid = 1,
        kDoubleValid = 2,
        kIntValid = 4,
        kStringValid = 8,
        kPointerValid = 16,
        kQueued = 32,           // on its object's pending list
        kHandlerResolved = 64,  // the class's handler (or its absence) is recorded
    };

    CAttrValue() = default;
    // Copies take the value and its cached forms, not the place on a pending list nor the handler.
    CAttrValue(const CAttrValue& other) { copyValueFrom(other); }
    CAttrValue& operator=(const CAttrValue& other) {
        if (this != &other) copyValueFrom(other);
        return *this;
    }

    Type type() const { return static_cast<Type>(m_type); }
    uint8_t flags() const { return m_flags; }

    void setBool(bool v);
    void setDouble(double v);
    void setInt(int32_t v);
    void setPointer(void* v);
    // Stores the text as it is, as a string.
    void setString(const CString& v);
    // Stores the text by inference: a canonical decimal integer, "true"/"false", empty, or a string.
    void setText(const CString& text);
    void clear();

    bool getBool() const;
    double getDouble() const;
    int32_t getInt() const;
    const CString& getString() const;
    void* getPointer() const;

    // Pending list and handler bookkeeping, used by CObject.
    CAttrValue* nextPending() const { return m_nextPending; }
    void setNextPending(CAttrValue* v) { m_nextPending = v; }
    bool isQueued() const { return m_flags & kQueued; }
    void setQueued(bool on) { m_flags = on ? (m_flags | kQueued) : (m_flags & ~kQueued); }
    bool isHandlerResolved() const { return m_flags & kHandlerResolved; }
    TAttrHandler handler() const { return m_handler; }
    void resolveHandler(TAttrHandler h) {
        m_handler = h;
        m_flags |= kHandlerResolved;
    }

private:
    void store(Type type, uint8_t formFlag);
    void copyValueFrom(const CAttrValue& other);

    CAttrValue* m_nextPending = nullptr;
    TAttrHandler m_handler = nullptr;
    // The cached forms are filled in by const readers.
    mutable double m_double = 0.0;
    void* m_pointer = nullptr;
    mutable int32_t m_int = 0;
    mutable CString m_string;
    mutable bool m_bool = false;
    uint8_t m_type = kEmpty;
    mutable uint8_t m_flags = 0;
};

// Text of a double as attributes show it: fixed point with four decimals, rounded half away
// from zero ("0.5000").
CString doubleToAttrText(double v);

}  // namespace orl
