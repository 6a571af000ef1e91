#pragma once

namespace orl {

// The classes of the object core that definitions create by tag: timers, shared attributes and
// attribute doublers. The first of the application's class tables.
class CCoreClasses {
public:
    // Registers the tags; safe to call again.
    static bool registerAll();
};

}  // namespace orl
