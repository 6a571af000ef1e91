#pragma once
#include "Core/CFileBase.h"
#include "Core/CPosInputStream.h"

namespace orl {

// Reads a file. Reading only ever asks for sequential access; the path "*" reads the
// process's standard input.
class CFileReader : public CPosInputStream, public CFileBase {
public:
    CFileReader() = default;
    ~CFileReader() override = default;

    // Closes any file open before. writeAccess opens for reading and writing and creates the
    // file when it is missing.
    CError* open(const CString& path, bool writeAccess = false);

    // Moves on without reading where the handle allows it; a pipe is read through instead.
    CError* skip(uint32_t count) override;
    CError* read(void* buffer, uint32_t count) override;
    // Reads until the count or the end of the file.
    CError* readStreamed(void* buffer, uint32_t& inOutCount) override;
};

}  // namespace orl
