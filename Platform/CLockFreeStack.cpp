#include "Platform/CLockFreeStack.h"

namespace orl {

namespace {

typedef unsigned __int128 __attribute__((may_alias)) UHead;

// One 16-byte compare-exchange of the whole head. With -mcx16 this is a single cmpxchg16b,
// inlined, with no call into a lock-based fallback.
inline bool exchangeHead(uint64_t* head, uint64_t oldTop, uint64_t oldSeq, uint64_t newTop, uint64_t newSeq) {
    const UHead expected = (static_cast<UHead>(oldSeq) << 64) | oldTop;
    const UHead desired = (static_cast<UHead>(newSeq) << 64) | newTop;
    return __sync_bool_compare_and_swap(reinterpret_cast<UHead*>(head), expected, desired);
}

inline uint64_t toWord(CLockFreeStack::Node* node) { return reinterpret_cast<uintptr_t>(node); }

}  // namespace

void CLockFreeStack::push(Node* node) { pushChain(node, node); }

void CLockFreeStack::pushChain(Node* first, Node* last) {
    for (;;) {
        // The two halves may be read from different moments; the exchange then fails and we
        // read again, so a torn pair is never written back.
        const uint64_t seq = __atomic_load_n(&m_head[1], __ATOMIC_ACQUIRE);
        const uint64_t top = __atomic_load_n(&m_head[0], __ATOMIC_ACQUIRE);
        __atomic_store_n(&last->next, reinterpret_cast<Node*>(top), __ATOMIC_RELAXED);
        if (exchangeHead(m_head, top, seq, toWord(first), seq + 1)) return;
    }
}

CLockFreeStack::Node* CLockFreeStack::pop() {
    for (;;) {
        const uint64_t seq = __atomic_load_n(&m_head[1], __ATOMIC_ACQUIRE);
        const uint64_t top = __atomic_load_n(&m_head[0], __ATOMIC_ACQUIRE);
        Node* node = reinterpret_cast<Node*>(top);
        if (!node) return nullptr;
        // May read a node already taken and reused by another thread; see the class comment.
        Node* next = __atomic_load_n(&node->next, __ATOMIC_RELAXED);
        if (exchangeHead(m_head, top, seq, toWord(next), seq + 1)) return node;
    }
}

}  // namespace orl
