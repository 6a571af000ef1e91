#include "Core/CAppData.h"

#include "Core/CApplication.h"
#include "Core/CAppDataGlobal.h"
#include "Core/CAppDataGroup.h"
#include "Core/CAppDataLocal.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CFileReader.h"
#include "Core/CFileWriter.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Platform/CPlatformPaths.h"

namespace orl {

CAppDataGlobal& CAppDataGlobal::instance() {
    static CAppDataGlobal data;
    return data;
}

CAppDataGroup& CAppDataGroup::instance() {
    static CAppDataGroup data;
    return data;
}

CAppDataLocal& CAppDataLocal::instance() {
    static CAppDataLocal data;
    return data;
}

CAppData* CAppData::byStorageType(const CString& word) {
    if (word == "local") return &CAppDataLocal::instance();
    if (word == "group") return &CAppDataGroup::instance();
    if (word == "global") return &CAppDataGlobal::instance();
    return nullptr;
}

CAppData::CAppData(const char* relativeFolder, const char* resourcePrefix)
    : m_relativeFolder(relativeFolder), m_resourcePrefix(resourcePrefix) {}

CAppData::~CAppData() = default;

CString CAppData::libraryFolder() const { return CApplication::libraryFolder(); }

CString CAppData::userFolder() const { return CPlatformPaths::userDataFolder(); }

void CAppData::resolveFolders() {
    if (m_pathsResolved) return;
    m_pathsResolved = true;
    const CString library = libraryFolder();
    const CString user = userFolder();
    if (!library.isEmpty() && !m_extraFolder.isEmpty()) {
        const CString extra = library + m_extraFolder;
        if (CPlatformPaths::isFolder(extra)) m_extraLocation = extra;
    }
    if (!library.isEmpty()) {
        // A folder named after the maker with " Settings" beside the library makes the
        // installation portable: data goes there instead of into the user's folder.
        const int32_t slash = m_relativeFolder.find(u'/');
        const CString first = slash < 0 ? m_relativeFolder : m_relativeFolder.substring(0, slash);
        const CString rest = slash < 0 ? CString() : m_relativeFolder.substring(slash + 1);
        const CString portable = library + first + " Settings";
        if (CPlatformPaths::isFolder(portable)) {
            m_primaryFolder = portable + "/" + rest;
            // Data written before the folder existed is still found in the user's folder.
            if (!user.isEmpty()) m_fallbackFolder = user + m_relativeFolder;
            return;
        }
    }
    if (!user.isEmpty()) m_primaryFolder = user + m_relativeFolder;
}

CString CAppData::primaryFolder() {
    CCriticalSectionLock hold(m_lock);
    resolveFolders();
    return m_primaryFolder;
}

CString CAppData::fallbackFolder() {
    CCriticalSectionLock hold(m_lock);
    resolveFolders();
    return m_fallbackFolder;
}

CUpdateNotifier::TKey CAppData::keyOfLocked(const CString& name) {
    auto it = m_keys.find(name);
    if (it != m_keys.end()) return it->second;
    const TKey key = m_nextKey++;
    m_keys[name] = key;
    return key;
}

CUpdateNotifier::TKey CAppData::getUpdateKey(const CString& name) {
    CCriticalSectionLock hold(m_lock);
    return keyOfLocked(name);
}

bool CAppData::readFile(const CString& path, uint32_t typeId, CByteBuffer& out) {
    CFileReader file;
    CError* err = file.open(path);
    if (err) {
        deleteError(err);
        return false;
    }
    // An opened file is the answer, even when its block is damaged or of another type: the
    // next places aren't tried. A damaged datum reads as no datum.
    if ((err = file.readCompressedData(out, typeId))) {
        deleteError(err);
        out.clear();
    }
    return true;
}

void CAppData::read(const CString& name, CByteBuffer& out, uint32_t typeId, bool force) {
    CCriticalSectionLock hold(m_lock);
    resolveFolders();
    const TKey key = keyOfLocked(name);
    auto cached = m_cache.find(key);
    if (!force && cached != m_cache.end()) {
        if (cached->second.type == typeId) {
            out = cached->second.bytes;
        } else {
            out.clear();
        }
        return;
    }

    CByteBuffer bytes;
    bool opened = false;
    const CString* folders[] = {&m_primaryFolder, &m_fallbackFolder, &m_extraLocation};
    for (const CString* folder : folders) {
        if (folder->isEmpty()) continue;
        if ((opened = readFile(*folder + name, typeId, bytes))) break;
    }
    bool found = opened && !bytes.isEmpty();
    if (!opened) {
        CResourceReader resource;
        CError* err = resource.open(m_resourcePrefix + name);
        // Only a linked-in default counts here: a file of the resource's name in the working
        // folder is no default.
        if (!err && resource.isResource()) err = resource.readCompressedData(bytes, typeId);
        found = !err && resource.isResource();
        deleteError(err);
    }
    if (found) {
        CCached& entry = m_cache[key];
        entry.type = typeId;
        entry.bytes = bytes;
        out = bytes;
        return;
    }
    if (force && cached != m_cache.end()) {
        out = cached->second.bytes;
    } else {
        out.clear();
    }
}

void CAppData::write(const CString& name, const void* bytes, uint32_t size, const void* source, uint32_t typeId) {
    TKey key;
    {
        CCriticalSectionLock hold(m_lock);
        resolveFolders();
        key = keyOfLocked(name);
        // The value holds in this process whatever becomes of the file.
        CCached& entry = m_cache[key];
        entry.type = typeId;
        entry.bytes.assign(bytes, size);

        if (!m_foldersCreated) {
            m_foldersCreated = true;
            m_foldersUsable = CPlatformPaths::createFolders(m_primaryFolder);
        }
        if (!m_foldersUsable) return;

        // Written beside the datum and moved over it, so that a reader in another process
        // never meets half a file.
        const CString path = m_primaryFolder + name;
        const CString temporary = path + ".new";
        CFileWriter file;
        CError* err = file.open(temporary);
        if (!err) err = file.writeCompressedData(typeId, bytes, size);
        CError* closeErr = file.close();
        if (err) {
            deleteError(closeErr);
        } else {
            err = closeErr;
        }
        if (!err && !CPlatformPaths::replaceFile(temporary, path)) {
            err = ORL_ERROR(nullptr, CString::empty(), "@orlstr_CAppData_write_Replace Cannot replace '%1'.", path);
        }
        if (err) {
            // Nobody is told: stored data fails silently, and the cache keeps the value.
            deleteError(err);
            CPlatformPaths::removeFile(temporary);
            return;
        }
    }
    Notification notification;
    notification.source = source;
    notification.key = key;
    notify(notification);
}

bool CAppData::readString(const CString& name, CString& out, bool force) {
    CByteBuffer bytes;
    read(name, bytes, kTypeString, force);
    out.clear();
    if (bytes.isEmpty()) return false;
    CMemoryReader reader(bytes.data(), bytes.size());
    CError* err = reader.readString(out);
    if (err) {
        deleteError(err);
        out.clear();
        return false;
    }
    return true;
}

void CAppData::writeString(const CString& name, const CString& text, const void* source) {
    CByteBuffer bytes;
    {
        CByteBufferWriter writer(bytes);
        if (CError* err = writer.writeString(text)) {
            deleteError(err);
            return;
        }
    }
    write(name, bytes, source, kTypeString);
}

}  // namespace orl
