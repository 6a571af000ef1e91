#pragma once

namespace orl {

// Hears of every parameter lock that is taken and released, so that work which must not run
// while any parameter is locked (telling the host of changes) waits for the last release.
// lockTaken comes before the parameter's section is entered, lockReleased after it is left.
class CAudioParamLockObserver {
public:
    virtual ~CAudioParamLockObserver() = default;
    virtual void lockTaken() = 0;
    virtual void lockReleased() = 0;
};

}  // namespace orl
