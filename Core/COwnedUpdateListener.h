#pragma once
#include "Core/CUpdateListener.h"

namespace orl {

// A listener that passes updates on to a member function of its owner.
template <class T>
class COwnedUpdateListener : public CUpdateListener {
public:
    using TMethod = void (T::*)(const CUpdateNotifier::Notification& notification);

    COwnedUpdateListener(T* owner, TMethod method) : m_owner(owner), m_method(method) {}
    ~COwnedUpdateListener() override { detach(); }

    void update(const CUpdateNotifier::Notification& notification) override { (m_owner->*m_method)(notification); }

private:
    T* m_owner;
    TMethod m_method;
};

}  // namespace orl
