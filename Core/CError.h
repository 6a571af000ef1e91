#pragma once
#include <cstdint>

#include "Core/CArray.h"
#include "Core/CString.h"

namespace orl {

// What a fallible call returns when it fails; a null pointer means success. It holds message
// lines and, below each message, the source frames that the error passed on its way up,
// innermost first. Whoever ends an error's journey logs or shows it and then deletes it.
class CError {
public:
    int32_t lineCount() const { return m_lines.count(); }
    const CString& line(int32_t i) const { return m_lines[i]; }
    // All lines joined by "\n", for showing and for tests.
    CString text() const;

    void addLine(const CString& line) { m_lines.add(line); }

    static void* operator new(size_t size);
    static void operator delete(void* p);

private:
    CArray<CString, 4> m_lines;
};

// Adds a message line (when message isn't empty) and then a frame line to err, creating the
// error when err is null. A message that begins with "@" carries a key before its first blank,
// which is dropped; "%1" to "%9" take the parameters and "%%" gives "%".
CError* addError(CError* err, const char* file, int line, const CString& objectName,
                 const char* message, const CString& p1 = CString::empty(),
                 const CString& p2 = CString::empty(), const CString& p3 = CString::empty(),
                 const CString& p4 = CString::empty(), const CString& p5 = CString::empty());

// Writes every line of the error to the log.
void logError(const CError* err);
// Ends an error's journey.
void deleteError(CError* err);

// The message text with its key dropped and its parameters put in; exposed for the places that
// show a message without making an error of it.
CString formatMessage(const char* message, const CString* params, int paramCount);

}  // namespace orl

// A new error (or a further message on an existing one) at this source line.
#define ORL_ERROR(err, objectName, ...) ::orl::addError((err), __FILE__, __LINE__, (objectName), __VA_ARGS__)
// Passes an error on, adding this source line as a frame.
#define ORL_PASS(err, objectName) ::orl::addError((err), __FILE__, __LINE__, (objectName), "")
