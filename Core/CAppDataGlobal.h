#pragma once
#include "Core/CAppData.h"

namespace orl {

// Stored data shared by the maker's products, in "Orlune/".
class CAppDataGlobal : public CAppData {
public:
    CAppDataGlobal() : CAppData("Orlune/", "AppDataGlobal_") {}
    // The process-wide instance, shared by every plug-in instance of the process.
    static CAppDataGlobal& instance();
};

}  // namespace orl
