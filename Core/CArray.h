#pragma once
#include <cassert>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "Core/CPoolAllocator.h"

namespace orl {

// A growing array with room for InlineCount items inside the object itself, so that short
// arrays cost no allocation. Larger storage comes from the pools. Items are only ever
// constructed in slots below count(); unused slots are raw memory.
//
// Growth: when full, the capacity becomes count + count * 10 / 16 + 1, which keeps the number
// of reallocations logarithmic without overshooting much for small arrays.
// Elements are destroyed from the last to the first, mirroring construction order, so that
// items which refer to earlier items go away first.
template <class T, int32_t InlineCount = 4>
class CArray {
    static_assert(InlineCount >= 0, "inline count must not be negative");
    static_assert(alignof(T) <= 16, "pool storage is only 16-byte aligned");

public:
    CArray() noexcept : m_data(inlineData()), m_count(0), m_capacity(InlineCount) {}

    CArray(const CArray& other) : CArray() {
        reserve(other.m_count);
        for (int32_t i = 0; i < other.m_count; ++i) new (m_data + i) T(other.m_data[i]);
        m_count = other.m_count;
    }

    CArray(CArray&& other) noexcept : CArray() { takeFrom(other); }

    CArray& operator=(const CArray& other) {
        if (this == &other) return *this;
        clear();
        reserve(other.m_count);
        for (int32_t i = 0; i < other.m_count; ++i) {
            new (m_data + i) T(other.m_data[i]);
            ++m_count;
        }
        return *this;
    }

    CArray& operator=(CArray&& other) noexcept {
        if (this == &other) return *this;
        clear();
        releaseStorage();
        takeFrom(other);
        return *this;
    }

    ~CArray() {
        clear();
        releaseStorage();
    }

    int32_t count() const { return m_count; }
    int32_t capacity() const { return m_capacity; }
    bool isEmpty() const { return m_count == 0; }
    // True while the items live in the object itself.
    bool isInline() const { return m_data == inlineData(); }

    T* data() { return m_data; }
    const T* data() const { return m_data; }

    T& operator[](int32_t i) {
        assert(i >= 0 && i < m_count);
        return m_data[i];
    }
    const T& operator[](int32_t i) const {
        assert(i >= 0 && i < m_count);
        return m_data[i];
    }

    T* begin() { return m_data; }
    T* end() { return m_data + m_count; }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + m_count; }

    T& last() {
        assert(m_count > 0);
        return m_data[m_count - 1];
    }
    const T& last() const {
        assert(m_count > 0);
        return m_data[m_count - 1];
    }

    void add(const T& value) { emplace(value); }
    void add(T&& value) { emplace(std::move(value)); }

    // Constructs a new last item from args. The arguments may refer to items of this array:
    // on growth the new item is built before the old storage is given up.
    template <class... A>
    T& emplace(A&&... args) {
        if (m_count < m_capacity) {
            T* slot = new (m_data + m_count) T(std::forward<A>(args)...);
            ++m_count;
            return *slot;
        }
        const int32_t newCapacity = grownCapacity();
        T* fresh = allocateItems(newCapacity);
        T* slot = new (fresh + m_count) T(std::forward<A>(args)...);
        relocate(fresh, m_data, m_count);
        adoptStorage(fresh, newCapacity);
        ++m_count;
        return *slot;
    }

    // Inserts value before index at (at == count() appends); later items move up by one.
    void insert(int32_t at, T value) {
        assert(at >= 0 && at <= m_count);
        if (m_count == m_capacity) reallocateTo(grownCapacity());
        for (int32_t i = m_count; i > at; --i) {
            new (m_data + i) T(std::move(m_data[i - 1]));
            m_data[i - 1].~T();
        }
        new (m_data + at) T(std::move(value));
        ++m_count;
    }

    // Removes the item at index at; later items move down by one, keeping their order.
    void removeAt(int32_t at) {
        assert(at >= 0 && at < m_count);
        m_data[at].~T();
        for (int32_t i = at; i + 1 < m_count; ++i) {
            new (m_data + i) T(std::move(m_data[i + 1]));
            m_data[i + 1].~T();
        }
        --m_count;
    }

    void removeLast() {
        assert(m_count > 0);
        --m_count;
        m_data[m_count].~T();
    }

    // Destroys every item, last first. The storage stays for reuse.
    void clear() {
        while (m_count > 0) {
            --m_count;
            m_data[m_count].~T();
        }
    }

    // Makes room for at least n items without further growth.
    void reserve(int32_t n) {
        if (n > m_capacity) reallocateTo(n);
    }

    int32_t indexOf(const T& value) const {
        for (int32_t i = 0; i < m_count; ++i)
            if (m_data[i] == value) return i;
        return -1;
    }

private:
    static constexpr int32_t kInlineSlots = InlineCount > 0 ? InlineCount : 1;

    T* inlineData() { return reinterpret_cast<T*>(m_inline); }
    const T* inlineData() const { return reinterpret_cast<const T*>(m_inline); }

    int32_t grownCapacity() const { return m_count + m_count * 10 / 16 + 1; }

    static T* allocateItems(int32_t n) {
        return static_cast<T*>(CPoolAllocator::allocate(static_cast<size_t>(n) * sizeof(T)));
    }

    // Moves count items from src to the raw slots at dst and ends the lives of the originals.
    static void relocate(T* dst, T* src, int32_t count) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count > 0) std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), sizeof(T) * count);
        } else {
            for (int32_t i = 0; i < count; ++i) {
                new (dst + i) T(std::move(src[i]));
                src[i].~T();
            }
        }
    }

    void releaseStorage() {
        if (!isInline()) CPoolAllocator::release(m_data);
        m_data = inlineData();
        m_capacity = InlineCount;
    }

    // Switches to fresh storage whose items have already been relocated.
    void adoptStorage(T* fresh, int32_t newCapacity) {
        if (!isInline()) CPoolAllocator::release(m_data);
        m_data = fresh;
        m_capacity = newCapacity;
    }

    void reallocateTo(int32_t newCapacity) {
        T* fresh = allocateItems(newCapacity);
        relocate(fresh, m_data, m_count);
        adoptStorage(fresh, newCapacity);
    }

    // Takes other's items, leaving other empty and inline. This array must be empty and inline.
    void takeFrom(CArray& other) {
        if (other.isInline()) {
            relocate(m_data, other.m_data, other.m_count);
            m_count = other.m_count;
            other.m_count = 0;
            return;
        }
        m_data = other.m_data;
        m_count = other.m_count;
        m_capacity = other.m_capacity;
        other.m_data = other.inlineData();
        other.m_count = 0;
        other.m_capacity = InlineCount;
    }

    T* m_data;
    int32_t m_count;
    int32_t m_capacity;
    alignas(T) unsigned char m_inline[sizeof(T) * kInlineSlots];
};

}  // namespace orl
