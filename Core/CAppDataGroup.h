#pragma once
#include "Core/CAppData.h"

namespace orl {

// Stored data shared by the plug-in line, in "Orlune/Audio Plug-Ins/".
class CAppDataGroup : public CAppData {
public:
    CAppDataGroup() : CAppData("Orlune/Audio Plug-Ins/", "AppDataGroup_") {}
    // The process-wide instance, shared by every plug-in instance of the process.
    static CAppDataGroup& instance();
};

}  // namespace orl
