#pragma once
#include <cstdint>

#include "Audio/VST/CVSTRect.h"

namespace orl {

// The editor as the dispatcher sees it: a rectangle, open on a parent window, close, idle. The
// defaults keep the rectangle and remember the parent.
class CVSTEditorBase {
public:
    CVSTEditorBase() = default;
    virtual ~CVSTEditorBase() = default;
    CVSTEditorBase(const CVSTEditorBase&) = delete;
    CVSTEditorBase& operator=(const CVSTEditorBase&) = delete;

    // The rectangle the host reads; true when there is one.
    virtual bool getRect(CVSTRect** rect) {
        *rect = &m_rect;
        return true;
    }
    // The parent is an X11 window id on Linux, a window handle on Windows. True on success.
    virtual bool open(void* parent) {
        m_parent = parent;
        return true;
    }
    virtual void close() { m_parent = nullptr; }
    virtual bool isOpen() const { return m_parent != nullptr; }
    virtual void idle() {}
    // A wheel turn the host passes through the vendor-specific call.
    virtual void onWheel(float distance) { (void)distance; }

    void setRect(int16_t top, int16_t left, int16_t bottom, int16_t right) { m_rect = CVSTRect{top, left, bottom, right}; }
    const CVSTRect& rect() const { return m_rect; }
    void* parentWindow() const { return m_parent; }

protected:
    CVSTRect m_rect;
    void* m_parent = nullptr;
};

}  // namespace orl
