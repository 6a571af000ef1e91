#pragma once
#include "Core/CAppData.h"

namespace orl {

// Stored data shared by this product, in "Orlune/Audio Plug-Ins/Tamberlo 3/".
class CAppDataLocal : public CAppData {
public:
    CAppDataLocal() : CAppData("Orlune/Audio Plug-Ins/Tamberlo 3/", "AppDataLocal_") {}
    // The process-wide instance, shared by every plug-in instance of the process.
    static CAppDataLocal& instance();
};

}  // namespace orl
