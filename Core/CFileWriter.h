#pragma once
#include "Core/CFileBase.h"
#include "Core/CPosOutputStream.h"

namespace orl {

// Writes a file. The paths "*" and "*e" write to the process's standard output and standard
// error.
class CFileWriter : public CPosOutputStream, public CFileBase {
public:
    CFileWriter() = default;
    ~CFileWriter() override = default;

    // Closes any file open before. append opens or creates the file and moves to its end;
    // otherwise the file is created anew. Standard handles are never appended to.
    CError* open(const CString& path, bool append = false);

    CError* write(const void* buffer, uint32_t count) override;
};

}  // namespace orl
