#include "Platform/CPlatformPaths.h"

#include <dlfcn.h>
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Core/CFileBase.h"

namespace orl {

namespace {

// Any address inside this library serves to ask the loader which file it came from.
void libraryAnchor() {}

CString withSlash(const char* folder) {
    CString out(folder);
    if (!out.isEmpty() && out.at(out.length() - 1) != u'/') out.append(u'/');
    return out;
}

}  // namespace

CString CPlatformPaths::libraryPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&libraryAnchor), &info) == 0 || !info.dli_fname) return CString();
    // A program started by a relative name reports that name; the folder must be absolute to be
    // of use after the working folder changes.
    char resolved[4096];
    if (realpath(info.dli_fname, resolved)) return CString(resolved);
    return CString(info.dli_fname);
}

CString CPlatformPaths::folderOf(const CString& path) {
    const int32_t slash = path.findLast(u'/');
    return slash < 0 ? CString() : path.substring(0, slash + 1);
}

CString CPlatformPaths::userDataFolder() {
    const char* config = getenv("XDG_CONFIG_HOME");
    // The variable must name an absolute folder to count; otherwise the default applies.
    if (config && config[0] == '/') return withSlash(config);
    const char* home = getenv("HOME");
    if (!home || home[0] != '/') return CString();
    CString out = withSlash(home);
    out.append(".config/");
    return out;
}

bool CPlatformPaths::isFolder(const CString& path) {
    if (path.isEmpty()) return false;
    struct stat st;
    return stat(CFileBase::systemPath(path).c8(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool CPlatformPaths::createFolders(const CString& path) {
    if (path.isEmpty()) return false;
    const CString full = CFileBase::systemPath(path);
    const char* text = full.c8();
    const size_t length = strlen(text);
    char partial[4096];
    if (length >= sizeof(partial)) return false;
    for (size_t i = 1; i <= length; ++i) {
        if (i < length && text[i] != '/') continue;
        memcpy(partial, text, i);
        partial[i] = 0;
        if (mkdir(partial, 0755) != 0 && errno != EEXIST) return false;
    }
    return isFolder(path);
}

bool CPlatformPaths::replaceFile(const CString& from, const CString& to) {
    return rename(CFileBase::systemPath(from).c8(), CFileBase::systemPath(to).c8()) == 0;
}

void CPlatformPaths::removeFile(const CString& path) { unlink(CFileBase::systemPath(path).c8()); }

int32_t CPlatformPaths::processorCount() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<int32_t>(n) : 1;
}

}  // namespace orl
