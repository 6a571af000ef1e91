#pragma once

namespace orl {

// All tags of the signal modules, registered in one call. A static link keeps a module's table
// only when something refers to it; whoever builds graphs from definitions (the plug-in shell,
// tools, tests) calls this once, so that no module tag can go missing.
class CSignalModules {
public:
    static bool registerAll();
};

}  // namespace orl
