#pragma once
#include <cstdint>

namespace orl {

// An intrusive last-in-first-out list that threads push to and pop from without a lock.
// The head is a pointer and a sequence number that changes with every push and pop, swapped
// together by one 16-byte compare-exchange: a pop that read an old head fails even when the same
// node is back on top in the meantime (the ABA case).
//
// A pop may read the `next` word of a node that another thread has just taken; the value it
// reads is then discarded because the exchange fails. Nodes must therefore stay readable memory
// for as long as the stack is used, which holds for memory that is never given back to the
// system (pool items) and for nodes that outlive the stack.
class CLockFreeStack {
public:
    struct Node {
        Node* next;
    };

    constexpr CLockFreeStack() = default;
    CLockFreeStack(const CLockFreeStack&) = delete;
    CLockFreeStack& operator=(const CLockFreeStack&) = delete;

    void push(Node* node);
    // Pushes the chain first -> ... -> last (already linked through `next`) in one exchange;
    // `first` ends up on top.
    void pushChain(Node* first, Node* last);
    // The top node, or null when the stack is empty.
    Node* pop();

private:
    // [0]: top node, [1]: sequence number. Kept as two words so that either half can be read
    // with an ordinary atomic load; the pair is only ever written as a whole.
    alignas(16) uint64_t m_head[2] = {0, 0};
};

}  // namespace orl
