#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

// Where things are on this machine: the library's own file, the per-user folder of application
// data, and folder tests. Folders are given and returned with "/" separators; a returned folder
// ends in "/".
class CPlatformPaths {
public:
    // The file that holds this code (the plug-in library, or the program it is linked into);
    // empty when the system can't tell.
    static CString libraryPath();
    // The folder part of a path, with its final "/"; empty when the path has none.
    static CString folderOf(const CString& path);
    // The per-user folder for application data: $XDG_CONFIG_HOME, else $HOME/.config; empty
    // when neither is set.
    static CString userDataFolder();
    static bool isFolder(const CString& path);
    // Creates the folder and every missing level above it; true when it exists afterwards.
    static bool createFolders(const CString& path);
    // Moves a file over another in one step; false when it can't.
    static bool replaceFile(const CString& from, const CString& to);
    static void removeFile(const CString& path);
    static int32_t processorCount();
};

}  // namespace orl
