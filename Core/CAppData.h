#pragma once
#include <cstdint>

#include "Core/CByteBuffer.h"
#include "Core/CInputStream.h"
#include "Core/CMap.h"
#include "Core/CString.h"
#include "Core/CUpdateNotifier.h"
#include "Platform/CCriticalSection.h"

namespace orl {

// Stored application data of one scope: small named files in a folder of their own, each holding
// one compressed block whose id is the datum's type, with defaults among the resources under the
// scope's prefix. Values are cached for the life of the process, so a datum that could not be
// written still reads back as written here; nothing about stored data ever fails visibly.
//
// Listeners attach under getUpdateKey(name) and hear of every write of that name in this
// process, on the writer's thread, outside the lock.
class CAppData : public CUpdateNotifier {
public:
    static constexpr uint32_t kTypeData = CInputStream::blockId("adat");
    static constexpr uint32_t kTypeString = CInputStream::blockId("dstr");
    static constexpr uint32_t kTypePresetList = CInputStream::blockId("alst");

    // relativeFolder ends in "/" and is taken below the user's folder (or the portable one);
    // resourcePrefix is put before a name to find its default among the resources.
    CAppData(const char* relativeFolder, const char* resourcePrefix);
    ~CAppData() override;

    // The number of a name, handing out the next one on first use.
    virtual TKey getUpdateKey(const CString& name);
    TKey getUpdateKey(TKey x) override { return x; }

    // The bytes of a datum of that type: the cached value unless force is set (a cached value of
    // another type reads as nothing), else the first file that opens in the primary, fallback
    // and extra folders, else the default resource. Out is empty when nothing of the type is
    // found; with force, a failed read falls back to the cached value.
    void read(const CString& name, CByteBuffer& out, uint32_t typeId, bool force = false);
    // Caches the bytes and writes them as a new file in the primary folder; tells the name's
    // listeners, with source, once the file is written.
    void write(const CString& name, const void* bytes, uint32_t size, const void* source, uint32_t typeId);
    void write(const CString& name, const CByteBuffer& bytes, const void* source, uint32_t typeId) {
        write(name, bytes.data(), bytes.size(), source, typeId);
    }
    // The same with type "dstr", whose payload is one string. readString is false, with out
    // empty, when there is no datum or it doesn't hold a string.
    bool readString(const CString& name, CString& out, bool force = false);
    void writeString(const CString& name, const CString& text, const void* source);

    // The folders as resolved (empty when there is none), resolving them first if needed.
    CString primaryFolder();
    CString fallbackFolder();

    // The process-wide scope of a storage type word: "global", "group" or "local"; null otherwise.
    static CAppData* byStorageType(const CString& word);

protected:
    // Where the portable folder and the extra folder are looked for, and the user's folder.
    // The defaults ask the application and the platform; tests may give their own.
    virtual CString libraryFolder() const;
    virtual CString userFolder() const;

private:
    struct CCached {
        uint32_t type = 0;
        CByteBuffer bytes;
    };

    // Under the lock.
    void resolveFolders();
    TKey keyOfLocked(const CString& name);
    bool readFile(const CString& path, uint32_t typeId, CByteBuffer& out);

    CString m_relativeFolder;
    CString m_extraFolder;
    CString m_resourcePrefix;
    CString m_primaryFolder;
    CString m_fallbackFolder;
    CString m_extraLocation;
    bool m_pathsResolved = false;
    bool m_foldersCreated = false;
    bool m_foldersUsable = false;
    CCriticalSection m_lock{2000, false};
    TKey m_nextKey = 1;
    CMap<CString, TKey> m_keys;
    CMap<TKey, CCached> m_cache;
};

}  // namespace orl
