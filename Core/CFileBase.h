#pragma once
#include <cstdint>

#include "Core/CPosStream.h"
#include "Core/CString.h"

namespace orl {

// An open file: its handle, the name used in messages and the position calls shared by the
// file reader and writer. The process's standard handles can stand in for a file; they are
// named "stdin", "stdout" or "stderr" and are never closed. Files are never locked.
class CFileBase : public virtual CPosStream {
public:
    CFileBase() = default;
    // Closes the file; an error on the way is logged, since nobody is left to take it.
    ~CFileBase() override;
    CFileBase(const CFileBase&) = delete;
    CFileBase& operator=(const CFileBase&) = delete;

    bool isOpen() const { return m_handle >= 0; }
    // The path as it was given to open, or the name of a standard handle.
    const CString& name() const { return m_name; }
    bool isStandardHandle() const { return m_standard; }

    // Closing a file that isn't open does nothing.
    CError* close();

    CError* getPosition(uint64_t& out) override;
    CError* getSize(uint64_t& out) override;
    CError* setPosition(uint64_t position) override;

    // The bytes handed to the system for a path: 8-bit text as it is (it usually came from
    // the system), 16-bit text encoded as UTF-8.
    static CString systemPath(const CString& path);

protected:
    void attach(int handle, const CString& name, bool standard);

    int m_handle = -1;
    bool m_standard = false;
    CString m_name;
};

}  // namespace orl
