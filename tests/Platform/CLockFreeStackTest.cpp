#include "Platform/CLockFreeStack.h"
#include <gtest/gtest.h>
#include <atomic>
#include <set>
#include <thread>
#include <vector>

using namespace orl;

namespace {

struct STestNode {
    CLockFreeStack::Node link;  // first member: the stack sees the node through it
    std::atomic<int> holders{0};
    int id = 0;
};

STestNode* asTestNode(CLockFreeStack::Node* node) { return reinterpret_cast<STestNode*>(node); }

}  // namespace

TEST(CLockFreeStack, LastInFirstOut) {
    CLockFreeStack stack;
    EXPECT_EQ(stack.pop(), nullptr);
    STestNode nodes[5];
    for (int i = 0; i < 3; ++i) stack.push(&nodes[i].link);
    nodes[3].link.next = &nodes[4].link;  // a chain 3 -> 4 goes on top with 3 first
    stack.pushChain(&nodes[3].link, &nodes[4].link);
    for (int e : {3, 4, 2, 1, 0}) EXPECT_EQ(stack.pop(), &nodes[e].link);
    EXPECT_EQ(stack.pop(), nullptr);
}

// A few nodes passed around by several threads many times: the same node comes back on top
// over and over, which is the situation in which a stack without an ABA guard loses or
// duplicates nodes.
TEST(CLockFreeStack, ConcurrentPushPopKeepsEveryNodeOnce) {
    constexpr int kNodes = 4, kThreads = 2, kIterations = 1000000;
    CLockFreeStack stack;
    std::vector<STestNode> nodes(kNodes);
    for (int i = 0; i < kNodes; ++i) {
        nodes[i].id = i;
        stack.push(&nodes[i].link);
    }
    std::atomic<int> heldTwice{0};
    auto take = [&]() -> STestNode* {
        CLockFreeStack::Node* node = stack.pop();
        if (node && asTestNode(node)->holders.fetch_add(1) != 0) heldTwice.fetch_add(1);
        return node ? asTestNode(node) : nullptr;
    };
    auto giveBack = [&](STestNode* n) {
        if (!n) return;
        n->holders.fetch_sub(1);
        stack.push(&n->link);
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kIterations; ++i) {
                // Take the top two and put the first straight back: another thread's pop that
                // read the first with the second as its successor must now fail, or the second
                // would be on the stack while this thread still holds it.
                STestNode* a = take();
                STestNode* b = take();
                giveBack(a);
                giveBack(b);
            }
        });
    for (auto& th : threads) th.join();
    EXPECT_EQ(heldTwice.load(), 0);
    std::set<int> seen;
    int popped = 0;
    while (CLockFreeStack::Node* node = stack.pop()) {
        seen.insert(asTestNode(node)->id);
        if (++popped > kNodes) break;  // a cycle would otherwise never end
    }
    EXPECT_EQ(popped, kNodes);
    EXPECT_EQ(static_cast<int>(seen.size()), kNodes);
}
